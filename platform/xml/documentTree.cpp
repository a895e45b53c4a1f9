#include "documentTree.h"

#include "automation/bstr.h"

namespace xml {

NodeIndex DocumentTree::childFrom(NodeIndex at, NodeIndex end) const {
    while (at < end && (nodes[at].kind == NodeKind::attribute || nodes[at].kind == NodeKind::blank)) ++at;
    return at;
}

NodeIndex DocumentTree::attributesEnd(NodeIndex element) const {
    NodeIndex at = element + 1;
    while (at < subtreeEnd(element) && nodes[at].kind == NodeKind::attribute) ++at;
    return at;
}

NodeIndex DocumentTree::findAttribute(NodeIndex element, std::u16string_view name) const {
    const NodeIndex end = subtreeEnd(element);
    for (NodeIndex at = element + 1; at < end && nodes[at].kind == NodeKind::attribute; ++at) {
        if (equal(nameOf(at), name)) return at;
    }
    return 0;
}

NodeIndex DocumentTree::onlyTextBelow(NodeIndex node) const {
    const NodeIndex last = subtreeEnd(node) - 1;
    return attributesEnd(node) == last && countsAsText(nodes[last].kind) ? last : 0;
}

} // namespace xml
