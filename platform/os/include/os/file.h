// Files: opened for writing or reading, and closed with their owner.
#pragma once

#include "os/stream.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

/// Owns one file descriptor, or none.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor();

    int get() const { return number_; }
    bool isOpen() const { return number_ >= 0; }

private:
    int number_;
};

/// A file opened for writing.
class File {
public:
    /// Opens `path` as the mode "wb" does: the file is emptied, or created. If that fails the file isn't open
    /// and errno has the reason. A file that a module of the platform has reserved fails with EBUSY, and
    /// stays as it was.
    explicit File(const char* path);

    bool isOpen() const { return descriptor_.isOpen(); }
    /// The stream that writes to the file, which must be open.
    OutStream& stream() { return *stream_; }

private:
    Descriptor descriptor_;
    /// Destroyed before the descriptor: it flushes into it.
    std::unique_ptr<OutStream> stream_;
};

/// A file opened for reading.
class InputFile {
public:
    /// Opens `path` as the mode "rb" does. If that fails, as it does for a folder, the file isn't open and
    /// errno has the reason.
    explicit InputFile(const char* path);

    bool isOpen() const { return descriptor_.isOpen(); }
    /// The size in bytes, found by seeking to the end and back to the start; -1, with errno set, for a file
    /// that can't seek.
    std::int64_t size();
    /// Reads up to `count` bytes and returns how many it read: fewer at the end of the file or on a failure.
    std::size_t read(char* buffer, std::size_t count);

private:
    Descriptor descriptor_;
};

/// The run-time library's text for an error number, cut to 255 bytes.
std::string errorText(int error);
