// What a document holds, as its callers see it through the interfaces.

#include "platform/com/runtime.h"
#include "platform/xml/domDocument.h"
#include "platform/xml/msxml.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::string_view_literals;

namespace {

using Text = std::u16string;
using View = std::u16string_view;

ComPtr<IXMLDOMDocument> newDocument() {
    registerDomDocument();
    CoInitializeEx(nullptr, 0);
    ComPtr<IXMLDOMDocument> document;
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

Text nameOf(IXMLDOMNode& node) {
    Bstr name;
    EXPECT_EQ(node.get_nodeName(name.out()), S_OK);
    return Text(view(name));
}

Text textOf(IXMLDOMNode& node) {
    Bstr text;
    EXPECT_EQ(node.get_text(text.out()), S_OK);
    EXPECT_NE(text.get(), nullptr);
    return Text(view(text));
}

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
    for (const LONG outside : {-1, length, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(map->get_item(outside, attribute.out()), S_FALSE);
        EXPECT_FALSE(attribute);
    }
    for (LONG i = 0; i < length; ++i) {
        EXPECT_EQ(map->get_item(i, attribute.out()), S_OK);
        nodes.push_back(attribute);
    }
    return nodes;
}

/// A node and what is below it: tag(attribute=value)[children], 'text', and the like. An element without
/// children shows its text.
Text shown(IXMLDOMNode& node) {
    const Text name = nameOf(node);
    const auto marked = [&node](View mark) {
        return Text(mark).append(u"'").append(valueOf(node)).append(u"'");
    };
    if (name == u"#text") return marked(u"");
    if (name == u"#cdata-section") return marked(u"!");
    if (name == u"#comment") return marked(u"#");
    ComPtr<IXMLDOMElement> element;
    if (query(node, element) != S_OK) return marked(Text(u"?").append(name));
    Text all = name;
    for (const auto& attribute : attributesOf(node))
        all.append(u"(").append(nameOf(*attribute)).append(u"=").append(valueOf(*attribute)).append(u")");
    const auto children = childrenOf(node);
    if (children.empty()) return all + (textOf(node).empty() ? u"" : u"~'" + textOf(node) + u"'");
    all += u"[";
    for (const auto& child : children) all += shown(*child);
    return all + u"]";
}

TEST(Xml, readsWellFormedDocuments) {
    const struct {
        View text;
        View tree;
    } cases[] = {
        {u"<a/>", u"a"},
        {u"<a\t\n></a \r>", u"a"},
        {u"<?xml-p?> \n<!--x--><?p?><a/>\r\n<!--y--> <?q r?>\t", u"a"},
        {u"<?xml version=\"1.0\" ?>\n<a/>", u"a"},
        {u"<?xml\tversion = '1.17'\nencoding=\"x-Any.name_1\" standalone='no'?><a/>", u"a"},
        {u"<?xml version='1.0' standalone='yes'?><a/>", u"a"},
        {u"<:a-._9\u00B7\u00E9 \u0370='1'/>", u":a-._9\u00B7\u00E9(\u0370=1)"},
        {u"<\U00010000\U000EFFFF x:y='\U0010FFFF'>\uFFFD</\U00010000\U000EFFFF>",
         u"\U00010000\U000EFFFF(x:y=\U0010FFFF)['\uFFFD']"},
        {u"<a b='1' c=\"2\"\nd = '3'/>", u"a(b=1)(c=2)(d=3)"},
        {u"<a b='\"]]>' c=\"'\"/>", u"a(b=\"]]>)(c=')"},
        {u"<a xml:b='' xmlns=''/>", u"a(xml:b=)(xmlns=)"},
        {u"<a>x<b>y</b>z</a>", u"a['x'b['y']'z']"},
        {u"<a><b/><b><c/></b></a>", u"a[bb[c]]"},
        {u"<a>&lt;&gt;&amp;&quot;&apos;</a>", u"a['<>&\"'']"},
        {u"<a>&#65;&#x42;&#x1F600;&#00000000000000067;&#xfFfD;</a>", u"a['AB\U0001F600C\uFFFD']"},
        {u"<a b='&lt;&#38;#38;'>&amp;lt;</a>", u"a(b=<&#38;)['&lt;']"},
        {u"<a>]] > ]]&gt; > -- ' \"</a>", u"a[']] > ]]> > -- ' \"']"},
        {u"<a><![CDATA[<&]]]]><![CDATA[>]]><![CDATA[]]></a>", u"a[!'<&]]'!'>'!'']"},
        {u"<a><!-- <&]]>- - ?> --><!----></a>", u"a[#' <&]]>- - ?> '#'']"},
        {u"<a><?p?><?xmlq  <&]]>? > -- ?><?p:q \u20AC?></a>", u"a[?p''?xmlq'<&]]>? > -- '?p:q'\u20AC']"},
        {u"<a>\u007F\u0080\u0085\u07FF\u0800\U000EFFFF</a>",
         u"a['\u007F\u0080\u0085\u07FF\u0800\U000EFFFF']"},
        // Line ends, and what becomes of them in attribute values.
        {u"<a>1\r\n2\r3\n\r4\r\r\n5&#13;</a>", u"a['1\n2\n3\n\n4\n\n5\r']"},
        {u"<a><!--\r\n\r--><?p \r\n1\r?><![CDATA[\r\r\n]]></a>", u"a[#'\n\n'?p'1\n'!'\n\n']"},
        {u"<a b=' 1\r\n2\r3\n4\t5&#9;&#10;&#13;&#32; '/>", u"a(b= 1 2 3 4 5\t\n\r  )"},
        // White space: none between tags, but all of it in a run that holds more, or where it is all there
        // is.
        {u"<a> <b/>\r\n<b> </b>\t<b></b> </a>", u"a[bb~' 'b]"},
        {u"<a> <b> <c/> </b> x <c/> <b>y</b> <c/></a>", u"a[b[c]' x 'cb['y']c]"},
        {u"<a> \r\n&#32;&#13;</a>", u"a~' \n \r'"},
        {u"<a>&#32;<b/>&#x9;</a>", u"a[b]"},
        {u"<a> <!--x--> <b/> <?p?> <!--y--> </a>", u"a[#'x'b?p''#'y']"},
        {u"<a> <!--x--> y<b/> <?p?> </a>", u"a[' '#'x'' y'b?p'']"},
        {u"<a>y <!--x--> <b/> <?p?> z</a>", u"a['y '#'x'' 'b' '?p''' z']"},
        {u"<a> <![CDATA[ ]]> <b/> <![CDATA[x]]> </a>", u"a[!' 'b' '!'x'' ']"},
        {u"<a> <!--x--> <![CDATA[ ]]> </a>", u"a[#'x'!' ']"},
    };
    for (const auto& row : cases) {
        const ComPtr<IXMLDOMElement> root = rootOf(row.text);
        EXPECT_TRUE(root && shown(*root) == row.tree)
            << testing::PrintToString(row.text)
            << (root ? testing::PrintToString(shown(*root)) : " is refused");
    }
}

TEST(Xml, refusesEverythingElse) {
    constexpr View cases[] = {
        u"", u" ", u"a", u"<>", u"</a>", u"<a/ >", u"< a/>", u"<a></ a>", u"<a></b>", u"<a></aa>",
        u"<aa></a>", u"<a></a b=''>", u"<a></A>", u"<a><b></a></b>", u"<a/><a/>", u"<a/>x", u"x<a/>",
        u"<a/>&#32;", u"<a/><![CDATA[]]>", u"<a/></a>", u"<a/>\0"sv, u"<a>\0</a>"sv, u"\uFEFF<a/>",
        // Names
        u"<\xD800/>", u"<a\xDC00\xD800/>", u"<\U000F0000/>", u"<?1?><a/>",
        // Attributes
        u"<a b/>", u"<a b=/>", u"<a b=c/>", u"<a b=\"'/>", u"<a b='1'c='2'/>", u"<a ='1'/>", u"<a b='<'/>",
        u"<a b='&'/>", u"<a b='1' b='2'/>", u"<r b='' c=''><a c='1' b='2' c='3'/></r>", u"<a b='\x01'/>",
        u"<a b='\xFFFF'/>", u"<a/ b='1'>", u"<a 'b'='1'/>",
        // References
        u"<a>&</a>", u"<a>&;</a>", u"<a>& lt;</a>", u"<a>&lt</a>", u"<a>&LT;</a>", u"<a>&nbsp;</a>",
        u"<a>&ltx;</a>", u"<a>&#;</a>", u"<a>&#x;</a>", u"<a>&#X41;</a>", u"<a>&#4a;</a>", u"<a>&#x4g;</a>",
        u"<a>&# 65;</a>", u"<a>&#65</a>", u"<a>&#0;</a>", u"<a>&#8;</a>", u"<a>&#xD800;</a>",
        u"<a>&#xDFFF;</a>", u"<a>&#xFFFE;</a>", u"<a>&#xFFFF;</a>", u"<a>&#1114112;</a>",
        u"<a>&#4294967361;</a>", u"<a>&#x10000000000000041;</a>", u"<a>&#-1;</a>",
        // Text and sections
        u"<a>]]></a>", u"<a>]]]></a>", u"<a>\xD800xx</a>", u"<a>\xDC00x</a>", u"<a>\xD800\xD800\xDC00</a>",
        u"<a>\xFFFE</a>", u"<a>\x1F</a>", u"<a><![CDATA[x]]</a>", u"<a><![cdata[x]]></a>",
        u"<a><![CDATA[\x08]]></a>", u"<a><!DOCTYPE a></a>", u"<![CDATA[x]]><a/>",
        // Comments and instructions
        u"<!--a--b--><a/>", u"<!--a---><a/>", u"<!-a--><a/>", u"<a><!--</a>", u"<a><!--\xDFFF--></a>",
        u"<a><!-></a>", u"<a><? p?></a>", u"<a><?p</a>", u"<a><?p>?</a>", u"<a><?p*?></a>", u"<a><?xml?></a>",
        u"<a><?XmL x?></a>",
        // Declarations
        u" <?xml version='1.0'?><a/>", u"<?xml version='1.0'?><?xml version='1.0'?><a/>", u"<?xml?><a/>",
        u"<?xml version='1.0'><a/>", u"<?xml version='1.0'? ><a/>", u"<?xml version='2.0'?><a/>",
        u"<?xml version='1.'?><a/>", u"<?xml version='1.0a'?><a/>", u"<?xml version=1.0?><a/>",
        u"<?xml version='1.0\"?><a/>", u"<?xmlversion='1.0'?><a/>", u"<?xml version='1.0'encoding='a'?><a/>",
        u"<?xml encoding='a'?><a/>", u"<?xml version='1.0' encoding=''?><a/>",
        u"<?xml version='1.0' encoding='1'?><a/>", u"<?xml version='1.0' encoding='a b'?><a/>",
        u"<?xml version='1.0' standalone='YES'?><a/>",
        u"<?xml version='1.0' standalone='yes' encoding='a'?><a/>", u"<?xml version='1.0' x='y'?><a/>",
        u"<?XML version='1.0'?><a/>", u"<?xml version='1.0'?>", u"<!DOCTYPE a><a/>", u"<!DOCTYPE a []><a/>",
        u"<?xml version='1.0'?><!DOCTYPE a SYSTEM 'b'><a/>"};
    for (const View text : cases) EXPECT_FALSE(rootOf(text)) << testing::PrintToString(text);
}

TEST(Xml, refusesADocumentThatIsCutOffAnywhere) {
    constexpr View whole = u"<?xml version='1.0' encoding='x' ?><!--c--><?p q?>"
                           u"<a b='&lt;&#65;' c=\"\U00010000\"> t&#x41;<![CDATA[]]] ]]><b/>\r\n]]x</a >";
    EXPECT_TRUE(isWellFormed(whole));
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(isWellFormed(whole.substr(0, length)));
}

// Counted out of the productions of XML 1.0, fifth edition: Char without "<" and "&", NameStartChar, and
// NameChar with the four characters of white space, all of them below 0x10000.
TEST(Xml, knowsEveryCharacter) {
    int texts = 0;
    int starts = 0;
    int nameUnits = 0;
    for (char32_t unit = 0; unit < 0x10000; ++unit) {
        const Text one(1, static_cast<char16_t>(unit));
        texts += isWellFormed(u"<a>" + one + u"</a>");
        starts += isWellFormed(u"<" + one + u"/>");
        nameUnits += isWellFormed(u"<a" + one + u"/>");
    }
    EXPECT_EQ(texts, 63455);
    EXPECT_EQ(starts, 54002);
    EXPECT_EQ(nameUnits, 54129 + 4);
}

TEST(Xml, gathersTheTextOfAnElement) {
    const ComPtr<IXMLDOMElement> root =
        rootOf(u"<a b='x'> <b> 1</b> 2<c> </c><!--no--><?no "
               u"no?><![CDATA[3]]>\u00E9\u20AC<d> <b></b> </d>\U0001F600</a>");
    EXPECT_EQ(textOf(*root), u" 1 2 3\u00E9\u20AC\U0001F600");
    EXPECT_EQ(textOf(*rootOf(u"<a> <!--no--> <![CDATA[ ]]></a>")), u"   ");
}

TEST(Xml, offersEachKindOfNodeAsWhatItIs) {
    const struct {
        View text;
        Text name;
        Text value;
        HRESULT asElement;
    } cases[] = {
        {u"<a><b/></a>", u"b", u"<null>", S_OK},
        {u"<a>&lt;</a>", u"#text", u"<", E_NOINTERFACE},
        {u"<a><![CDATA[x]]></a>", u"#cdata-section", u"x", E_NOINTERFACE},
        {u"<a><!--x--></a>", u"#comment", u"x", E_NOINTERFACE},
        {u"<a><?t x?></a>", u"t", u"x", E_NOINTERFACE},
    };
    const auto check = [](IXMLDOMNode& node, const Text& name, const Text& value, HRESULT asElement) {
        EXPECT_EQ(nameOf(node), name);
        EXPECT_EQ(valueOf(node), value);
        EXPECT_EQ(textOf(node), value == u"<null>" ? u"" : value);
        ComPtr<IXMLDOMElement> element;
        ComPtr<IXMLDOMNode> same;
        ComPtr<IDispatch> dispatch;
        ComPtr<IXMLDOMNodeList> list;
        EXPECT_EQ(query(node, element), asElement);
        EXPECT_EQ(query(node, same), S_OK);
        EXPECT_EQ(query(node, dispatch), S_OK);
        EXPECT_EQ(query(node, list), E_NOINTERFACE);
        const OLECHAR* const noName = u"x";
        DISPID id = 0;
        EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, &noName, 1, LOCALE_SYSTEM_DEFAULT, &id),
                  DISP_E_UNKNOWNNAME);

        VARIANT_BOOL hasChildren = VARIANT_TRUE;
        EXPECT_EQ(node.hasChildNodes(&hasChildren), S_FALSE);
        EXPECT_EQ(hasChildren, VARIANT_FALSE);
        EXPECT_EQ(node.get_firstChild(same.out()), S_FALSE);
        EXPECT_FALSE(same);
        EXPECT_TRUE(childrenOf(node).empty());
        ComPtr<IXMLDOMNamedNodeMap> attributes;
        EXPECT_EQ(node.get_attributes(attributes.out()), asElement == S_OK ? S_OK : S_FALSE);
        EXPECT_EQ(static_cast<bool>(attributes), asElement == S_OK);
    };
    for (const auto& row : cases) {
        const ComPtr<IXMLDOMElement> root = rootOf(row.text);
        ComPtr<IXMLDOMNode> child;
        ASSERT_EQ(root->get_firstChild(child.out()), S_OK);
        check(*child, row.name, row.value, row.asElement);
        VARIANT_BOOL hasChildren = VARIANT_FALSE;
        EXPECT_EQ(root->hasChildNodes(&hasChildren), S_OK);
        EXPECT_EQ(hasChildren, VARIANT_TRUE);
    }
    check(*attributesOf(*rootOf(u"<a b='x'>t</a>"))[0], u"b", u"x", E_NOINTERFACE);
}

TEST(Xml, givesAttributesByName) {
    const ComPtr<IXMLDOMElement> root = rootOf(u"<a b='\u00E9' \u20AC='' ><c d='1'/></a>");
    const struct {
        View name;
        HRESULT status;
        View value;
    } cases[] = {{u"b", S_OK, u"\u00E9"}, {u"\u20AC", S_OK, u""}, {u"B", S_FALSE, u""},
                 {u"d", S_FALSE, u""},    {u"a", S_FALSE, u""},   {u"", S_FALSE, u""}};
    for (const auto& row : cases) {
        Variant value;
        EXPECT_EQ(root->getAttribute(Bstr(row.name), value.out()), row.status);
        EXPECT_EQ(value.type(), row.status == S_OK ? VT_BSTR : VT_NULL);
        EXPECT_EQ(value.type() == VT_BSTR ? view(value->bstrVal) : u"", row.value);
    }
}

TEST(Xml, selectsChildrenByTag) {
    const ComPtr<IXMLDOMElement> root =
        rootOf(u"<a>x<b n='1'><b n='2'/></b><!--b--><bb/><\u00E9/><B/><b n='3'/><?b?></a>");
    const auto found = [&root](View tag) {
        ComPtr<IXMLDOMNodeList> list;
        EXPECT_EQ(root->selectNodes(Bstr(tag), list.out()), S_OK);
        Text all;
        for (const auto& node : nodesOf(*list)) all += shown(*node);
        return all;
    };
    EXPECT_EQ(found(u"b"), u"b(n=1)[b(n=2)]b(n=3)");
    EXPECT_EQ(found(u"\u00E9"), u"\u00E9");
    EXPECT_EQ(found(u"a"), u"");
    EXPECT_EQ(found(u"missing"), u"");

    for (const View query :
         {u""sv, u"*"sv, u"b "sv, u" b"sv, u"b/b"sv, u"@n"sv, u"."sv, u"1b"sv, u"b\0"sv, u"b[1]"sv}) {
        ComPtr<IXMLDOMNodeList> list;
        EXPECT_EQ(root->selectNodes(Bstr(query), list.out()), E_INVALIDARG) << testing::PrintToString(query);
        EXPECT_FALSE(list);
    }
}

TEST(Xml, selectsTheFirstChildByItsName) {
    const ComPtr<IXMLDOMElement> root = rootOf(
        u"<a name='top'>IPDeny<b Name='IPDeny'/><b x='IPDeny'><c name='IPDeny'/></b><c y='' name='IPDeny'/>"
        u"<d name='IPDeny'/><e name=''/><f name=\"'\u00E9\U0001F600]\"/></a>");
    const auto found = [](IXMLDOMElement& parent, View query) {
        ComPtr<IXMLDOMNode> node;
        const HRESULT status = parent.selectSingleNode(Bstr(query), node.out());
        EXPECT_EQ(static_cast<bool>(node), status == S_OK);
        return node                     ? nameOf(*node)
               : status == S_FALSE      ? u"none"
               : status == E_INVALIDARG ? u"invalid"
                                        : u"failure";
    };
    EXPECT_EQ(found(*root, u"./*[@name=\"IPDeny\"]"), u"c");
    EXPECT_EQ(found(*root, u"./*[@name=\"\"]"), u"e");
    EXPECT_EQ(found(*root, u"./*[@name=\"'\u00E9\U0001F600]\"]"), u"f");
    for (const View text : {u"'\u00E9\xD83D]"sv, u"IPDen"sv, u"IPDeny\0"sv, u"top"sv}) {
        EXPECT_EQ(found(*root, u"./*[@name=\"" + Text(text) + u"\"]"), u"none")
            << testing::PrintToString(text);
    }
    EXPECT_EQ(found(*rootOf(u"<a><b c='d'/></a>"), u"./*[@name=\"d\"]"), u"none");
    for (const View query : {u"", u"*[@name=\"IPDeny\"]", u"./*[@name='IPDeny']", u"./*[@Name=\"IPDeny\"]",
                             u"./*[@name=\"IP\"Deny\"]", u"./*[@name=\"]", u"./*[@name=\"IPDeny",
                             u"./*[@name=\"IPDeny\"] ", u"c"}) {
        EXPECT_EQ(found(*root, query), u"invalid") << testing::PrintToString(query);
    }
}

TEST(Xml, isANodeAsADocument) {
    const ComPtr<IXMLDOMDocument> document = newDocument();
    EXPECT_EQ(document->put_async(VARIANT_FALSE), S_OK);
    EXPECT_EQ(document->put_async(VARIANT_TRUE), E_NOTIMPL);
    ComPtr<IXMLDOMNode> node;
    ComPtr<IXMLDOMElement> root;
    ASSERT_EQ(query(*document, node), S_OK);
    EXPECT_EQ(query(*document, root), E_NOINTERFACE);
    const auto expectEmpty = [&] {
        EXPECT_EQ(document->get_documentElement(root.out()), S_FALSE);
        EXPECT_FALSE(root);
        EXPECT_EQ(nameOf(*node), u"#document");
        EXPECT_EQ(valueOf(*node), u"<null>");
        EXPECT_EQ(textOf(*node), u"");
        EXPECT_TRUE(childrenOf(*node).empty());
        EXPECT_TRUE(attributesOf(*node).empty());
    };
    expectEmpty();
    EXPECT_TRUE(load(*document, u"<?xml version='1.0'?> <!--c--> <a>x<b>y</b></a> <?p?> "));
    EXPECT_EQ(textOf(*node), u"xy");
    Text names;
    for (const auto& child : childrenOf(*node)) names += nameOf(*child) + u" ";
    EXPECT_EQ(names, u"#comment a p ");
    VARIANT_BOOL success = VARIANT_TRUE;
    EXPECT_EQ(document->loadXML(nullptr, &success), S_FALSE);
    EXPECT_EQ(success, VARIANT_FALSE);
    expectEmpty();
}

TEST(Xml, keepsADocumentAliveForWhoeverHoldsAPartOfIt) {
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
