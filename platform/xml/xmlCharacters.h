// The characters of XML 1.0 (fifth edition), in 16-bit units.
#pragma once

#include "automation/bstr.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace xml {

/// What a unit may be by itself. Surrogates are in no class.
enum CharClass : std::uint8_t {
    nameStart = 1,
    nameChar = 2,
    white = 4,
    /// ASCII that stands for itself in the text of an element, in the value of an attribute, in a comment or
    /// the like.
    plainText = 8,
    plainValue = 16,
    plainSection = 32,
};

/// The classes of each unit.
extern const std::array<std::uint8_t, 0x10000> charClasses;

/// Says whether a unit is in one of the classes.
inline bool is(char16_t unit, unsigned classes) { return (charClasses[unit] & classes) != 0; }

inline bool isWhite(char16_t unit) { return is(unit, white); }

/// The character at `at`: a unit, or a surrogate pair, which takes two.
inline char32_t charAt(const char16_t* at) {
    return isHighHalf(at[0]) && isLowHalf(at[1]) ? characterOf(at[0], at[1]) : at[0];
}

inline int unitsOf(char32_t character) { return character < 0x10000 ? 1 : 2; }

/// Says whether a document may hold the character.
bool isXmlChar(char32_t character);

/// Says whether a surrogate pair stands at `at` that a name may hold, at its start as well: U+10000 to
/// U+EFFFF.
inline bool isNamePair(const char16_t* at) {
    return isHighHalf(at[0]) && at[0] < highHalfOf(0xF0000) && isLowHalf(at[1]);
}

/// Says whether a name that stands ahead of `at` ends there.
inline bool endsName(const char16_t* at) { return !is(*at, nameChar) && !isNamePair(at); }

/// The place behind the name that begins at `at`, or `at` itself where none does. The text must end in a 0.
inline const char16_t* nameEnd(const char16_t* at) {
    if (!is(*at, nameStart) && !isNamePair(at)) return at;
    for (;;) {
        while (is(*at, nameChar)) ++at;
        if (!isNamePair(at)) return at;
        at += 2;
    }
}

} // namespace xml
