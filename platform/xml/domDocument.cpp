#include "domDocument.h"

#include "com/runtime.h"
#include "domNode.h"
#include "parser.h"

namespace xml {
namespace {

/// A document, which is also the topmost node of its tree. A tree that was loaded before lives as long as the
/// references to its nodes.
class DomDocument final : public NodeObject<IXMLDOMDocument> {
public:
    DomDocument() : NodeObject(makeObject<SharedTree>(emptyTree()), 0) {}

    HRESULT put_async(VARIANT_BOOL async) override { return async == VARIANT_FALSE ? S_OK : E_NOTIMPL; }

    HRESULT loadXML(BSTR text, VARIANT_BOOL* success) override {
        *success = VARIANT_FALSE;
        shared_ = makeObject<SharedTree>(emptyTree());
        std::optional<DocumentTree> parsed = parseXml(text == nullptr ? u"" : view(text));
        if (!parsed) return S_FALSE;
        shared_ = makeObject<SharedTree>(*std::move(parsed));
        *success = VARIANT_TRUE;
        return S_OK;
    }

    HRESULT get_documentElement(IXMLDOMElement** element) override {
        *element = nullptr;
        const NodeIndex end = tree().subtreeEnd(node_);
        NodeIndex child = tree().firstChild(node_);
        while (child < end && tree().nodes[child].kind != NodeKind::element)
            child = tree().nextChild(child, end);
        if (child == end) return S_FALSE;
        *element = makeObject<DomNode>(shared_, child).detach();
        return S_OK;
    }
};

} // namespace

void registerDocumentClass() { registerClass(CLSID_DOMDocument, *makeObject<ClassFactory<DomDocument>>()); }

} // namespace xml
