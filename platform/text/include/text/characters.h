// Characters and their kinds, and the number at the beginning of a text.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

/// Whether a character is white space, as isspace has it in the C locale.
template <class Char> constexpr bool isSpace(Char c) {
    return c == Char{' '} || (c >= Char{'\t'} && c <= Char{'\r'});
}

/// Whether a character is a control character of ASCII or of its extension to 0x9F.
constexpr bool isControl(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

/// Parses a decimal number as atoi does: leading white space, an optional sign, digits up to the first other
/// character. Returns 0 if there are no digits, and the nearest 32-bit value for a number out of range.
template <class Char> std::int32_t leadingNumber(std::basic_string_view<Char> text) {
    std::size_t at = 0;
    while (at < text.size() && isSpace(text[at])) ++at;
    const bool negative = at < text.size() && text[at] == Char{'-'};
    if (at < text.size() && (negative || text[at] == Char{'+'})) ++at;

    using Limits = std::numeric_limits<std::int32_t>;
    std::int64_t number = 0;
    for (; at < text.size() && text[at] >= Char{'0'} && text[at] <= Char{'9'}; ++at) {
        if (number <= Limits::max()) number = number * 10 + (text[at] - Char{'0'});
    }
    if (negative) number = -number;
    return static_cast<std::int32_t>(number < Limits::min()   ? Limits::min()
                                     : number > Limits::max() ? Limits::max()
                                                              : number);
}
