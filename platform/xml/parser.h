// The parser: wide text in, tree out.
#pragma once

#include "documentTree.h"

#include <optional>
#include <string_view>

namespace xml {

/// A tree that holds nothing but the document node.
Tree emptyTree();

/// Parses a document in one pass over `text`, of fewer than 2^31 units, behind which a 0 must stand. Accepts
/// exactly the well-formed XML 1.0 documents (fifth edition) without a document type declaration; a colon is
/// a character of names like any other. The text is characters already: the encoding that an XML declaration
/// names is not looked at, and a byte order mark is no part of a document. More than 4 GB of text in
/// attributes, elements and the like, as UTF-8, is std::bad_alloc.
///
/// A run of text reaches from one tag to the next, over comments, instructions and CDATA sections; the
/// sections and the references are part of it. A run that is nothing but white space has no text nodes; a
/// section is a node whatever it holds.
std::optional<Tree> parseXml(std::u16string_view text);

} // namespace xml
