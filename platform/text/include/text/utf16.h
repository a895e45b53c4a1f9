// UTF-16: characters as 16-bit units. A character from U+10000 up is a surrogate pair, a high half and a low
// half; a half alone counts as a character of its own.
#pragma once

namespace utf16 {

constexpr bool isHighHalf(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool isLowHalf(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }
/// Whether a character is half of a pair, alone.
constexpr bool isHalf(char32_t character) { return character >= 0xD800 && character < 0xE000; }

/// Decodes the character at `at`, which must be below `end`, and moves `at` past it. Without `end` a NUL must
/// end the text.
constexpr char32_t decodeCharacter(const char16_t*& at, const char16_t* end = nullptr) {
    const char16_t unit = *at++;
    if (!isHighHalf(unit) || at == end || !isLowHalf(*at)) return unit;
    return 0x10000 + ((char32_t{unit} - 0xD800) << 10 | (char32_t{*at++} - 0xDC00));
}

/// Encodes a character as one or two units at `out` and returns their end.
constexpr char16_t* encode(char32_t character, char16_t* out) {
    if (character < 0x10000) {
        *out++ = static_cast<char16_t>(character);
    } else {
        *out++ = static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
        *out++ = static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
    }
    return out;
}

} // namespace utf16
