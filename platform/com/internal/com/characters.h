// Single characters: bytes widened to 16-bit units, hexadecimal digits, control characters.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// Writes each byte of `bytes` as the 16-bit unit of the same value to `out`, which must be large enough for
/// them all. Returns the end of the units.
inline char16_t* widen(std::string_view bytes, char16_t* out) {
    return std::transform(bytes.begin(), bytes.end(), out,
                          [](char c) { return static_cast<char16_t>(static_cast<unsigned char>(c)); });
}

/// What hexDigitValue returns for a unit that is no digit.
constexpr unsigned noHexDigit = 16;

/// The value of a hexadecimal digit, in capitals or not.
constexpr unsigned hexDigitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    const unsigned lower = unit | 0x20u;
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : noHexDigit;
}

/// Appends the low `digits` hexadecimal digits of a number, in capitals.
inline void formatHex(std::string& out, unsigned number, int digits) {
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
        out.push_back("0123456789ABCDEF"[number >> shift & 0xF]);
}

/// Whether a character is a control character of ASCII or of its extension to 0x9F.
constexpr bool isControl(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}
