// Atomic replacement of a file: at every moment its path leads to the old contents or to all of the new ones.
#pragma once

#include "os/file.h"

#include <functional>
#include <string>
#include <string_view>

/// Writes the next piece of a file's contents.
using WritePiece = std::function<void(std::string_view)>;

/// The file that `path` leads to, all links followed; empty if there is none.
std::string realPathOf(const char* path);

/// Replaces the file at `path`, which is no link and of which `oldFile` is an open descriptor, by the pieces
/// that `writeContents` writes.
///
/// The new file is written beside the old one as .NAME.rewrite; it gets the mode and the owner of the old
/// one, is synced to the disk and renamed to `path`; syncFolderOf then makes the new name last. `isWanted` is
/// called before the rename. Where a step fails, `isWanted` returns false, or the old file has a second name,
/// the old file stays and the new one is removed. Returns whether the file was replaced.
///
/// Only the holder of the old file's lock may call this: an existing .NAME.rewrite is removed, as the remains
/// of a process that died. The new file needs no lock: its contents are whole when it gets its name.
bool replaceFile(const std::string& path, const Descriptor& oldFile,
                 const std::function<void(const WritePiece&)>& writeContents,
                 const std::function<bool()>& isWanted);

/// Syncs the folder of the file at `path` to the disk; where that fails, as in a folder that can't be read,
/// the file system, in which `file` is. False, with errno set, if that fails too.
bool syncFolderOf(const std::string& path, const Descriptor& file);
