#include "os/reservedFile.h"

#include "os/fileReplacement.h"
#include "os/fileState.h"

#include <algorithm>
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

bool ReservedFile::exists() const { return FileState::of(path_.c_str()).has_value(); }

bool ReservedFile::isOpenAs(int descriptor) const {
    const std::optional<FileState> reserved = FileState::of(path_.c_str());
    const std::optional<FileState> opened = reserved ? FileState::of(descriptor) : std::nullopt;
    return opened && opened->device == reserved->device && opened->inode == reserved->inode;
}

void ReservedFile::remove() const {
    const std::string real = realPathOf(path_.c_str());
    if (!real.empty()) ::unlink(real.c_str());
}

int openUnreserved(const char* path) {
    std::vector<const ReservedFile*> missing = reservedFiles();
    std::erase_if(missing, [](const ReservedFile* file) { return file->exists(); });
    const int descriptor = ::open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0) return descriptor;
    // Only the open file shows which one it is, links and all: an open that created a reserved file is
    // undone.
    for (const ReservedFile* file : reservedFiles()) {
        if (!file->isOpenAs(descriptor)) continue;
        if (std::ranges::find(missing, file) != missing.end()) file->remove();
        ::close(descriptor);
        errno = EBUSY;
        return -1;
    }
    return descriptor;
}
