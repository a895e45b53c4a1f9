// The records of the metabase file: its whole text into a tree and back, and the lines of changes.
#pragma once

#include "objectTree.h"

#include <functional>
#include <span>

/// What a text turned out to be, beyond the tree.
struct MetabaseText {
    /// The comment lines at its head.
    std::string_view head;
    /// How much of it counts: all but a change line at its end that a dying process left unfinished.
    std::size_t size = 0;
};

/// Reads a metabase file's text, which must outlive the tree, into an empty tree. False for a line that can't
/// be understood; `error` then says which one and why.
bool readMetabase(std::string_view text, MetabaseTree& tree, MetabaseText& result, std::string& error);

/// Gives the tree's canonical text, piece by piece.
void writeMetabase(const MetabaseTree& tree, std::string_view head,
                   const std::function<void(std::string_view)>& put);

/// A value that is to be committed.
struct PendingValue {
    PropertyId property;
    std::string text;
};

/// The lines of changes, line end included.
std::string setLine(const MetabaseTree& tree, const Node& node, std::span<const PendingValue> values);
std::string createLine(std::u16string_view path, const ClassDefinition& definition);
std::string deleteLine(const Node& node);
