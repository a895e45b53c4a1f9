// The characters of a line of the metabase file: one table for the lexer and for the formatting of names and
// strings.
#pragma once

#include "text/characters.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace metabase {

enum ByteClass : std::uint8_t {
    /// Separates words.
    blank = 1,
    /// Ends a word.
    wordEnd = 2,
    /// Is itself in a string, as one byte and one unit.
    plain = 4,
    /// In a bare name, and at its start.
    nameMore = 8,
    nameStart = 16,
};

/// The classes of each byte.
inline constexpr std::array<std::uint8_t, 256> byteClasses = [] {
    std::array<std::uint8_t, 256> classes{};
    const auto toggle = [&classes](std::string_view characters, unsigned toggled) {
        for (const char c : characters)
            classes[static_cast<unsigned char>(c)] ^= static_cast<std::uint8_t>(toggled);
    };
    for (std::size_t c = 0x20; c < 0x7F; ++c) classes[c] = plain;
    toggle("\"\\", plain);
    toggle(" \t", blank | wordEnd);
    toggle(",\"()[]", wordEnd);
    toggle("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_", nameStart | nameMore);
    toggle("0123456789-.", nameMore);
    return classes;
}();

/// Whether a byte is in one of the classes.
constexpr bool byteIsIn(char c, unsigned classes) {
    return (byteClasses[static_cast<unsigned char>(c)] & classes) != 0;
}
/// The same for a unit; false beyond ASCII.
constexpr bool unitIsIn(char16_t unit, unsigned classes) {
    return unit < 0x80 && byteIsIn(static_cast<char>(unit), classes);
}

/// An escape of a string, a backslash and a letter, and its character. Any other unit is
/// escaped as \uXXXX.
struct StringEscape {
    char letter;
    char character;
};
constexpr StringEscape stringEscapes[] = {{'"', '"'}, {'\\', '\\'}, {'n', '\n'}, {'r', '\r'}, {'t', '\t'}};

/// Whether a character is escaped when a string is formatted. A string that is read may hold all of them
/// unescaped except control characters.
constexpr bool needsEscape(char32_t c) {
    return isControl(c) || c == 0x2028 || c == 0x2029 || c == 0xFEFF || c == 0xFFFE || c == 0xFFFF;
}

} // namespace metabase
