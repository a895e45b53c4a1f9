#include "platform/xml/chars.h"

#include <algorithm>

namespace xml {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

constexpr Range nameStartRanges[] = {
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
    {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
    {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
/// What a name may hold besides, though not begin with.
constexpr Range nameCharRanges[] = {{0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

template <std::size_t count> bool isIn(const Range (&ranges)[count], char32_t character) {
    return std::ranges::any_of(
        ranges, [character](Range range) { return character >= range.first && character <= range.last; });
}

} // namespace

bool isXmlChar(char32_t character) {
    if (character < 0x20) return character == '\t' || character == '\n' || character == '\r';
    return character < 0xD800 || (character >= 0xE000 && character < 0xFFFE) ||
           (character >= 0x10000 && character <= 0x10FFFF);
}

bool isNameStart(char32_t character) {
    return isIn(nameStartRanges, character);
}

const char16_t* nameCharsEnd(const char16_t* at) {
    for (;;) {
        while (isAscii(*at, nameChar)) ++at;
        const char32_t character = charAt(at);
        if (character < 0x80 || (!isNameStart(character) && !isIn(nameCharRanges, character))) return at;
        at += unitsOf(character);
    }
}

} // namespace xml
