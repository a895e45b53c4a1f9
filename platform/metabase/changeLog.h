// The metabase file on disk: read once, appended to under a lock, replaced at the end.
#pragma once

#include "com/status.h"
#include "os/file.h"
#include "os/transfer.h"

#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <sys/types.h>

/// Statuses of a failure come with a detail text (setStatusDetail) that names the file.
class MetabaseFile {
public:
    using Put = std::function<void(std::string_view)>;

    /// `path` must outlive the file.
    explicit MetabaseFile(const char* path) : path_(path) {}

    /// Reads the file whole, without a lock. `text` lives as long as this object.
    HRESULT read(std::string_view& text);

    /// Tells how much of the text that was read counts: the rest is cut off ahead of the first change.
    void keepOnly(std::size_t size) { size_ = size; }

    /// Appends a line, which ends in LF, with one write; nothing of it stays where that fails. The first call
    /// takes the lock, which is held until this object goes, unless the file isn't the one that was read.
    /// HRESULT_FROM_WIN32(ERROR_LOCK_VIOLATION): another process holds it.
    /// HRESULT_FROM_WIN32(ERROR_FILE_INVALID): the file at the path isn't the one any more that was read.
    /// Others tell why the system can't write.
    HRESULT append(std::string_view line);

    bool isChanged() const { return changed_; }

    /// Replaces the file by what `write` puts, through a new file that is renamed into its place, with the
    /// mode and the owner of the old one. Where any step fails, or the file has a second name, the old file
    /// stays as it was.
    void replace(const std::function<void(const Put&)>& write);

private:
    /// What tells one file, and one state of it, from another.
    struct Identity {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = 0;
        timespec time{};

        static bool of(int descriptor, Identity& identity);
        static bool of(const char* path, Identity& identity);
        bool operator==(const Identity& other) const;
    };

    HRESULT lock();
    HRESULT checkUnaltered() const;
    HRESULT failAltered() const;
    HRESULT mend();
    HRESULT writeLine(std::string_view line);
    HRESULT failed(HRESULT status, std::string_view what) const;
    HRESULT failedSystem(int error, std::string_view what,
                         HRESULT usual = HRESULT_FROM_WIN32(ERROR_WRITE_FAULT)) const;
    bool fillReplacement(const Descriptor& made, const std::function<void(const Put&)>& write) const;

    const char* path_;
    std::unique_ptr<char[]> text_;
    std::size_t size_ = 0;
    Identity identity_;
    Descriptor locked_;
    Descriptor replacement_;
    bool changed_ = false;
};
