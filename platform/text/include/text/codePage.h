// Narrow text and wide text. The code page of both directions is ISO 8859-1: a byte is the 16-bit unit of the
// same value.
#pragma once

#include <cstdint>
#include <string_view>

/// The thread's ANSI code page.
constexpr std::uint32_t CP_THREAD_ACP = 3;

extern "C" {

/// Converts `length` bytes to wide text, or, if `length` is -1, the bytes up to and including the first NUL.
/// Returns the number of units; with a `wideLength` of 0 only counts them. Returns 0, a failure, for a code
/// page other than CP_THREAD_ACP and for a `wideLength` that is too small.
int MultiByteToWideChar(std::uint32_t codePage, std::uint32_t flags, const char* bytes, int length,
                        char16_t* wide, int wideLength);
}

/// Writes the unit of each byte to `out`, which must be large enough for them all. Returns their end.
char16_t* widen(std::string_view bytes, char16_t* out);

/// The byte of a unit below 256, a question mark for any other.
constexpr char narrowed(char16_t unit) { return unit < 0x100 ? static_cast<char>(unit) : '?'; }
