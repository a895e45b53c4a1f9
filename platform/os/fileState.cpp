#include "os/fileState.h"

#include <sys/stat.h>

namespace {

FileState stateOf(const struct stat& info) {
    return {info.st_dev, info.st_ino, S_ISREG(info.st_mode), info.st_size, info.st_mtim};
}

} // namespace

std::optional<FileState> FileState::of(int descriptor) {
    struct stat info {};
    if (::fstat(descriptor, &info) != 0) return std::nullopt;
    return stateOf(info);
}

std::optional<FileState> FileState::of(const char* path) {
    struct stat info {};
    if (::stat(path, &info) != 0) return std::nullopt;
    return stateOf(info);
}

bool FileState::operator==(const FileState& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
}
