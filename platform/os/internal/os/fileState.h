// The identity and the state of a file, by which a change made by someone else is noticed.
#pragma once

#include <ctime>
#include <optional>
#include <sys/types.h>

struct FileState {
    dev_t device = 0;
    ino_t inode = 0;
    bool isRegular = false;
    off_t size = 0;
    timespec modified{};

    /// The state of an open file, or of the file at a path, all links followed. std::nullopt, with errno set,
    /// if the system doesn't return it.
    static std::optional<FileState> of(int descriptor);
    static std::optional<FileState> of(const char* path);

    /// Whether both are the same file in the same state.
    bool operator==(const FileState& other) const;
};
