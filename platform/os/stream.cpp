#include "os/stream.h"

#include "os/descriptor.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

OutStream::OutStream(int descriptor, Flush policy)
    : descriptor_(descriptor), policy_(policy), buffer_(new char[capacity]) {}

void OutStream::fillLarge(char c, std::size_t count) {
    for (; count > maxReserve; count -= maxReserve) fill(c, maxReserve);
    fill(c, count);
}

void OutStream::flush() {
    handOver({buffer_.get(), used_});
    used_ = 0;
}

void OutStream::handOver(std::string_view text) {
    if (text.empty()) return;
    if (this == &standardError()) standardOutput().flush();
    writeAll(descriptor_, text);
}

void OutStream::writeLarge(std::string_view text) {
    flush();
    if (text.size() > capacity) return handOver(text);
    write(text);
}

void OutStream::flushAfterPrint() {
    if (used_ == 0 || (policy_ == Flush::eachLine && buffer_[used_ - 1] != '\n')) return;
    flush();
}

OutStream& standardOutput() {
    static OutStream stream(STDOUT_FILENO, ::isatty(STDOUT_FILENO) != 0 ? OutStream::Flush::eachLine
                                                                        : OutStream::Flush::whenFull);
    return stream;
}

OutStream& standardError() {
    static OutStream stream(STDERR_FILENO, OutStream::Flush::eachPrint);
    return stream;
}

void prepareStreams() {
    for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
        // The lowest free number is the one that is missing.
        if (::fcntl(standard, F_GETFD) < 0) (void)::open("/dev/null", O_RDWR);
    }
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)std::signal(SIGXFSZ, SIG_IGN);
}
