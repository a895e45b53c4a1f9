// UTF-8, the form in which a document keeps its text, which is nearly always ASCII.
#pragma once

#include "platform/automation/bstr.h"

#include <cstdint>
#include <string_view>

namespace xml {

/// Writes a character to `out`, and answers the place behind it. Half a surrogate pair is written like any
/// other, so that it equals nothing that a document holds.
char* encode(char32_t character, char* out);

/// The room that encode needs for each 16-bit unit of a text, at most.
constexpr std::size_t maxBytesOfUnit = 3;

/// The number of 16-bit units of a well-formed text.
std::uint32_t countUnits(std::string_view text);

/// Writes the units of a well-formed text to `out`, and answers the place behind them.
char16_t* decode(std::string_view text, char16_t* out);

/// A string of the units of a well-formed text.
Bstr wide(std::string_view text);

} // namespace xml
