// Tree: the nodes of a parsed document, in document order, in one array.
#pragma once

#include "nameTable.h"
#include "pool.h"

namespace xml {

using NodeIndex = std::uint32_t;

/// A blank is white space that is all the text of an element without child elements: text, but no child.
enum class NodeKind : std::uint32_t {
    document,
    element,
    attribute,
    text,
    cdata,
    comment,
    instruction,
    blank
};

/// Each name takes more than four units of the document, so that the numbers of all of them fit into 29 bits.
struct Node {
    Node(NodeKind nodeKind, NameTable::Number nameNumber, std::uint32_t linked)
        : kind(nodeKind), name(nameNumber & 0x1FFFFFFF), link(linked) {}

    NodeKind kind : 3;
    /// Elements, attributes and instructions: their name's number.
    NameTable::Number name : 29;
    /// Documents and elements: the index behind their last descendant. Others: where their text begins.
    std::uint32_t link;
};

/// An element is followed by its attributes, then by its children, each with all that lies below it. What is
/// below a node is therefore one range of the array, and no walk needs a recursion. Node 0 is the document.
struct Tree {
    Pool<Node> nodes;
    /// The text of every node that has one, in UTF-8, with a 0 behind each.
    Pool<char> text;
    NameTable names;

    bool isParent(NodeIndex node) const { return nodes[node].kind <= NodeKind::element; }
    bool isElement(NodeIndex node, NameTable::Number tag) const {
        return nodes[node].kind == NodeKind::element && nodes[node].name == tag;
    }
    /// The index behind a node and all that lies below it.
    NodeIndex behind(NodeIndex node) const { return isParent(node) ? nodes[node].link : node + 1; }
    /// The children of a node are those from firstChild by nextChild up to behind(parent).
    NodeIndex firstChild(NodeIndex parent) const { return childFrom(parent + 1, behind(parent)); }
    NodeIndex nextChild(NodeIndex child, NodeIndex parentEnd) const {
        return childFrom(behind(child), parentEnd);
    }
    /// The attributes of an element are the nodes from the one behind it up to this one.
    NodeIndex attributesEnd(NodeIndex element) const;
    /// The attribute of an element by its name; 0, which is no attribute, if it has none.
    NodeIndex findAttribute(NodeIndex element, std::u16string_view name) const;

    std::u16string_view nameOf(NodeIndex node) const { return names[nodes[node].name]; }
    /// What a node that is no parent holds.
    std::string_view textOf(NodeIndex node) const { return &text[nodes[node].link]; }
    /// The node that holds all the text below a node; 0 if there are none or several.
    NodeIndex onlyTextBelow(NodeIndex node) const;
    /// Calls `visit` with each piece of the text below a node.
    template <class Visit> void visitTextBelow(NodeIndex node, Visit visit) const {
        for (NodeIndex at = node + 1; at < behind(node); ++at) {
            if (countsAsText(nodes[at].kind)) visit(textOf(at));
        }
    }

private:
    static bool countsAsText(NodeKind kind) {
        return kind == NodeKind::text || kind == NodeKind::cdata || kind == NodeKind::blank;
    }
    NodeIndex childFrom(NodeIndex at, NodeIndex end) const;
};

} // namespace xml
