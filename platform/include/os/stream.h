// Output streams: a file descriptor with a buffer.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

/// An output stream. A failed write is never told: what can't be written is dropped.
class OutStream {
public:
    /// When what was printed is handed to the operating system: when the buffer is full, or also after each
    /// print, or after each print that ends a line.
    enum class Flush { whenFull, eachPrint, eachLine };

    /// Writes to `descriptor`, which stays the caller's.
    explicit OutStream(int descriptor, Flush policy = Flush::whenFull);
    OutStream(const OutStream&) = delete;
    OutStream& operator=(const OutStream&) = delete;
    ~OutStream() { flush(); }

    void write(std::string_view text) {
        if (text.empty()) return;
        if (text.size() > capacity - used_) return writeLarge(text);
        std::memcpy(buffer_.get() + used_, text.data(), text.size());
        used_ += text.size();
    }
    void fill(char c, std::size_t count) {
        if (count > maxReserve) return fillLarge(c, count);
        std::memset(reserve(count), c, count);
        commit(count);
    }

    /// Room for `count` bytes, at most maxReserve, to be filled in place; commit tells how many were.
    static constexpr std::size_t maxReserve = 4096;
    char* reserve(std::size_t count) {
        if (count > capacity - used_) flush();
        return buffer_.get() + used_;
    }
    void commit(std::size_t count) { used_ += count; }

    /// Called at the end of each print.
    void printed() {
        if (policy_ != Flush::whenFull) flushAfterPrint();
    }
    void flush();

private:
    static constexpr std::size_t capacity = 1 << 16;

    void writeLarge(std::string_view text);
    void fillLarge(char c, std::size_t count);
    void flushAfterPrint();
    void handOver(std::string_view text);

    int descriptor_;
    Flush policy_;
    std::unique_ptr<char[]> buffer_;
    std::size_t used_ = 0;
};

/// Standard output is handed over line by line to a terminal, else when the buffer is full and at the end of
/// the process; standard error after each print, and whatever waits for standard output ahead of it, so that
/// the two keep their order where they share a place.
OutStream& standardOutput();
OutStream& standardError();

/// Called ahead of everything else. A standard stream that is closed is opened on nothing, so that no file
/// gets its number and what is printed with it. From here on a write to a closed pipe, or beyond the limit of
/// a file's size, is a failed write and doesn't end the process.
void prepareStreams();
