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

    /// Whether there is a file at the path at present.
    bool exists() const;
    /// Whether the descriptor is one of the file at the path.
    bool isOpenAs(int descriptor) const;
    /// Removes the file that the path leads to.
    void remove() const;

private:
    std::string path_;
};

/// Opens `path` for writing without emptying it; creates it if it doesn't exist. Returns a descriptor, which
/// the caller owns, or -1 with errno set: EBUSY for a reserved file, which isn't created either.
int openUnreserved(const char* path);
