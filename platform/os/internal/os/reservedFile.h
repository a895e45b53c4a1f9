// Reserved files: those that a module of the platform works on, and that File must not open for writing.
#pragma once

#include <string>

/// Reserves the file at a path for as long as it lives. The path is looked up whenever a File is opened, all
/// links followed, so that it may be relative and the file may be created later.
class ReservedFile {
public:
    explicit ReservedFile(std::string path);
    ReservedFile(const ReservedFile&) = delete;
    ReservedFile& operator=(const ReservedFile&) = delete;
    ~ReservedFile();

    /// Whether the descriptor is one of the file at the path.
    bool isOpenAs(int descriptor) const;

private:
    std::string path_;
};

/// Opens `path` for writing without emptying it; creates it if it doesn't exist. Returns a descriptor, which
/// the caller owns, or -1 with errno set: EBUSY for a reserved file. A reserved file that is missing isn't
/// created, but for one case: if `path` is a link to it, an empty file stays.
int openUnreserved(const char* path);
