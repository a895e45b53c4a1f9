#include "os/reservedFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
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

bool ReservedFile::exists() const {
    struct stat info {};
    return ::stat(path_.c_str(), &info) == 0;
}

bool ReservedFile::isOpenAs(int descriptor) const {
    struct stat reserved {};
    struct stat opened {};
    return ::stat(path_.c_str(), &reserved) == 0 && ::fstat(descriptor, &opened) == 0 &&
           reserved.st_dev == opened.st_dev && reserved.st_ino == opened.st_ino;
}

void ReservedFile::remove() const {
    char* real = ::realpath(path_.c_str(), nullptr);
    if (real != nullptr) ::unlink(real);
    std::free(real);
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
