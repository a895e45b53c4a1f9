// The XML declaration.
#pragma once

#include <string_view>

namespace xml {

/// Takes the XML declaration off the front of a document, where there is one; false if it is malformed. What
/// it declares changes nothing.
bool takeXmlDeclaration(std::u16string_view& text);

} // namespace xml
