// The tree of a parsed document: its nodes in one array, in document order.
#pragma once

#include "com/nameTable.h"
#include "pool.h"

namespace xml {

using NodeIndex = std::uint32_t;

/// A blank is white space that is the whole content of an element: part of its text, but no child.
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

/// One node. 29 bits are enough for the number of a name: each name has more than four units of the document.
struct TreeNode {
    TreeNode(NodeKind nodeKind, NameTable::Number nameNumber, std::uint32_t linked)
        : kind(nodeKind), name(nameNumber & 0x1FFFFFFF), link(linked) {}

    NodeKind kind : 3;
    /// The number of the name of an element, an attribute or an instruction.
    NameTable::Number name : 29;
    /// For a document or an element the index after its last descendant, for any other node the start of its
    /// text.
    std::uint32_t link;
};

/// After an element come its attributes, then its children, each with all that is below it. The nodes below a
/// node are therefore one range of the array, and no walk needs a recursion. Node 0 is the document.
struct DocumentTree {
    Pool<TreeNode> nodes;
    /// The text of every node that has one, in UTF-8, each ended by a 0.
    Pool<char> text;
    NameTable names;

    /// Whether nodes can be below this one; all others have a text of their own.
    bool isParent(NodeIndex node) const {
        return nodes[node].kind == NodeKind::document || nodes[node].kind == NodeKind::element;
    }
    bool isElement(NodeIndex node, NameTable::Number tag) const {
        return nodes[node].kind == NodeKind::element && nodes[node].name == tag;
    }
    /// The index after a node and all that is below it.
    NodeIndex subtreeEnd(NodeIndex node) const { return isParent(node) ? nodes[node].link : node + 1; }
    /// The children of a node are firstChild, nextChild of that, and so on, up to subtreeEnd(parent).
    NodeIndex firstChild(NodeIndex parent) const { return childFrom(parent + 1, subtreeEnd(parent)); }
    NodeIndex nextChild(NodeIndex child, NodeIndex parentEnd) const {
        return childFrom(subtreeEnd(child), parentEnd);
    }
    /// The attributes of an element are the nodes from element + 1 up to this index.
    NodeIndex attributesEnd(NodeIndex element) const;
    /// The attribute of an element by its name; 0, which is no attribute, if there is none.
    NodeIndex findAttribute(NodeIndex element, std::u16string_view name) const;

    std::u16string_view nameOf(NodeIndex node) const { return names[nodes[node].name]; }
    /// The text of a node that isn't a parent.
    std::string_view textOf(NodeIndex node) const { return &text[nodes[node].link]; }
    /// The node that has all the text below a node; 0 if no node or several have it.
    NodeIndex onlyTextBelow(NodeIndex node) const;
    /// Calls `visit` with each piece of the text below a node.
    template <class Visit> void visitTextBelow(NodeIndex node, Visit visit) const {
        for (NodeIndex at = node + 1; at < subtreeEnd(node); ++at) {
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
