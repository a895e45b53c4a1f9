#include "domNode.h"

#include "domList.h"
#include "query.h"
#include "text/codePage.h"
#include "text/excerpt.h"
#include "text/utf8.h"

namespace xml {

namespace {

/// A string of a text in UTF-8.
Bstr stringOf(std::string_view text) {
    const UINT units = utf8::countUnits(text);
    Bstr made = Bstr::adopt(SysAllocStringLen(nullptr, units));
    // Most text is ASCII: to decode it like any other takes 2 % of the instructions of a restore.
    units == text.size() ? widen(text, made) : utf8::decode(text, made);
    return made;
}

Bstr textBelow(const DocumentTree& tree, NodeIndex node) {
    if (const NodeIndex only = tree.onlyTextBelow(node); only != 0) return stringOf(tree.textOf(only));
    UINT units = 0;
    tree.visitTextBelow(node, [&units](std::string_view piece) { units += utf8::countUnits(piece); });
    Bstr text = Bstr::adopt(SysAllocStringLen(nullptr, units));
    char16_t* end = text;
    tree.visitTextBelow(node, [&end](std::string_view piece) { end = utf8::decode(piece, end); });
    return text;
}

std::u16string_view nodeName(const DocumentTree& tree, NodeIndex node) {
    switch (tree.nodes[node].kind) {
    case NodeKind::document: return u"#document";
    case NodeKind::text:
    case NodeKind::blank: return u"#text";
    case NodeKind::cdata: return u"#cdata-section";
    case NodeKind::comment: return u"#comment";
    case NodeKind::element:
    case NodeKind::attribute:
    case NodeKind::instruction: break;
    }
    return tree.nameOf(node);
}

} // namespace

HRESULT returnNode(const ComPtr<SharedTree>& shared, NodeIndex node, NodeIndex end, IXMLDOMNode** out) {
    *out = node < end ? makeObject<DomNode>(shared, node).detach() : nullptr;
    return node < end ? S_OK : S_FALSE;
}

template <class Interface> HRESULT NodeObject<Interface>::QueryInterface(const IID& wanted, void** out) {
    if (wanted != IXMLDOMNode::iid) return ComObject<Interface>::QueryInterface(wanted, out);
    *out = static_cast<IXMLDOMNode*>(this);
    this->AddRef();
    return S_OK;
}

template <class Interface> HRESULT NodeObject<Interface>::get_nodeName(BSTR* name) {
    *name = Bstr(nodeName(tree(), node_)).detach();
    return S_OK;
}

template <class Interface> HRESULT NodeObject<Interface>::get_nodeValue(VARIANT* value) {
    VariantInit(value);
    if (tree().isParent(node_)) {
        value->vt = VT_NULL;
        return S_FALSE;
    }
    *value = Variant::ofString(stringOf(tree().textOf(node_))).detach();
    return S_OK;
}

template <class Interface> HRESULT NodeObject<Interface>::get_text(BSTR* text) {
    *text = (tree().isParent(node_) ? textBelow(tree(), node_) : stringOf(tree().textOf(node_))).detach();
    return S_OK;
}

template <class Interface> HRESULT NodeObject<Interface>::get_firstChild(IXMLDOMNode** child) {
    return returnNode(shared_, tree().firstChild(node_), tree().subtreeEnd(node_), child);
}

template <class Interface> HRESULT NodeObject<Interface>::hasChildNodes(VARIANT_BOOL* hasChild) {
    const bool isParent = tree().firstChild(node_) < tree().subtreeEnd(node_);
    *hasChild = isParent ? VARIANT_TRUE : VARIANT_FALSE;
    return isParent ? S_OK : S_FALSE;
}

template <class Interface> HRESULT NodeObject<Interface>::get_childNodes(IXMLDOMNodeList** children) {
    *children = makeObject<DomNodeList>(shared_, node_).detach();
    return S_OK;
}

template <class Interface> HRESULT NodeObject<Interface>::get_attributes(IXMLDOMNamedNodeMap** attributes) {
    *attributes = nullptr;
    if (tree().nodes[node_].kind != NodeKind::element) return S_FALSE;
    *attributes = makeObject<DomAttributes>(shared_, node_).detach();
    return S_OK;
}

template <class Interface> HRESULT NodeObject<Interface>::selectNodes(BSTR query, IXMLDOMNodeList** nodes) {
    *nodes = nullptr;
    if (!isTagQuery(view(query))) return E_INVALIDARG;
    *nodes = makeObject<DomNodeList>(shared_, node_, tree().names.find(view(query))).detach();
    return S_OK;
}

template <class Interface> HRESULT NodeObject<Interface>::selectSingleNode(BSTR query, IXMLDOMNode** node) {
    *node = nullptr;
    const std::optional<std::string> wanted = nameInQuery(view(query));
    if (!wanted) return E_INVALIDARG;

    const NodeIndex end = tree().subtreeEnd(node_);
    NodeIndex child = tree().firstChild(node_);
    for (; child < end; child = tree().nextChild(child, end)) {
        const NodeIndex attribute = tree().findAttribute(child, u"name");
        if (attribute != 0 && tree().textOf(attribute) == *wanted) break;
    }
    return returnNode(shared_, child, end, node);
}

template class NodeObject<IXMLDOMElement>;
template class NodeObject<IXMLDOMDocument>;

HRESULT DomNode::getAttribute(BSTR name, VARIANT* value) {
    VariantInit(value);
    const NodeIndex attribute = tree().findAttribute(node_, view(name));
    if (attribute == 0) {
        value->vt = VT_NULL;
        return S_FALSE;
    }
    *value = Variant::ofString(stringOf(tree().textOf(attribute))).detach();
    return S_OK;
}

HRESULT DomNode::failNoElement() const {
    setStatusDetail(E_NOINTERFACE, "No such interface supported: " + excerpt(nodeName(tree(), node_)) +
                                       " \"" + excerpt(tree().textOf(node_)) + "\" isn't an element");
    return E_NOINTERFACE;
}

HRESULT DomNode::QueryInterface(const IID& wanted, void** out) {
    if (wanted != IXMLDOMElement::iid) return NodeObject::QueryInterface(wanted, out);
    const bool isElement = tree().nodes[node_].kind == NodeKind::element;
    *out = isElement ? static_cast<IXMLDOMElement*>(this) : nullptr;
    if (!isElement) return failNoElement();
    AddRef();
    return S_OK;
}

} // namespace xml
