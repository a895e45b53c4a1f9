#include "os/fileReplacement.h"

#include "os/transfer.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool write(const Descriptor& file, const std::function<void(const WritePiece&)>& writeContents) {
    bool good = true;
    writeContents([&](std::string_view piece) { good = good && writeAll(file.get(), piece); });
    return good;
}

/// Gives `newFile` the mode and the owner of `oldFile`; false also if `oldFile` has a second name, which
/// would keep leading to the old contents.
bool copyModeAndOwner(const Descriptor& oldFile, const Descriptor& newFile) {
    struct stat oldInfo {};
    struct stat newInfo {};
    if (::fstat(oldFile.get(), &oldInfo) != 0 || ::fstat(newFile.get(), &newInfo) != 0) return false;
    if (oldInfo.st_nlink != 1) return false;
    const bool sameOwner = oldInfo.st_uid == newInfo.st_uid && oldInfo.st_gid == newInfo.st_gid;
    return (sameOwner || ::fchown(newFile.get(), oldInfo.st_uid, oldInfo.st_gid) == 0) &&
           ::fchmod(newFile.get(), oldInfo.st_mode & 07777) == 0;
}

} // namespace

std::string realPathOf(const char* path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path, nullptr), &std::free);
    return real ? real.get() : "";
}

bool replaceFile(const std::string& path, const Descriptor& oldFile,
                 const std::function<void(const WritePiece&)>& writeContents,
                 const std::function<bool()>& isWanted) {
    const std::size_t nameStart = path.rfind('/') + 1;
    const std::string newPath = path.substr(0, nameStart) + "." + path.substr(nameStart) + ".rewrite";

    ::unlink(newPath.c_str());
    const Descriptor newFile(::open(newPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!newFile.isOpen()) return false;
    const bool replaced = write(newFile, writeContents) && copyModeAndOwner(oldFile, newFile) &&
                          ::fsync(newFile.get()) == 0 && isWanted() &&
                          ::rename(newPath.c_str(), path.c_str()) == 0;
    if (!replaced) ::unlink(newPath.c_str());
    return replaced;
}

bool syncFolderOf(const std::string& path, const Descriptor& file) {
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    const Descriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return (opened.isOpen() && ::fsync(opened.get()) == 0) || ::syncfs(file.get()) == 0;
}
