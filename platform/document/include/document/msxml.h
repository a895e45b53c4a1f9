// The document service: a parsed XML document as a tree of nodes.
//
// The caller owns the strings, values and references that a call returns through a parameter (Bstr::out,
// Variant::out, ComPtr::out). A reference to a node keeps the whole document alive.
#pragma once

#include "automation/variant.h"

/// The class of new documents.
constexpr CLSID CLSID_DOMDocument{
    0x2933BF90, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

struct IXMLDOMNode;
struct IXMLDOMElement;

/// A list of nodes, with the position of nextNode.
struct IXMLDOMNodeList : IDispatch {
    static constexpr IID iid{0x2933BF82, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

    virtual HRESULT get_length(LONG* length) = 0;
    /// The next node in document order; S_FALSE with null after the last one.
    virtual HRESULT nextNode(IXMLDOMNode** node) = 0;

protected:
    ~IXMLDOMNodeList() = default;
};

/// The attributes of an element, in document order.
struct IXMLDOMNamedNodeMap : IDispatch {
    static constexpr IID iid{0x2933BF83, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

    virtual HRESULT get_length(LONG* length) = 0;
    /// The attribute at an index from 0; S_FALSE with null for one out of range.
    virtual HRESULT get_item(LONG index, IXMLDOMNode** attribute) = 0;

protected:
    ~IXMLDOMNamedNodeMap() = default;
};

/// A node of any kind.
struct IXMLDOMNode : IDispatch {
    static constexpr IID iid{0x2933BF80, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

    /// The tag of an element, the name of an attribute, the target of a processing instruction; "#text",
    /// "#cdata-section", "#comment", "#document" for the others.
    virtual HRESULT get_nodeName(BSTR* name) = 0;
    /// A VT_BSTR: the value of an attribute, or the content of a text, CDATA section, comment or processing
    /// instruction. S_FALSE with VT_NULL for elements and documents.
    virtual HRESULT get_nodeValue(VARIANT* value) = 0;
    /// The text of a node and of all below it, references resolved, CDATA sections included; comments and
    /// processing instructions below it are left out. Never null.
    virtual HRESULT get_text(BSTR* text) = 0;
    /// The first child node of any kind; S_FALSE with null if there is none.
    virtual HRESULT get_firstChild(IXMLDOMNode** child) = 0;
    /// VARIANT_TRUE with S_OK, or VARIANT_FALSE with S_FALSE.
    virtual HRESULT hasChildNodes(VARIANT_BOOL* hasChild) = 0;
    /// The child nodes of every kind.
    virtual HRESULT get_childNodes(IXMLDOMNodeList** children) = 0;
    /// An element's attributes; S_FALSE with null for any other node.
    virtual HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) = 0;
    /// The child elements with a tag. The query is that tag alone; E_INVALIDARG for any other query.
    virtual HRESULT selectNodes(BSTR query, IXMLDOMNodeList** nodes) = 0;
    /// The first child element whose attribute `name` is a text. The query is ./*[@name="text"]; E_INVALIDARG
    /// for any other query. S_FALSE with null if there is no such element.
    virtual HRESULT selectSingleNode(BSTR query, IXMLDOMNode** node) = 0;

protected:
    ~IXMLDOMNode() = default;
};

/// A node that is an element.
struct IXMLDOMElement : IXMLDOMNode {
    static constexpr IID iid{0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

    /// The value of an attribute, a VT_BSTR; S_FALSE with VT_NULL if the element lacks the attribute.
    virtual HRESULT getAttribute(BSTR name, VARIANT* value) = 0;

protected:
    ~IXMLDOMElement() = default;
};

/// A document, which is a node itself.
struct IXMLDOMDocument : IXMLDOMNode {
    static constexpr IID iid{0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

    /// Documents load synchronously: E_NOTIMPL for VARIANT_TRUE.
    virtual HRESULT put_async(VARIANT_BOOL async) = 0;
    /// Parses a document, instead of what was loaded before. Accepts exactly the well-formed XML 1.0
    /// documents without a document type declaration: S_OK with VARIANT_TRUE. For any other text S_FALSE with
    /// VARIANT_FALSE, and the document is empty. White space between elements makes no nodes. White space
    /// that is the whole content of an element isn't a child, but is the element's text.
    virtual HRESULT loadXML(BSTR text, VARIANT_BOOL* success) = 0;
    /// The root element; S_FALSE with null for an empty document.
    virtual HRESULT get_documentElement(IXMLDOMElement** element) = 0;

protected:
    ~IXMLDOMDocument() = default;
};
