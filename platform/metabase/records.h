// The records of the metabase file: its whole text parsed into a tree, a tree formatted as text, and the
// lines of changes. They know the syntax and the tree, and no file.
#pragma once

#include "objectTree.h"

#include <functional>
#include <span>

namespace metabase {

/// Properties of a parsed text that the tree doesn't have.
struct MetabaseText {
    /// The lines before the version line.
    std::string_view preamble;
    /// The length of the valid part. It ends before the first line that lacks its LF or holds a zero byte, if
    /// that line and all later ones begin with `+` or a zero byte: a process that died or a loss of power
    /// left them.
    std::size_t size = 0;
};

/// Parses a metabase file's text, which must outlive the tree, into an empty tree. False for a line that
/// can't be parsed; `error` then has its number and the reason.
bool readMetabase(std::string_view text, ObjectTree& tree, MetabaseText& result, std::string& error);

/// Formats the tree as canonical text after `preamble`, and passes it to `write` in pieces.
void writeMetabase(const ObjectTree& tree, std::string_view preamble,
                   const std::function<void(std::string_view)>& write);

/// A value that is to be committed, as text.
struct PendingValue {
    PropertyId property;
    std::string text;
};

/// The lines of changes, with their LF.
std::string setLine(const ObjectTree& tree, const ObjectNode& node, std::span<const PendingValue> values);
std::string createLine(std::u16string_view path, const ClassDefinition& definition);
std::string deleteLine(const ObjectNode& node);

} // namespace metabase
