// UTF-8, the encoding of files and documents, to and from 16-bit units.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace utf8 {

/// The most bytes that encode needs for a character.
constexpr std::size_t maxBytesOfCharacter = 4;
/// The most bytes of UTF-8 for each 16-bit unit of a text.
constexpr std::size_t maxBytesOfUnit = 3;

/// Encodes a character at `out` and returns the end of its bytes. Half of a surrogate pair is encoded like
/// any other character, so that it equals no part of a well-formed text.
char* encode(char32_t character, char* out);

/// Decodes one character at `at`, which must be below `end`, and moves `at` to its end. False, with `at`
/// unchanged, for bytes that are no UTF-8.
bool decodeCharacter(const char*& at, const char* end, char32_t& character);

/// The number of 16-bit units of a well-formed text.
std::uint32_t countUnits(std::string_view text);

/// Decodes a well-formed text to units at `out`, which must be large enough for countUnits of them. Returns
/// the end of the units.
char16_t* decode(std::string_view text, char16_t* out);

} // namespace utf8
