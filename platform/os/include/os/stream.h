// Output streams: a file descriptor with a buffer.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

/// An output stream. A failed write isn't reported: its text is dropped.
class OutStream {
public:
    /// When printed text is written to the descriptor: only when the buffer is full, or also after each
    /// print, or after each print that ends a line. A line that fits into the buffer is thus one write.
    enum class Flush { whenFull, eachPrint, eachLine };

    /// Writes to `descriptor`, which stays the caller's. Each write of this stream flushes `flushedFirst`
    /// before, if that isn't null; it must outlive this stream.
    explicit OutStream(int descriptor, Flush policy = Flush::whenFull, OutStream* flushedFirst = nullptr);
    OutStream(const OutStream&) = delete;
    OutStream& operator=(const OutStream&) = delete;
    ~OutStream() { flush(); }

    void write(std::string_view text) {
        if (text.empty()) return;
        if (text.size() > capacity - used_) return writeLarge(text);
        std::memcpy(buffer_.data() + used_, text.data(), text.size());
        used_ += text.size();
    }
    void fill(char c, std::size_t count) {
        if (count > maxReserve) return fillLarge(c, count);
        std::memset(reserve(count), c, count);
        commit(count);
    }

    static constexpr std::size_t maxReserve = 4096;
    /// Returns space for `count` bytes, at most maxReserve, which the caller writes; commit counts those
    /// that it wrote.
    char* reserve(std::size_t count) {
        if (count > capacity - used_) flush();
        return buffer_.data() + used_;
    }
    void commit(std::size_t count) { used_ += count; }

    /// Must be called at the end of each print: flushes as the policy demands.
    void printed() {
        if (policy_ != Flush::whenFull) flushAfterPrint();
    }
    void flush();
    void setFlush(Flush policy) { policy_ = policy; }

private:
    static constexpr std::size_t capacity = 1 << 15;

    void writeLarge(std::string_view text);
    void fillLarge(char c, std::size_t count);
    void flushAfterPrint();
    void writeToDescriptor(std::string_view text);

    int descriptor_;
    Flush policy_;
    OutStream* flushedFirst_;
    /// Part of the stream, so that the standard streams need no allocation.
    std::array<char, capacity> buffer_;
    std::size_t used_ = 0;
};

/// The standard streams. On a terminal standard output is flushed line by line, else when its buffer is full
/// and at the end of the process. Standard error is flushed after each print, and standard output before it,
/// so that the two keep their order if both lead to the same file.
OutStream& standardOutput();
OutStream& standardError();

/// Makes the standard streams safe to write to; must be called before any file is opened. A standard stream
/// that is closed is opened on the null device, so that no other file gets its number. From here on a write
/// to a closed pipe, or beyond the limit of a file's size, is a failed write and doesn't end the process.
void prepareStreams();
