#include "changeLog.h"

#include "com/text.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

/// What the system has to say, `usual` for what has no status of its own.
HRESULT statusOf(int error, HRESULT usual) {
    switch (error) {
    case EACCES:
    case EPERM:
    case EROFS: return E_ACCESSDENIED;
    case ENOSPC:
    case EDQUOT: return HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    case EFBIG: return HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE);
    case ENOENT: return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    default: return usual;
    }
}

/// The file that the path leads to, all links followed; empty if there is none.
std::string realPathOf(const char* path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path, nullptr), &std::free);
    return real ? real.get() : "";
}

void syncFolderOf(const std::string& path) {
    const Descriptor folder(
        ::open(path.substr(0, path.rfind('/') + 1).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen()) ::fsync(folder.get());
}

} // namespace

bool MetabaseFile::Identity::of(int descriptor, Identity& identity) {
    struct stat info {};
    if (::fstat(descriptor, &info) != 0) return false;
    identity = {info.st_dev, info.st_ino, info.st_size, info.st_mtim};
    return true;
}

bool MetabaseFile::Identity::of(const char* path, Identity& identity) {
    struct stat info {};
    if (::stat(path, &info) != 0) return false;
    identity = {info.st_dev, info.st_ino, info.st_size, info.st_mtim};
    return true;
}

bool MetabaseFile::Identity::operator==(const Identity& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           time.tv_sec == other.time.tv_sec && time.tv_nsec == other.time.tv_nsec;
}

HRESULT MetabaseFile::failed(HRESULT status, std::string_view what) const {
    setStatusDetail(status, std::string(path_) + ": " + std::string(what));
    return status;
}

HRESULT MetabaseFile::failedSystem(int error, std::string_view what, HRESULT usual) const {
    return failed(statusOf(error, usual), std::string(what) + ": " + std::strerror(error));
}

HRESULT MetabaseFile::read(std::string_view& text) {
    const Descriptor file(::open(path_, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen() && errno == ENOENT) {
        setStatusDetail(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND),
                        "There is no " + std::string(path_) + " in the working directory.");
        return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    }
    if (!file.isOpen()) return failedSystem(errno, "can't be opened", HRESULT_FROM_WIN32(ERROR_READ_FAULT));

    // A state that was the same before and after is the best. Where a writer never rests, one that only grew
    // behind it is good to read, though no change can be made on the ground of it.
    constexpr int patience = 10;
    for (int tries = 1; tries <= patience; ++tries) {
        struct stat info {};
        if (::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode))
            return failed(HRESULT_FROM_WIN32(ERROR_READ_FAULT), "is no file");
        if (!Identity::of(file.get(), identity_) || ::lseek(file.get(), 0, SEEK_SET) != 0) break;
        const auto size = static_cast<std::size_t>(identity_.size);
        text_.reset(new char[size]);
        std::size_t count = 0;
        if (!readAll(file.get(), text_.get(), size, count))
            return failedSystem(errno, "can't be read", HRESULT_FROM_WIN32(ERROR_READ_FAULT));
        Identity after;
        if (!Identity::of(file.get(), after) || count != size) continue;
        if (after == identity_ || (tries == patience && after.size >= identity_.size)) {
            text = {text_.get(), size};
            size_ = size;
            return S_OK;
        }
    }
    return failed(HRESULT_FROM_WIN32(ERROR_FILE_INVALID), "is being changed while it is read");
}

HRESULT MetabaseFile::append(std::string_view line) {
    if (HRESULT status = lock(); status < 0) return status;
    if (HRESULT status = checkUnaltered(); status < 0) return status;
    if (HRESULT status = mend(); status < 0) return status;
    return writeLine(line);
}

HRESULT MetabaseFile::lock() {
    if (locked_.isOpen()) return S_OK;
    Descriptor file(::open(path_, O_RDWR | O_APPEND | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen()) return failedSystem(errno, "can't be opened for a change");
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        return errno == EWOULDBLOCK
                   ? failed(HRESULT_FROM_WIN32(ERROR_LOCK_VIOLATION), "another process is changing it")
                   : failedSystem(errno, "can't be locked");
    }
    Identity locked;
    if (!Identity::of(file.get(), locked) || !(locked == identity_)) return failAltered();
    locked_ = std::move(file);
    return S_OK;
}

/// The file at the path must be the one that is locked, in the state that this process knows of it.
HRESULT MetabaseFile::checkUnaltered() const {
    Identity current;
    return Identity::of(path_, current) && current == identity_ ? S_OK : failAltered();
}

HRESULT MetabaseFile::failAltered() const {
    return failed(HRESULT_FROM_WIN32(ERROR_FILE_INVALID),
                  "has been changed by someone else since it was read");
}

/// Cuts off what a dying process left.
HRESULT MetabaseFile::mend() {
    if (std::cmp_equal(identity_.size, size_)) return S_OK;
    if (::ftruncate(locked_.get(), static_cast<off_t>(size_)) != 0)
        return failedSystem(errno, "can't be written");
    Identity::of(locked_.get(), identity_);
    return S_OK;
}

HRESULT MetabaseFile::writeLine(std::string_view line) {
    const bool endsLine = changed_ || size_ == 0 || text_[size_ - 1] == '\n';
    const std::string text = endsLine ? std::string() : '\n' + std::string(line);
    const std::string_view all = endsLine ? line : std::string_view(text);
    // The one write takes the whole line; only where it is cut short, the next tells why.
    const bool written = writeAll(locked_.get(), all);
    const int error = errno;
    if (!written && ::ftruncate(locked_.get(), static_cast<off_t>(size_)) != 0) {
        // The line may stand there in part, but never with its end: openings pass it over.
        Identity::of(locked_.get(), identity_);
        return failedSystem(error, "can't be written, nor the line be cut off");
    }
    if (written) size_ += all.size();
    changed_ = changed_ || written;
    // A size that isn't ours is someone else's doing: the state stays the old one, and no further change is
    // made.
    Identity now;
    if (Identity::of(locked_.get(), now) && std::cmp_equal(now.size, size_)) identity_ = now;
    return written ? S_OK : failedSystem(error, "can't be written");
}

void MetabaseFile::replace(const std::function<void(const Put&)>& write) {
    const std::string target = realPathOf(path_);
    if (target.empty() || checkUnaltered() < 0) return;
    const std::size_t name = target.rfind('/') + 1;
    const std::string made = target.substr(0, name) + "." + target.substr(name) + ".rewrite";

    // Only the holder of the lock comes here: a file of that name is what a dead process left.
    ::unlink(made.c_str());
    replacement_ = Descriptor(::open(made.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!replacement_.isOpen()) return;
    const bool complete = fillReplacement(replacement_, write) && checkUnaltered() == S_OK &&
                          ::rename(made.c_str(), target.c_str()) == 0;
    if (complete) {
        syncFolderOf(target);
    } else {
        ::unlink(made.c_str());
    }
}

bool MetabaseFile::fillReplacement(const Descriptor& made,
                                   const std::function<void(const Put&)>& write) const {
    bool good = ::flock(made.get(), LOCK_EX | LOCK_NB) == 0;
    write([&](std::string_view piece) { good = good && writeAll(made.get(), piece); });
    struct stat old {};
    struct stat fresh {};
    good = good && ::fstat(locked_.get(), &old) == 0 && ::fstat(made.get(), &fresh) == 0;
    good = good && old.st_nlink == 1; // A second name would keep the old file.
    const bool sameOwner = old.st_uid == fresh.st_uid && old.st_gid == fresh.st_gid;
    return good && (sameOwner || ::fchown(made.get(), old.st_uid, old.st_gid) == 0) &&
           ::fchmod(made.get(), old.st_mode & 07777) == 0 && ::fsync(made.get()) == 0;
}
