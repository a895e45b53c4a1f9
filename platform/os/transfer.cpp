#include "os/transfer.h"

#include <cerrno>
#include <unistd.h>

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool readAll(int descriptor, char* buffer, std::size_t size, std::size_t& count) {
    count = 0;
    while (count < size) {
        const ssize_t got = ::read(descriptor, buffer + count, size - count);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) break;
        count += static_cast<std::size_t>(got);
    }
    return true;
}
