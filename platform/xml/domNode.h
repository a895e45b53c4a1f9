// The nodes of a document as objects.
#pragma once

#include "document/msxml.h"
#include "documentTree.h"

namespace xml {

/// A tree, alive as long as the document or a reference to one of its nodes is.
class SharedTree final : public ComObject<IUnknown> {
public:
    explicit SharedTree(Tree parsed) : tree(std::move(parsed)) {}

    const Tree tree;
};

/// IXMLDOMNode for an object that stands for one node and offers Interface, which is derived from it.
template <class Interface> class NodeObject : public NamelessObject<Interface> {
public:
    HRESULT QueryInterface(const IID& wanted, void** out) override;
    HRESULT get_nodeName(BSTR* name) override;
    HRESULT get_nodeValue(VARIANT* value) override;
    HRESULT get_text(BSTR* text) override;
    HRESULT get_firstChild(IXMLDOMNode** child) override;
    HRESULT hasChildNodes(VARIANT_BOOL* answer) override;
    HRESULT get_childNodes(IXMLDOMNodeList** children) override;
    HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) override;
    HRESULT selectNodes(BSTR query, IXMLDOMNodeList** nodes) override;
    HRESULT selectSingleNode(BSTR query, IXMLDOMNode** node) override;

protected:
    NodeObject(ComPtr<SharedTree> shared, NodeIndex node) : node_(node), shared_(std::move(shared)) {}

    const Tree& tree() const { return shared_->tree; }

    NodeIndex node_;
    ComPtr<SharedTree> shared_;
};

extern template class NodeObject<IXMLDOMElement>;
extern template class NodeObject<IXMLDOMDocument>;

/// A reference to a node below the document.
class DomNode final : public NodeObject<IXMLDOMElement> {
public:
    DomNode(ComPtr<SharedTree> shared, NodeIndex node) : NodeObject(std::move(shared), node) {}

    /// IXMLDOMElement, which only an element offers and every attribute is asked through, is answered ahead
    /// of all others.
    HRESULT QueryInterface(const IID& wanted, void** out) override;
    HRESULT getAttribute(BSTR name, VARIANT* value) override;
};

/// Hands out the node at an index below `end`; S_FALSE with null for any other.
HRESULT handOutNode(const ComPtr<SharedTree>& shared, NodeIndex node, NodeIndex end, IXMLDOMNode** out);

} // namespace xml
