#include "metabaseFile.h"

#include "os/transfer.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace metabase {

namespace {

/// The status of an error number of the system; that of `usual` for one without a status of its own.
HRESULT statusOfSystemError(int error, DWORD usual) {
    switch (error) {
    case EACCES:
    case EPERM:
    case EROFS: return E_ACCESSDENIED;
    case ENOSPC:
    case EDQUOT: return HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    case EFBIG: return HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE);
    case ENOENT: return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    default: return HRESULT_FROM_WIN32(usual);
    }
}

} // namespace

HRESULT MetabaseFile::fail(HRESULT status, std::string_view what) const {
    setStatusDetail(status, std::string(path_) + ": " + std::string(what));
    return status;
}

HRESULT MetabaseFile::failSystem(int error, std::string_view what, DWORD usual) const {
    return fail(statusOfSystemError(error, usual), std::string(what) + ": " + std::strerror(error));
}

HRESULT MetabaseFile::failAltered() const {
    return fail(HRESULT_FROM_WIN32(ERROR_FILE_INVALID), "has been changed by someone else since it was read");
}

HRESULT MetabaseFile::failMissing() const {
    constexpr HRESULT notFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    char target[PATH_MAX];
    if (const ssize_t length = ::readlink(path_, target, sizeof target); length > 0) {
        return fail(notFound, "is a link to " + std::string(target, static_cast<std::size_t>(length)) +
                                  ", which doesn't exist");
    }
    setStatusDetail(notFound, "There is no " + std::string(path_) + " in the working directory.");
    return notFound;
}

HRESULT MetabaseFile::readSnapshot(Snapshot& snapshot) {
    const Descriptor file(::open(path_, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen() && errno == ENOENT) return failMissing();
    if (!file.isOpen()) return failSystem(errno, "can't be opened", ERROR_READ_FAULT);

    // A state that is the same before and after the reading is the best. If a writer never pauses, a file
    // that only grew after what was read is good enough to read, though no change can be based on it.
    constexpr int maxTries = 10;
    for (int tries = 1; tries <= maxTries; ++tries) {
        const std::optional<FileState> before = FileState::of(file.get());
        if (!before || !before->isRegular) return fail(HRESULT_FROM_WIN32(ERROR_READ_FAULT), "is no file");
        if (::lseek(file.get(), 0, SEEK_SET) != 0) break;
        const auto size = static_cast<std::size_t>(before->size);
        snapshot.bytes.reset(new char[size]);
        if (!readAll(file.get(), snapshot.bytes.get(), size, snapshot.size))
            return failSystem(errno, "can't be read", ERROR_READ_FAULT);
        const std::optional<FileState> after = FileState::of(file.get());
        if (!after || snapshot.size != size) continue;
        if (*after == *before || (tries == maxTries && after->size >= before->size)) {
            knownState_ = *before;
            stage_ = Stage::read;
            setValidText(snapshot.text());
            return S_OK;
        }
    }
    return fail(HRESULT_FROM_WIN32(ERROR_FILE_INVALID), "is being changed while it is read");
}

void MetabaseFile::setValidText(std::string_view text) {
    validLength_ = text.size();
    lastLineEnds_ = text.empty() || text.back() == '\n';
}

HRESULT MetabaseFile::append(std::string_view line) {
    if (HRESULT status = lock(); status < 0) return status;
    if (HRESULT status = checkUnaltered(); status < 0) return status;
    if (HRESULT status = prepareEnd(); status < 0) return status;
    return writeLine(line);
}

HRESULT MetabaseFile::lock() {
    if (stage_ >= Stage::locked) return S_OK;
    Descriptor file(::open(path_, O_RDWR | O_APPEND | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen()) return failSystem(errno, "can't be opened for a change");
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        return errno == EWOULDBLOCK
                   ? fail(HRESULT_FROM_WIN32(ERROR_LOCK_VIOLATION), "another process is changing it")
                   : failSystem(errno, "can't be locked");
    }
    if (FileState::of(file.get()) != knownState_) return failAltered();
    file_ = std::move(file);
    stage_ = Stage::locked;
    return S_OK;
}

/// The file at the path must be the locked one, in the state that is known.
HRESULT MetabaseFile::checkUnaltered() const {
    return FileState::of(path_) == knownState_ ? S_OK : failAltered();
}

/// Ends the file with a whole line, on the disk too: after a loss of power no change must be there without
/// what is before it, and no line that was cut off come back after a change.
HRESULT MetabaseFile::prepareEnd() {
    if (isPrepared_) return S_OK;
    const bool isCut = std::cmp_equal(knownState_.size, validLength_) ||
                       ::ftruncate(file_.get(), static_cast<off_t>(validLength_)) == 0;
    if (!isCut || (!lastLineEnds_ && !writeAll(file_.get(), "\n")))
        return failSystem(errno, "can't be written");
    if (!std::exchange(lastLineEnds_, true)) ++validLength_;
    knownState_ = FileState::of(file_.get()).value_or(knownState_);
    if (::fsync(file_.get()) != 0) return failSystem(errno, "can't be written");
    isPrepared_ = true;
    // The sync takes a while.
    return checkUnaltered();
}

HRESULT MetabaseFile::writeLine(std::string_view line) {
    // Mostly one write takes the whole line; after one that is cut short, a second one returns the reason.
    if (!writeAll(file_.get(), line)) {
        const int error = errno;
        isPrepared_ = false;
        const bool isCut = ::ftruncate(file_.get(), static_cast<off_t>(validLength_)) == 0;
        // A part of the line that can't be cut off lacks its end: it is a torn line, which no reading counts.
        const std::optional<FileState> now = FileState::of(file_.get());
        if (now && (!isCut || std::cmp_equal(now->size, validLength_))) knownState_ = *now;
        return failSystem(error, isCut ? "can't be written" : "can't be written, nor the line be cut off");
    }
    validLength_ += line.size();
    stage_ = Stage::changed;
    // If someone else's bytes are in the file the known state stays the old one, and no further change is
    // made.
    const std::optional<FileState> now = FileState::of(file_.get());
    if (now && std::cmp_equal(now->size, validLength_)) knownState_ = *now;
    return S_OK;
}

bool MetabaseFile::replaceContents(const std::function<void(const WritePiece&)>& writeContents) {
    const std::string path = realPathOf(path_);
    const auto isUnaltered = [this] { return checkUnaltered() == S_OK; };
    const bool isReplaced =
        !path.empty() && isUnaltered() && replaceFile(path, file_, writeContents, isUnaltered);
    return isReplaced ? syncFolderOf(path, file_) : ::fsync(file_.get()) == 0;
}

} // namespace metabase
