// The characters of XML 1.0 (fifth edition), in 16-bit units.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace xml {

/// What an ASCII character is good for.
enum CharClass : std::uint8_t {
    nameStart = 1,
    nameChar = 2,
    white = 4,
    /// Stands for itself in the text of an element, in an attribute's value, in a comment or the like.
    plainText = 8,
    plainValue = 16,
    plainSection = 32,
};

namespace detail {

constexpr std::array<std::uint8_t, 128> makeAsciiClasses() {
    std::array<std::uint8_t, 128> classes{};
    const auto add = [&classes](std::u16string_view characters, unsigned added) {
        for (const char16_t c : characters) classes[c] = static_cast<std::uint8_t>(classes[c] | added);
    };
    const auto remove = [&classes](std::u16string_view characters, unsigned removed) {
        for (const char16_t c : characters) classes[c] = static_cast<std::uint8_t>(classes[c] & ~removed);
    };
    for (unsigned c = 0x20; c < 0x80; ++c) classes[c] = plainText | plainValue | plainSection;
    add(u"\t\n", plainText | plainSection);
    remove(u"<&]", plainText);
    remove(u"<&\"'", plainValue);
    remove(u"-]?", plainSection);
    add(u"\t\n\r ", white);
    add(u":_ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz", nameStart | nameChar);
    add(u"-.0123456789", nameChar);
    return classes;
}

inline constexpr auto asciiClasses = makeAsciiClasses();

} // namespace detail

/// Says whether a unit is an ASCII character of one of the classes.
inline bool isAscii(char16_t unit, unsigned classes) {
    return unit < detail::asciiClasses.size() && (detail::asciiClasses[unit] & classes) != 0;
}

inline bool isWhite(char16_t unit) { return isAscii(unit, white); }

/// Says whether a document may hold the character.
bool isXmlChar(char32_t character);

/// The character at `at`: a unit, or a surrogate pair, which takes two.
inline char32_t charAt(const char16_t* at) {
    const bool isPair = (at[0] & 0xFC00) == 0xD800 && (at[1] & 0xFC00) == 0xDC00;
    return isPair ? 0x10000u + ((at[0] & 0x3FFu) << 10) + (at[1] & 0x3FFu) : at[0];
}

inline int unitsOf(char32_t character) { return character < 0x10000 ? 1 : 2; }

/// The place behind the characters of a name that stand at `at`.
const char16_t* nameCharsEnd(const char16_t* at);
bool isNameStart(char32_t character);

/// The place behind the name that begins at `at`, or `at` itself where none does. The text must end in a 0.
inline const char16_t* nameEnd(const char16_t* at) {
    if (!isAscii(*at, nameStart) && !isNameStart(charAt(at))) return at;
    const char16_t* end = at;
    while (isAscii(*end, nameChar)) ++end;
    return *end < 0x80 ? end : nameCharsEnd(end);
}

} // namespace xml
