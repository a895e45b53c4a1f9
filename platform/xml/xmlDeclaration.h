// The XML declaration.
#pragma once

#include <string_view>

namespace xml {

/// Removes the XML declaration from the beginning of a document, if there is one; false if it is malformed.
/// The declared version, encoding and standalone have no effect.
bool skipXmlDeclaration(std::u16string_view& text);

} // namespace xml
