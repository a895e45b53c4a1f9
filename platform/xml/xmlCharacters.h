// The characters of XML 1.0 (fifth edition), in 16-bit units.
#pragma once

#include "text/utf16.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace xml {

/// What a unit may be by itself. Surrogates are in no class.
enum UnitClass : std::uint8_t {
    nameStart = 1,
    nameChar = 2,
    white = 4,
    /// ASCII that is copied as it is, in the text of an element, in the value of an attribute, and in a
    /// comment, section or instruction.
    plainText = 8,
    plainValue = 16,
    plainSection = 32,
};

/// The classes of each unit.
extern const std::array<std::uint8_t, 0x10000> unitClasses;

/// Whether a unit is in one of the classes.
inline bool hasClass(char16_t unit, unsigned classes) { return (unitClasses[unit] & classes) != 0; }

inline bool isWhite(char16_t unit) { return hasClass(unit, white); }

/// Whether a document may hold the character.
bool isXmlChar(char32_t character);

/// Whether there is a surrogate pair at `at` that a name may hold, at its start as well: U+10000 to U+EFFFF.
inline bool isNamePair(const char16_t* at) {
    const char32_t character = utf16::decodeCharacter(at);
    return character >= 0x10000 && character < 0xF0000;
}

/// The end of the name that `at` is in, after its start. The text must end in a 0.
inline const char16_t* restOfNameEnd(const char16_t* at) {
    for (;;) {
        while (hasClass(*at, nameChar)) ++at;
        if (!isNamePair(at)) return at;
        at += 2;
    }
}

/// The end of the name that begins at `at`, or `at` itself if there is no name. The text must end in a 0.
inline const char16_t* nameEnd(const char16_t* at) {
    return hasClass(*at, nameStart) || isNamePair(at) ? restOfNameEnd(at) : at;
}

} // namespace xml
