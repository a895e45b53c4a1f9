// Files: opened for writing or reading, and closed with their owner.
#pragma once

#include "os/descriptor.h"
#include "os/stream.h"

#include <cstdint>
#include <string>

/// A file opened for writing, closed with its owner.
class File {
public:
    /// Opens `path` as the mode "wb" does: it is emptied, or created. On a failure the file isn't open and
    /// errno tells why; a file that the server holds open is busy, and left as it was.
    explicit File(const char* path);

    bool isOpen() const { return descriptor_.isOpen(); }
    OutStream& stream() { return *stream_; }

private:
    Descriptor descriptor_;
    /// Gone, and with it what it still had to write, ahead of the descriptor.
    std::unique_ptr<OutStream> stream_;
};

/// Tells that the server holds the file at `path` open, so that nobody else can open it for writing. The text
/// must outlive the process's last File.
void holdOpen(const char* path);

/// A file opened for reading.
class InputFile {
public:
    /// Opens `path` as the mode "rb" does. On a failure the file isn't open and errno tells why; a folder
    /// can't be opened.
    explicit InputFile(const char* path);

    bool isOpen() const { return descriptor_.isOpen(); }
    /// The size in bytes, found by seeking to the end and back to the start; -1, with errno set, for what has
    /// none.
    std::int64_t size();
    /// Reads up to `count` bytes and returns how many came: fewer at the end of the file or on a failure.
    std::size_t read(char* buffer, std::size_t count);

private:
    Descriptor descriptor_;
};

/// The run-time library's text for an error number, at most 255 characters of it.
std::string errorText(int error);
