// Whole reads and writes of a file descriptor: repeated until all bytes are transferred.
#pragma once

#include <cstddef>
#include <string_view>

/// Writes all of `text`. False, with errno set, if a write fails; part of the text may then be written.
bool writeAll(int descriptor, std::string_view text);

/// Reads up to `size` bytes into `buffer` and sets `count` to their number, which is smaller at the end of
/// the file and on a failure: false, with errno set.
bool readAll(int descriptor, char* buffer, std::size_t size, std::size_t& count);
