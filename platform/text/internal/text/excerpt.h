// Text that a message quotes, so that a reader can search for it.
#pragma once

#include <string>
#include <string_view>

/// At most 60 characters of a text, followed by "..." if there are more, in Latin-1. A control character is
/// `\xHH`, a unit above U+00FF a question mark.
std::string excerpt(std::u16string_view text);

/// The same of UTF-8; a byte that is no UTF-8 is `\xHH`, a character above U+00FF a question mark.
std::string excerpt(std::string_view bytes);
