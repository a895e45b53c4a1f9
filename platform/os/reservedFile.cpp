#include "os/reservedFile.h"

#include "os/fileState.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

std::vector<const ReservedFile*>& reservedFiles() {
    static std::vector<const ReservedFile*> files;
    return files;
}

} // namespace

ReservedFile::ReservedFile(std::string path) : path_(std::move(path)) { reservedFiles().push_back(this); }

ReservedFile::~ReservedFile() { std::erase(reservedFiles(), this); }

bool ReservedFile::isOpenAs(int descriptor) const {
    const std::optional<FileState> reserved = FileState::of(path_.c_str());
    const std::optional<FileState> opened = reserved ? FileState::of(descriptor) : std::nullopt;
    return opened && opened->device == reserved->device && opened->inode == reserved->inode;
}

int openUnreserved(const char* path) {
    constexpr int flags = O_WRONLY | O_CREAT | O_CLOEXEC;
    int descriptor = ::open(path, flags | O_EXCL, 0666);
    const bool isNew = descriptor >= 0;
    if (!isNew && errno == EEXIST) descriptor = ::open(path, flags, 0666);
    if (descriptor < 0) return descriptor;
    // Only the open file shows which one it is, links and all.
    for (const ReservedFile* file : reservedFiles()) {
        if (!file->isOpenAs(descriptor)) continue;
        if (isNew) ::unlink(path);
        ::close(descriptor);
        errno = EBUSY;
        return -1;
    }
    return descriptor;
}
