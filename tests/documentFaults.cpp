// The faults in front of the document service.

#include "com/runtime.h"
#include "tests/fronts.h"

namespace {

class ListFront final : public Front<IXMLDOMNodeList> {
public:
    using Front::Front;
    PASS(IXMLDOMNodeList, get_length, (LONG * length), length)
    HRESULT nextNode(IXMLDOMNode** node) override;
};

class MapFront final : public Front<IXMLDOMNamedNodeMap> {
public:
    using Front::Front;
    PASS(IXMLDOMNamedNodeMap, get_length, (LONG * length), length)
    HRESULT get_item(LONG index, IXMLDOMNode** attribute) override;
};

/// The calls of a node, on whatever interface that adds to them.
template <class Interface> class NodeFront : public Front<Interface> {
public:
    using Front<Interface>::Front;
    HRESULT QueryInterface(const IID& wanted, void** out) override {
        // The interface of the front is one that goes on from IXMLDOMNode.
        return Front<Interface>::QueryInterface(wanted == IXMLDOMNode::iid ? Interface::iid : wanted, out);
    }
    PASS(IXMLDOMNode, get_nodeName, (BSTR * name), name)
    PASS(IXMLDOMNode, get_nodeValue, (VARIANT * value), value)
    PASS(IXMLDOMNode, get_text, (BSTR * text), text)
    HRESULT get_firstChild(IXMLDOMNode** child) override {
        return guard("IXMLDOMNode::get_firstChild",
                     [&] { return fronted(node()->get_firstChild(child), child); });
    }
    PASS(IXMLDOMNode, hasChildNodes, (VARIANT_BOOL * answer), answer)
    PASS_FRONTED(IXMLDOMNode, get_childNodes, ListFront, (IXMLDOMNodeList * *children), children)
    PASS_FRONTED(IXMLDOMNode, get_attributes, MapFront, (IXMLDOMNamedNodeMap * *attributes), attributes)
    PASS_FRONTED(IXMLDOMNode, selectNodes, ListFront, (BSTR query, IXMLDOMNodeList** nodes), nodes, query)
    HRESULT selectSingleNode(BSTR query, IXMLDOMNode** found) override {
        return guard("IXMLDOMNode::selectSingleNode",
                     [&] { return fronted(node()->selectSingleNode(query, found), found); });
    }

    static HRESULT fronted(HRESULT status, IXMLDOMNode** object);

private:
    ComPtr<IXMLDOMNode> node() const { return this->template inner<IXMLDOMNode>(); }
};

class PlainNodeFront final : public NodeFront<IXMLDOMNode> {
public:
    using NodeFront::NodeFront;
};

class ElementFront final : public NodeFront<IXMLDOMElement> {
public:
    using NodeFront::NodeFront;
    PASS(IXMLDOMElement, getAttribute, (BSTR name, VARIANT* value), name, value)
};

class DocumentFront final : public NodeFront<IXMLDOMDocument> {
public:
    using NodeFront::NodeFront;
    PASS(IXMLDOMDocument, put_async, (VARIANT_BOOL async), async)
    PASS(IXMLDOMDocument, loadXML, (BSTR text, VARIANT_BOOL* success), text, success)
    PASS_FRONTED(IXMLDOMDocument, get_documentElement, ElementFront, (IXMLDOMElement * *element), element)
};

/// Puts a front of the right kind before a node that a call gave.
template <class Interface> HRESULT NodeFront<Interface>::fronted(HRESULT status, IXMLDOMNode** object) {
    ComPtr<IXMLDOMElement> element;
    if (*object == nullptr) return status;
    if (query(**object, element) < 0) {
        replaceBy<PlainNodeFront>(object);
    } else {
        (*object)->Release();
        *object = makeObject<ElementFront>(*element).detach();
    }
    return status;
}

HRESULT ListFront::nextNode(IXMLDOMNode** node) {
    *node = nullptr;
    return guard("IXMLDOMNodeList::nextNode",
                 [&] { return ElementFront::fronted(inner<IXMLDOMNodeList>()->nextNode(node), node); });
}

HRESULT MapFront::get_item(LONG index, IXMLDOMNode** attribute) {
    *attribute = nullptr;
    return guard("IXMLDOMNamedNodeMap::get_item", [&] {
        return ElementFront::fronted(inner<IXMLDOMNamedNodeMap>()->get_item(index, attribute), attribute);
    });
}

class DocumentFactory final : public ComObject<IClassFactory> {
public:
    explicit DocumentFactory(ComPtr<IClassFactory> inner) : inner_(std::move(inner)) {}
    HRESULT CreateInstance(IUnknown* outer, const IID& wanted, void** out) override {
        *out = nullptr;
        void* made = nullptr;
        if (HRESULT status = inner_->CreateInstance(outer, IXMLDOMDocument::iid, &made); status < 0)
            return status;
        const auto document = ComPtr<IXMLDOMDocument>::adopt(static_cast<IXMLDOMDocument*>(made));
        return makeObject<DocumentFront>(*document)->QueryInterface(wanted, out);
    }

private:
    ComPtr<IClassFactory> inner_;
};

} // namespace

void frontDocuments() {
    void* found = nullptr;
    CoInitializeEx(nullptr, 0);
    if (CoGetClassObject(CLSID_DOMDocument, CLSCTX_ALL, nullptr, IClassFactory::iid, &found) >= 0) {
        auto inner = ComPtr<IClassFactory>::adopt(static_cast<IClassFactory*>(found));
        registerClass(CLSID_DOMDocument, *makeObject<DocumentFactory>(std::move(inner)));
    }
    CoUninitialize();
}
