#include "xmlCharacters.h"

namespace xml {
namespace {

struct Range {
    char16_t first;
    char16_t last;
};

constexpr Range nameStarts[] = {{u':', u':'},     {u'A', u'Z'},     {u'_', u'_'},     {u'a', u'z'},
                                {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
                                {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
                                {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}};
/// What a name may hold after its start, besides the units that may start it.
constexpr Range nameOthers[] = {{u'-', u'.'}, {u'0', u'9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};

constexpr auto makeUnitClasses() {
    std::array<std::uint8_t, 0x10000> classes{};
    const auto add = [&classes](Range range, unsigned added) {
        for (unsigned c = range.first; c <= range.last; ++c) classes[c] |= static_cast<std::uint8_t>(added);
    };
    const auto toggle = [&classes](std::u16string_view characters, unsigned toggled) {
        for (const char16_t c : characters) classes[c] ^= static_cast<std::uint8_t>(toggled);
    };
    for (const Range range : nameStarts) add(range, nameStart | nameChar);
    for (const Range range : nameOthers) add(range, nameChar);
    add({0x20, 0x7F}, plainText | plainValue | plainSection);
    toggle(u"\t\n", plainText | plainSection);
    toggle(u"\t\n\r ", white);
    toggle(u"<&]", plainText);
    toggle(u"<&\"'", plainValue);
    toggle(u"-]?", plainSection);
    return classes;
}

} // namespace

constinit const std::array<std::uint8_t, 0x10000> unitClasses = makeUnitClasses();

bool isXmlChar(char32_t character) {
    if (character < 0x20) return hasClass(static_cast<char16_t>(character), white);
    return character < 0xD800 || (character >= 0xE000 && character < 0xFFFE) ||
           (character >= 0x10000 && character <= 0x10FFFF);
}

} // namespace xml
