// UTF-8 text to and from 16-bit units.
#pragma once

#include <string>
#include <string_view>

/// Reads one character of UTF-8 at `at`, which is below `end`, and stands behind it; false, for what is no
/// UTF-8, leaves `at` alone.
bool readUtf8(const char*& at, const char* end, char32_t& character);

/// Appends a character (no half of a surrogate pair) as UTF-8.
void appendUtf8(std::string& out, char32_t character);
