#include "os/file.h"

#include "os/fileState.h"
#include "os/reservedFile.h"
#include "os/transfer.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Closes a descriptor, sets errno to `reason` and returns -1.
int closedWith(int descriptor, int reason) {
    ::close(descriptor);
    errno = reason;
    return -1;
}

/// The file is emptied only after the check that it is not reserved.
int openForWriting(const char* path) {
    const int descriptor = openUnreserved(path);
    if (descriptor < 0) return descriptor;
    const std::optional<FileState> opened = FileState::of(descriptor);
    const bool isRegular = opened && opened->isRegular;
    if (!isRegular || ::ftruncate(descriptor, 0) == 0) return descriptor;
    return closedWith(descriptor, errno);
}

int openForReading(const char* path) {
    const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC);
    struct stat opened {};
    if (descriptor < 0 || ::fstat(descriptor, &opened) != 0 || !S_ISDIR(opened.st_mode)) return descriptor;
    return closedWith(descriptor, EISDIR);
}

} // namespace

Descriptor::~Descriptor() {
    if (isOpen()) ::close(number_);
}

File::File(const char* path) : descriptor_(openForWriting(path)) {
    if (isOpen()) stream_ = std::make_unique<OutStream>(descriptor_.get());
}

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
