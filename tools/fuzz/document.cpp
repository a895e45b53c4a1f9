// A text is refused, and leaves an empty document, or every way through its nodes tells the same.

#include "com/runtime.h"
#include "document/msxml.h"
#include "platform.h"
#include "tools/fuzz/fuzz.h"

#include <algorithm>

namespace {

using Nodes = std::vector<ComPtr<IXMLDOMNode>>;

ComPtr<IXMLDOMDocument> newDocument() {
    static const bool installed = (installPlatform(), true);
    require(installed && CoInitializeEx(nullptr, 0) >= 0);
    void* made = nullptr;
    require(CoCreateInstance(CLSID_DOMDocument, nullptr, CLSCTX_ALL, IXMLDOMDocument::iid, &made) == S_OK);
    CoUninitialize();
    return ComPtr<IXMLDOMDocument>::adopt(static_cast<IXMLDOMDocument*>(made));
}

/// Each byte is a unit, as in a backup file, unless a byte order mark stands ahead of 16-bit units.
std::u16string unitsOf(const std::uint8_t* data, std::size_t size) {
    if (size < 2 || data[0] != 0xFF || data[1] != 0xFE) return {data, data + size};
    std::u16string units;
    for (std::size_t i = 2; i + 1 < size; i += 2)
        units.push_back(static_cast<char16_t>(data[i] | data[i + 1] << 8));
    return units;
}

std::u16string textOf(IXMLDOMNode& node, HRESULT (IXMLDOMNode::*get)(BSTR*) = &IXMLDOMNode::get_text) {
    Bstr text;
    require((node.*get)(text.out()) == S_OK && text);
    return std::u16string(view(text));
}

std::u16string nameOf(IXMLDOMNode& node) { return textOf(node, &IXMLDOMNode::get_nodeName); }

Nodes nodesOf(IXMLDOMNodeList& list) {
    Nodes nodes;
    LONG length = 0;
    require(list.get_length(&length) == S_OK);
    for (ComPtr<IXMLDOMNode> node; list.nextNode(node.out()) == S_OK;) nodes.push_back(node);
    require(std::cmp_equal(length, nodes.size()));
    return nodes;
}

void checkAttributes(IXMLDOMElement& element) {
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    LONG count = 0;
    require(element.get_attributes(attributes.out()) == S_OK && attributes->get_length(&count) == S_OK);
    for (LONG i = 0; i < count; ++i) {
        ComPtr<IXMLDOMNode> attribute;
        Variant listed;
        Variant named;
        require(attributes->get_item(i, attribute.out()) == S_OK);
        require(attribute->get_nodeValue(listed.out()) == S_OK);
        require(element.getAttribute(Bstr(nameOf(*attribute)), named.out()) == S_OK);
        require(equal(named->bstrVal, view(listed->bstrVal)) && textOf(*attribute) == view(listed->bstrVal));
    }
}

/// What the children tell must be what their parent tells of them.
void checkChildren(IXMLDOMNode& node, const Nodes& children) {
    ComPtr<IXMLDOMNode> first;
    require((node.get_firstChild(first.out()) == S_OK) == !children.empty());
    std::u16string text;
    std::vector<std::u16string> tags;
    for (const auto& child : children) {
        ComPtr<IXMLDOMElement> element;
        Variant value;
        const std::u16string name = nameOf(*child);
        if (query(*child, element) == S_OK) tags.push_back(name);
        require((child->get_nodeValue(value.out()) == S_OK) == !element);
        if (element || name == u"#text" || name == u"#cdata-section") text += textOf(*child);
    }
    // Without child elements its blanks may be no nodes.
    if (tags.empty()) return;
    ComPtr<IXMLDOMNodeList> selected;
    require(textOf(node) == text && node.selectNodes(Bstr(tags.back()), selected.out()) == S_OK);
    require(std::cmp_equal(nodesOf(*selected).size(), std::ranges::count(tags, tags.back())));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto document = newDocument();
    VARIANT_BOOL success = VARIANT_FALSE;
    const bool loaded = document->loadXML(Bstr(unitsOf(data, size)), &success) == S_OK;
    require(loaded == (success == VARIANT_TRUE));
    ComPtr<IXMLDOMElement> root;
    require((document->get_documentElement(root.out()) == S_OK) == loaded);
    Nodes left{ComPtr<IXMLDOMNode>(document.get())};
    while (!left.empty()) {
        const ComPtr<IXMLDOMNode> node = std::move(left.back());
        left.pop_back();
        ComPtr<IXMLDOMElement> element;
        if (query(*node, element) == S_OK) checkAttributes(*element);
        ComPtr<IXMLDOMNodeList> list;
        require(node->get_childNodes(list.out()) == S_OK);
        const Nodes children = nodesOf(*list);
        checkChildren(*node, children);
        require(loaded || children.empty());
        left.insert(left.end(), children.begin(), children.end());
    }
    return 0;
}
