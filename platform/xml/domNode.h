// The nodes of a document as objects.
#pragma once

#include "document/msxml.h"
#include "documentTree.h"

namespace xml {

/// A tree, shared by the document object and the objects of its nodes.
class SharedTree final : public ComObject<IUnknown> {
public:
    explicit SharedTree(DocumentTree parsed) : tree(std::move(parsed)) {}

    const DocumentTree tree;
};

/// Implements IXMLDOMNode for one node, in an object that offers Interface, which is derived from
/// IXMLDOMNode.
template <class Interface> class NodeObject : public NamelessObject<Interface> {
public:
    HRESULT QueryInterface(const IID& wanted, void** out) override;
    HRESULT get_nodeName(BSTR* name) override;
    HRESULT get_nodeValue(VARIANT* value) override;
    HRESULT get_text(BSTR* text) override;
    HRESULT get_firstChild(IXMLDOMNode** child) override;
    HRESULT hasChildNodes(VARIANT_BOOL* hasChild) override;
    HRESULT get_childNodes(IXMLDOMNodeList** children) override;
    HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) override;
    HRESULT selectNodes(BSTR query, IXMLDOMNodeList** nodes) override;
    HRESULT selectSingleNode(BSTR query, IXMLDOMNode** node) override;

protected:
    NodeObject(ComPtr<SharedTree> shared, NodeIndex node) : node_(node), shared_(std::move(shared)) {}

    const DocumentTree& tree() const { return shared_->tree; }

    NodeIndex node_;
    ComPtr<SharedTree> shared_;
};

extern template class NodeObject<IXMLDOMElement>;
extern template class NodeObject<IXMLDOMDocument>;

/// A node below the document.
class DomNode final : public NodeObject<IXMLDOMElement> {
public:
    DomNode(ComPtr<SharedTree> shared, NodeIndex node) : NodeObject(std::move(shared), node) {}

    /// Only an element offers IXMLDOMElement. It is checked first, as most queries are for it.
    HRESULT QueryInterface(const IID& wanted, void** out) override;
    HRESULT getAttribute(BSTR name, VARIANT* value) override;

private:
    HRESULT failNoElement() const;
};

/// Returns an object for the node at an index below `end`: S_OK; S_FALSE with null for any other index.
HRESULT returnNode(const ComPtr<SharedTree>& shared, NodeIndex node, NodeIndex end, IXMLDOMNode** out);

} // namespace xml
