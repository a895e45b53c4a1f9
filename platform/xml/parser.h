// The parser: makes a tree of wide text.
#pragma once

#include "documentTree.h"

#include <optional>
#include <string_view>

namespace xml {

/// A tree of the document node alone.
DocumentTree emptyTree();

/// Parses a document in one pass over `text`, of fewer than 2^31 units, after which there must be a 0.
/// std::nullopt for a text that isn't accepted. Accepted are exactly the well-formed XML 1.0 documents (fifth
/// edition) without a document type declaration; a colon in a name is a character like any other. The text is
/// decoded already: the encoding in an XML declaration has no effect, and a byte order mark isn't accepted.
/// More than 4 GB of text in attributes, elements and the like, as UTF-8, ends in memory::exhausted.
///
/// A run of text reaches from one tag to the next, across comments, instructions and CDATA sections; sections
/// and references are part of it. A run of white space alone has no text nodes; every section is a node.
std::optional<DocumentTree> parseXml(std::u16string_view text);

} // namespace xml
