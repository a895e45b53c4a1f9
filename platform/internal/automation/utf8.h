// UTF-8, the form in which files and documents keep their text, which is nearly always ASCII, to and from the
// 16-bit units of a BSTR.
#pragma once

#include "automation/bstr.h"

#include <cstdint>
#include <string_view>

namespace utf8 {

/// The room that encode needs for a character, and for each 16-bit unit of a text, at most.
constexpr std::size_t maxBytesOfCharacter = 4;
constexpr std::size_t maxBytesOfUnit = 3;

/// Writes a character to `out`, and answers the place behind it. Half a surrogate pair is written like any
/// other, so that it equals nothing that well-formed text holds.
char* encode(char32_t character, char* out);

/// Reads one character of any bytes at `at`, which is below `end`, and stands behind it; false, for what is
/// no UTF-8, leaves `at` alone.
bool read(const char*& at, const char* end, char32_t& character);

/// The number of 16-bit units of a well-formed text.
std::uint32_t countUnits(std::string_view text);

/// Writes the units of a well-formed text to `out`, and answers the place behind them.
char16_t* decode(std::string_view text, char16_t* out);

/// A string of the units of a well-formed text.
Bstr wide(std::string_view text);

} // namespace utf8
