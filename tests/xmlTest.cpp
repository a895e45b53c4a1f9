// What a document holds, as its callers see it through the interfaces.

#include "com/runtime.h"
#include "document/msxml.h"
#include "tests/support/tables.h"
#include "text/utf8.h"
#include "xml/domDocument.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace {

using Text = std::u16string;
using View = std::u16string_view;

/// The units of UTF-8, in which a half of a surrogate pair may be alone.
Text wide(const std::string& text) {
    Text units(text.size(), u'\0');
    units.resize(static_cast<std::size_t>(utf8::decode(text, units.data()) - units.data()));
    return units;
}

ComPtr<IXMLDOMDocument> newDocument() {
    xml::registerDocumentClass();
    EXPECT_GE(CoInitializeEx(nullptr, 0), 0);
    void* made = nullptr;
    EXPECT_EQ(CoCreateInstance(CLSID_DOMDocument, nullptr, CLSCTX_ALL, IXMLDOMDocument::iid, &made), S_OK);
    CoUninitialize();
    return ComPtr<IXMLDOMDocument>::adopt(static_cast<IXMLDOMDocument*>(made));
}

bool load(IXMLDOMDocument& document, View text) {
    VARIANT_BOOL success = 1;
    const HRESULT status = document.loadXML(Bstr(text), &success);
    EXPECT_EQ(status, success == VARIANT_TRUE ? S_OK : S_FALSE);
    EXPECT_TRUE(success == VARIANT_TRUE || success == VARIANT_FALSE);
    return success == VARIANT_TRUE;
}

bool isWellFormed(View text) { return load(*newDocument(), text); }

/// The document element; null if the text is refused, and then the document must be empty.
ComPtr<IXMLDOMElement> rootOf(View text) {
    const ComPtr<IXMLDOMDocument> document = newDocument();
    const bool loaded = load(*document, text);
    ComPtr<IXMLDOMElement> root;
    EXPECT_EQ(document->get_documentElement(root.out()), loaded ? S_OK : S_FALSE);
    EXPECT_EQ(static_cast<bool>(root), loaded);
    return root;
}

Text textFrom(IXMLDOMNode& node, HRESULT (IXMLDOMNode::*call)(BSTR*)) {
    Bstr text;
    EXPECT_EQ((node.*call)(text.out()), S_OK);
    EXPECT_NE(text.get(), nullptr);
    return Text(view(text));
}
Text nameOf(IXMLDOMNode& node) { return textFrom(node, &IXMLDOMNode::get_nodeName); }
Text textOf(IXMLDOMNode& node) { return textFrom(node, &IXMLDOMNode::get_text); }

Text valueOf(IXMLDOMNode& node) {
    Variant value;
    const HRESULT status = node.get_nodeValue(value.out());
    EXPECT_EQ(value.type(), status == S_OK ? VT_BSTR : VT_NULL);
    return status == S_OK ? Text(view(value->bstrVal)) : u"<null>";
}

std::vector<ComPtr<IXMLDOMNode>> nodesOf(IXMLDOMNodeList& list) {
    std::vector<ComPtr<IXMLDOMNode>> nodes;
    ComPtr<IXMLDOMNode> node;
    while (list.nextNode(node.out()) == S_OK) nodes.push_back(node);
    EXPECT_FALSE(node);
    LONG length = -1;
    EXPECT_EQ(list.get_length(&length), S_OK);
    EXPECT_EQ(static_cast<std::size_t>(length), nodes.size());
    return nodes;
}

std::vector<ComPtr<IXMLDOMNode>> childrenOf(IXMLDOMNode& node) {
    ComPtr<IXMLDOMNodeList> list;
    EXPECT_EQ(node.get_childNodes(list.out()), S_OK);
    return nodesOf(*list);
}

std::vector<ComPtr<IXMLDOMNode>> attributesOf(IXMLDOMNode& node) {
    std::vector<ComPtr<IXMLDOMNode>> nodes;
    ComPtr<IXMLDOMNamedNodeMap> map;
    if (node.get_attributes(map.out()) == S_FALSE) return nodes;
    LONG length = 0;
    EXPECT_EQ(map->get_length(&length), S_OK);
    ComPtr<IXMLDOMNode> attribute;
    for (LONG i = -1; i <= length; ++i) {
        const bool isInside = i >= 0 && i < length;
        EXPECT_EQ(map->get_item(i, attribute.out()), isInside ? S_OK : S_FALSE);
        EXPECT_EQ(static_cast<bool>(attribute), isInside);
        if (isInside) nodes.push_back(attribute);
    }
    return nodes;
}

/// Expects that the other calls agree with the children and the kind of a node.
void expectConsistent(IXMLDOMNode& node, const std::vector<ComPtr<IXMLDOMNode>>& children) {
    VARIANT_BOOL hasChildren = VARIANT_TRUE;
    EXPECT_EQ(node.hasChildNodes(&hasChildren), children.empty() ? S_FALSE : S_OK);
    EXPECT_EQ(hasChildren, children.empty() ? VARIANT_FALSE : VARIANT_TRUE);
    ComPtr<IXMLDOMNode> first;
    EXPECT_EQ(node.get_firstChild(first.out()), children.empty() ? S_FALSE : S_OK);
    ASSERT_EQ(static_cast<bool>(first), !children.empty());
    EXPECT_EQ(first ? nameOf(*first) : Text(), first ? nameOf(*children[0]) : Text());
    const bool hasValue = valueOf(node) != u"<null>";
    EXPECT_TRUE(!hasValue || textOf(node) == valueOf(node));
    ComPtr<IXMLDOMElement> element;
    ComPtr<IXMLDOMNodeList> list;
    DISPID id = 0;
    EXPECT_EQ(node.GetIDsOfNames(IID_NULL, nullptr, 0, LOCALE_SYSTEM_DEFAULT, &id), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(query(node, element), hasValue || nameOf(node) == u"#document" ? E_NOINTERFACE : S_OK);
    EXPECT_EQ(query(node, list), E_NOINTERFACE);
}

/// A node and what is below it: tag(attribute=value)[children], 'text', and the like. An element without
/// children shows its text.
Text shown(IXMLDOMNode& node) {
    static const std::map<View, View> marks = {
        {u"#text", u""}, {u"#cdata-section", u"!"}, {u"#comment", u"#"}};
    Text all = nameOf(node);
    const auto children = childrenOf(node);
    expectConsistent(node, children);
    if (const Text value = valueOf(node); value != u"<null>") {
        const auto mark = marks.find(all);
        return (mark == marks.end() ? u"?" + all : Text(mark->second)) + u"'" + value + u"'";
    }
    for (const auto& attribute : attributesOf(node)) {
        expectConsistent(*attribute, childrenOf(*attribute));
        all.append(u"(").append(nameOf(*attribute)).append(u"=").append(valueOf(*attribute)).append(u")");
    }
    if (children.empty()) return all + (textOf(node).empty() ? u"" : u"~'" + textOf(node) + u"'");
    all += u"[";
    for (const auto& child : children) all += shown(*child);
    return all + u"]";
}

TEST(Xml, readsWellFormedDocumentsAndRefusesAllElse) {
    for (const TableCase& test : readTable("xml-documents.txt", {{}, {"text"}, {"tree", "refused"}})) {
        SCOPED_TRACE(test);
        const bool isRefused = test.has("refused");
        const ComPtr<IXMLDOMElement> root = rootOf(wide(isRefused ? test["refused"] : test["text"]));
        EXPECT_EQ(root ? shown(*root) : u"refused", wide(isRefused ? "refused" : test["tree"]));
    }
}

// The productions Char, NameStartChar, the rest of NameChar, and S of XML 1.0, fifth edition, below 0x10000:
// the first and the last character of each range.
constexpr View characters = u"\t\n\r\r \uD7FF\uE000\uFFFD";
constexpr View nameStarts =
    u"::AZ__az\u00C0\u00D6\u00D8\u00F6\u00F8\u02FF\u0370\u037D\u037F\u1FFF\u200C\u200D"
    u"\u2070\u218F\u2C00\u2FEF\u3001\uD7FF\uF900\uFDCF\uFDF0\uFFFD";
constexpr View otherNameCharacters = u"-.09\u00B7\u00B7\u0300\u036F\u203F\u2040";
constexpr View whiteSpace = u"\t\n\r\r  ";

bool isIn(char16_t unit, View ranges) {
    bool isFound = false;
    for (std::size_t i = 0; i < ranges.size(); i += 2)
        isFound = isFound || (unit >= ranges[i] && unit <= ranges[i + 1]);
    return isFound;
}

TEST(Xml, knowsEveryCharacter) {
    for (unsigned code = 0; code < 0x10000; ++code) {
        const auto unit = static_cast<char16_t>(code);
        const Text one(1, unit);
        const bool isStart = isIn(unit, nameStarts);
        const bool isInName = isStart || isIn(unit, otherNameCharacters) || isIn(unit, whiteSpace);
        const bool isText = isIn(unit, characters) && unit != u'<' && unit != u'&';
        ASSERT_EQ(isWellFormed(u"<a>" + one + u"</a>"), isText) << "text U+" << std::hex << code;
        ASSERT_EQ(isWellFormed(u"<" + one + u"/>"), isStart) << "start of a name U+" << std::hex << code;
        ASSERT_EQ(isWellFormed(u"<a" + one + u"/>"), isInName) << "in a name U+" << std::hex << code;
    }
}

/// What a query finds, or the kind of its failure.
Text shownQuery(IXMLDOMElement& element, const std::string& how, const Bstr& query) {
    if (how == "text") return textOf(element);
    Variant value;
    ComPtr<IXMLDOMNode> node;
    ComPtr<IXMLDOMNodeList> list;
    const HRESULT status = how == "attribute" ? element.getAttribute(query, value.out())
                           : how == "node"    ? element.selectSingleNode(query, node.out())
                                              : element.selectNodes(query, list.out());
    EXPECT_EQ(value.type() == VT_BSTR || node || list, status == S_OK);
    EXPECT_EQ(value.type() == VT_NULL, how == "attribute" && status != S_OK);
    if (status != S_OK) return status == S_FALSE ? u"none" : status == E_INVALIDARG ? u"invalid" : u"failure";
    if (!list) return node ? nameOf(*node) : Text(view(value->bstrVal));
    Text all;
    for (const auto& found : nodesOf(*list)) all += shown(*found);
    return all;
}

TEST(Xml, returnsTheResultsOfQueries) {
    ComPtr<IXMLDOMElement> root;
    for (const TableCase& test : readTable("xml-queries.txt", {{"how", "result"}, {"text", "query"}})) {
        SCOPED_TRACE(test);
        if (test.has("text")) root = rootOf(wide(test["text"]));
        EXPECT_EQ(shownQuery(*root, test["how"], Bstr(wide(test.get("query", "")))), wide(test["result"]));
    }
}

TEST(Xml, isANodeAsADocument) {
    const ComPtr<IXMLDOMDocument> document = newDocument();
    EXPECT_EQ(document->put_async(VARIANT_FALSE), S_OK);
    EXPECT_EQ(document->put_async(VARIANT_TRUE), E_NOTIMPL);
    void* made = nullptr;
    (void)CoInitializeEx(nullptr, 0);
    EXPECT_EQ(CoCreateInstance(IID_NULL, nullptr, CLSCTX_ALL, IUnknown::iid, &made), REGDB_E_CLASSNOTREG);
    CoUninitialize();
    ComPtr<IXMLDOMNode> node;
    ASSERT_EQ(query(*document, node), S_OK);
    EXPECT_EQ(shown(*node), u"#document");
    EXPECT_TRUE(load(*document, u"<?xml version='1.0'?> <!--c--> <a>x<b>y</b></a> <?p?> "));
    EXPECT_EQ(shown(*node), u"#document[#'c'a['x'b['y']]?p'']");
    EXPECT_EQ(textOf(*node), u"xy");
    VARIANT_BOOL success = VARIANT_TRUE;
    EXPECT_EQ(document->loadXML(nullptr, &success), S_FALSE);
    EXPECT_EQ(success, VARIANT_FALSE);
    EXPECT_EQ(shown(*node), u"#document");
}

TEST(Xml, keepsADocumentAliveForTheOwnerOfAnyPartOfIt) {
    ComPtr<IXMLDOMDocument> document = newDocument();
    ComPtr<IXMLDOMElement> root;
    ComPtr<IXMLDOMNode> child;
    ComPtr<IXMLDOMNodeList> list;
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    ASSERT_TRUE(load(*document, u"<a b='c'><d>one</d><e/></a>"));
    ASSERT_EQ(document->get_documentElement(root.out()), S_OK);
    ASSERT_EQ(root->get_firstChild(child.out()), S_OK);
    ASSERT_EQ(root->get_childNodes(list.out()), S_OK);
    ASSERT_EQ(root->get_attributes(attributes.out()), S_OK);
    root.reset();
    ASSERT_TRUE(load(*document, u"<x>two</x>"));
    ASSERT_EQ(document->get_documentElement(root.out()), S_OK);
    ASSERT_FALSE(load(*document, u"<x>"));
    document.reset();

    EXPECT_EQ(shown(*root), u"x['two']");
    EXPECT_EQ(shown(*child), u"d['one']");
    child.reset();
    EXPECT_EQ(nodesOf(*list).size(), 2u);
    list.reset();
    ASSERT_EQ(attributes->get_item(0, child.out()), S_OK);
    attributes.reset();
    EXPECT_EQ(valueOf(*child), u"c");
}

} // namespace
