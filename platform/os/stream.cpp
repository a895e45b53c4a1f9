#include "os/stream.h"

#include "os/transfer.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// Both in one object: error flushes output, and so is destroyed before it.
struct StandardStreams {
    OutStream output{STDOUT_FILENO,
                     ::isatty(STDOUT_FILENO) != 0 ? OutStream::Flush::eachLine : OutStream::Flush::whenFull};
    OutStream error{STDERR_FILENO, OutStream::Flush::eachPrint, &output};
};

StandardStreams& standardStreams() {
    static StandardStreams streams;
    return streams;
}

} // namespace

OutStream::OutStream(int descriptor, Flush policy, OutStream* flushedFirst)
    : descriptor_(descriptor), policy_(policy), flushedFirst_(flushedFirst) {}

void OutStream::fillLarge(char c, std::size_t count) {
    for (; count > maxReserve; count -= maxReserve) fill(c, maxReserve);
    fill(c, count);
}

void OutStream::flush() {
    writeToDescriptor({buffer_.data(), used_});
    used_ = 0;
}

void OutStream::writeToDescriptor(std::string_view text) {
    if (text.empty()) return;
    if (flushedFirst_ != nullptr) flushedFirst_->flush();
    writeAll(descriptor_, text);
}

void OutStream::writeLarge(std::string_view text) {
    flush();
    if (text.size() > capacity) return writeToDescriptor(text);
    write(text);
}

void OutStream::flushAfterPrint() {
    if (used_ == 0 || (policy_ == Flush::eachLine && buffer_[used_ - 1] != '\n')) return;
    flush();
}

OutStream& standardOutput() { return standardStreams().output; }

OutStream& standardError() { return standardStreams().error; }

void prepareStreams() {
    for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
        // The new descriptor gets the lowest free number, which is this one.
        if (::fcntl(standard, F_GETFD) < 0) (void)::open("/dev/null", O_RDWR);
    }
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)std::signal(SIGXFSZ, SIG_IGN);
}
