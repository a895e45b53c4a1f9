// File descriptors: their owner, and whole writes and reads.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

/// A file descriptor, closed with its owner.
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

/// Writes all of `text`, or returns false with errno set.
bool writeAll(int descriptor, std::string_view text);

/// Reads up to `size` bytes and tells in `count` how many came: fewer only at the end of the file, or on a
/// failure, which is false with errno set.
bool readAll(int descriptor, char* buffer, std::size_t size, std::size_t& count);
