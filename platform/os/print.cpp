#include "os/print.h"

#include "text/codePage.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string>

namespace {

/// A buffer for the digits of any number.
using Digits = std::array<char, 24>;

void printDigits(OutStream& stream, const printing::Piece& piece, const Digits& digits, const char* end) {
    const std::string_view text(digits.data(), static_cast<std::size_t>(end - digits.data()));
    printing::pad(stream, piece, text.size());
    stream.write(text);
}

} // namespace

namespace printing {

void printSigned(OutStream& stream, const Piece& piece, std::int64_t value) {
    Digits digits;
    const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    printDigits(stream, piece, digits, end);
}

void printHex(OutStream& stream, const Piece& piece, std::uint32_t value) {
    Digits digits;
    char* end = std::to_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr;
    std::transform(digits.data(), end, digits.data(),
                   [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
    printDigits(stream, piece, digits, end);
}

void printFloat(OutStream& stream, const Piece& piece, double value) {
    const int length = std::snprintf(nullptr, 0, "%f", value);
    std::string text(static_cast<std::size_t>(length), '\0');
    std::snprintf(text.data(), text.size() + 1, "%f", value);
    pad(stream, piece, text.size());
    stream.write(text);
}

void printWide(OutStream& stream, const Piece& piece, const char16_t* text) {
    std::size_t length = text == nullptr ? 0 : std::u16string_view(text).size();
    pad(stream, piece, length);
    for (std::size_t count = 0; length != 0; length -= count, text += count) {
        count = std::min(length, OutStream::maxReserve);
        std::transform(text, text + count, stream.reserve(count), narrowed);
        stream.commit(count);
    }
}

} // namespace printing
