// Fronts of the document service; see faults.h.

#include "com/runtime.h"
#include "tests/support/fronts.h"

namespace {

class ListFront final : public Front<IXMLDOMNodeList> {
public:
    using Front::Front;
    HRESULT get_length(LONG* length) override {
        return this->pass(CALL(IXMLDOMNodeList, get_length), length);
    }
    HRESULT nextNode(IXMLDOMNode** node) override;
};

class MapFront final : public Front<IXMLDOMNamedNodeMap> {
public:
    using Front::Front;
    HRESULT get_length(LONG* length) override {
        return this->pass(CALL(IXMLDOMNamedNodeMap, get_length), length);
    }
    HRESULT get_item(LONG index, IXMLDOMNode** attribute) override;
};

/// The calls of a node, for each interface that extends IXMLDOMNode.
template <class Interface> class NodeFront : public Front<Interface> {
public:
    using Front<Interface>::Front;
    HRESULT QueryInterface(const IID& wanted, void** out) override {
        // Interface extends IXMLDOMNode.
        return Front<Interface>::QueryInterface(wanted == IXMLDOMNode::iid ? Interface::iid : wanted, out);
    }
    HRESULT get_nodeName(BSTR* name) override { return this->pass(CALL(IXMLDOMNode, get_nodeName), name); }
    HRESULT get_nodeValue(VARIANT* value) override {
        return this->pass(CALL(IXMLDOMNode, get_nodeValue), value);
    }
    HRESULT get_text(BSTR* text) override { return this->pass(CALL(IXMLDOMNode, get_text), text); }
    HRESULT get_firstChild(IXMLDOMNode** child) override {
        return intercept("IXMLDOMNode::get_firstChild",
                         [&] { return fronted(node()->get_firstChild(child), child); });
    }
    HRESULT hasChildNodes(VARIANT_BOOL* answer) override {
        return this->pass(CALL(IXMLDOMNode, hasChildNodes), answer);
    }
    HRESULT get_childNodes(IXMLDOMNodeList** children) override {
        return this->template passFronted<ListFront>(CALL(IXMLDOMNode, get_childNodes), children);
    }
    HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) override {
        return this->template passFronted<MapFront>(CALL(IXMLDOMNode, get_attributes), attributes);
    }
    HRESULT selectNodes(BSTR query, IXMLDOMNodeList** nodes) override {
        return this->template passFronted<ListFront>(CALL(IXMLDOMNode, selectNodes), nodes, query);
    }
    HRESULT selectSingleNode(BSTR query, IXMLDOMNode** found) override {
        return intercept("IXMLDOMNode::selectSingleNode",
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
    HRESULT getAttribute(BSTR name, VARIANT* value) override {
        return this->pass(CALL(IXMLDOMElement, getAttribute), name, value);
    }
};

class DocumentFront final : public NodeFront<IXMLDOMDocument> {
public:
    using NodeFront::NodeFront;
    HRESULT put_async(VARIANT_BOOL async) override {
        return this->pass(CALL(IXMLDOMDocument, put_async), async);
    }
    HRESULT loadXML(BSTR text, VARIANT_BOOL* success) override {
        return this->pass(CALL(IXMLDOMDocument, loadXML), text, success);
    }
    HRESULT get_documentElement(IXMLDOMElement** element) override {
        return this->template passFronted<ElementFront>(CALL(IXMLDOMDocument, get_documentElement), element);
    }
};

/// Replaces a node that a call handed out by a front of its kind.
template <class Interface> HRESULT NodeFront<Interface>::fronted(HRESULT status, IXMLDOMNode** object) {
    ComPtr<IXMLDOMElement> element;
    if (*object == nullptr) return status;
    if (query(**object, element) < 0) {
        replaceByFront<PlainNodeFront>(object);
    } else {
        (*object)->Release();
        *object = makeObject<ElementFront>(*element).detach();
    }
    return status;
}

HRESULT ListFront::nextNode(IXMLDOMNode** node) {
    *node = nullptr;
    return intercept("IXMLDOMNodeList::nextNode",
                     [&] { return ElementFront::fronted(inner<IXMLDOMNodeList>()->nextNode(node), node); });
}

HRESULT MapFront::get_item(LONG index, IXMLDOMNode** attribute) {
    *attribute = nullptr;
    return intercept("IXMLDOMNamedNodeMap::get_item", [&] {
        return ElementFront::fronted(inner<IXMLDOMNamedNodeMap>()->get_item(index, attribute), attribute);
    });
}

} // namespace

ComPtr<IClassFactory> frontOfDocuments(ComPtr<IClassFactory> inner) {
    using Factory = FrontFactory<DocumentFront, IXMLDOMDocument>;
    return ComPtr<IClassFactory>(
        makeObject<Factory>(std::move(inner), "IClassFactory::CreateInstance").get());
}
