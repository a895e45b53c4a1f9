#include "os/file.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char* heldPath = nullptr;

bool isHeldOpen(int descriptor) {
    struct stat held {};
    struct stat opened {};
    return heldPath != nullptr && ::stat(heldPath, &held) == 0 && ::fstat(descriptor, &opened) == 0 &&
           held.st_dev == opened.st_dev && held.st_ino == opened.st_ino;
}

/// Closes a descriptor and leaves errno at `reason`.
int refuse(int descriptor, int reason) {
    ::close(descriptor);
    errno = reason;
    return -1;
}

/// Removes the file that the path leads to, all links followed.
void removeMade(const char* path) {
    char* real = ::realpath(path, nullptr);
    if (real != nullptr) ::unlink(real);
    std::free(real);
}

/// The file is emptied only once it is known to be no file of the server's.
int openForWriting(const char* path) {
    struct stat held {};
    const bool serverHasFile = heldPath != nullptr && ::stat(heldPath, &held) == 0;
    const int descriptor = ::open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0) return descriptor;
    struct stat opened {};
    if (isHeldOpen(descriptor)) {
        if (!serverHasFile) removeMade(heldPath);
        return refuse(descriptor, EBUSY);
    }
    const bool regular = ::fstat(descriptor, &opened) == 0 && S_ISREG(opened.st_mode);
    if (!regular || ::ftruncate(descriptor, 0) == 0) return descriptor;
    return refuse(descriptor, errno);
}

int openForReading(const char* path) {
    const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC);
    struct stat opened {};
    if (descriptor < 0 || ::fstat(descriptor, &opened) != 0 || !S_ISDIR(opened.st_mode)) return descriptor;
    return refuse(descriptor, EISDIR);
}

} // namespace

File::File(const char* path) : descriptor_(openForWriting(path)) {
    if (isOpen()) stream_ = std::make_unique<OutStream>(descriptor_.get());
}

void holdOpen(const char* path) { heldPath = path; }

InputFile::InputFile(const char* path) : descriptor_(openForReading(path)) {}

std::int64_t InputFile::size() {
    const off_t end = ::lseek(descriptor_.get(), 0, SEEK_END);
    return end < 0 || ::lseek(descriptor_.get(), 0, SEEK_SET) < 0 ? -1 : end;
}

std::size_t InputFile::read(char* buffer, std::size_t count) {
    std::size_t came = 0;
    readAll(descriptor_.get(), buffer, count, came);
    return came;
}

std::string errorText(int error) { return std::string(std::strerror(error)).substr(0, 255); }
