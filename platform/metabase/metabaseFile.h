// The file of the metabase on disk. It is read once as a snapshot, extended by one line for each change under
// a lock, and replaced at the end.
#pragma once

#include "com/status.h"
#include "os/file.h"
#include "os/fileReplacement.h"
#include "os/fileState.h"

#include <memory>
#include <string>
#include <string_view>

namespace metabase {

/// The bytes of the file as they were read.
struct Snapshot {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;

    std::string_view text() const { return {bytes.get(), size}; }
};

/// The states that it passes through, in this order: unread; read, by readSnapshot; locked, by the first
/// append; changed, by the first append that succeeds. Every failure has a detail text (setStatusDetail) that
/// names the file.
class MetabaseFile {
public:
    /// `path` must outlive this.
    explicit MetabaseFile(const char* path) : path_(path) {}

    /// Reads the whole file, without a lock. ERROR_FILE_NOT_FOUND, ERROR_READ_FAULT and others of
    /// HRESULT_FROM_WIN32 if the system can't read it; ERROR_FILE_INVALID if it changes during the reading.
    HRESULT readSnapshot(Snapshot& snapshot);

    /// Sets the part of the snapshot that is valid, its beginning. What follows, as a process that died or a
    /// loss of power left it, is cut off before the first change.
    void setValidText(std::string_view text);

    /// Appends a line, which ends in LF, with one write; if that fails the part that was written is cut off,
    /// or, if that fails too, stays as a torn line. The first call locks the file until this is destroyed,
    /// and syncs to the disk what precedes the line.
    ///
    /// HRESULT_FROM_WIN32 of ERROR_LOCK_VIOLATION: another process has the lock. ERROR_FILE_INVALID: the file
    /// at the path differs from what this read and appended. E_ACCESSDENIED, ERROR_DISK_FULL,
    /// ERROR_FILE_TOO_LARGE, ERROR_WRITE_FAULT: the system can't write.
    HRESULT append(std::string_view line);

    bool isChanged() const { return stage_ == Stage::changed; }

    /// Replaces the contents of a changed file by the pieces that `writeContents` writes (see replaceFile).
    /// If a step fails the file stays as it is, and its appended lines are synced to the disk. False, with
    /// errno set, if the changes can't be synced.
    bool replaceContents(const std::function<void(const WritePiece&)>& writeContents);

private:
    enum class Stage { unread, read, locked, changed };

    HRESULT lock();
    HRESULT checkUnaltered() const;
    HRESULT failAltered() const;
    HRESULT failMissing() const;
    HRESULT prepareEnd();
    HRESULT writeLine(std::string_view line);
    HRESULT fail(HRESULT status, std::string_view what) const;
    HRESULT failSystem(int error, std::string_view what, DWORD usual = ERROR_WRITE_FAULT) const;

    const char* path_;
    Stage stage_ = Stage::unread;
    /// The file as this last read or wrote it.
    FileState knownState_;
    /// The file's bytes up to here are whole lines, apart from a last one whose end may be missing.
    std::size_t validLength_ = 0;
    bool lastLineEnds_ = true;
    /// Whether the file ends there, with a whole line, and a line can follow.
    bool isPrepared_ = false;
    /// Open from the stage locked on.
    Descriptor file_;
};

} // namespace metabase
