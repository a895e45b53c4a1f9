// The document service: a parsed XML document as a tree of nodes.
//
// Strings and values that a call hands out belong to the caller (Bstr::out, Variant::out), references too
// (ComPtr::out). A node lives as long as its document, which every reference to one of its nodes keeps alive.
#pragma once

#include "automation/variant.h"

/// The class of new documents.
constexpr CLSID CLSID_DOMDocument{
    0x2933BF90, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

struct IXMLDOMNode;
struct IXMLDOMElement;

/// A list of nodes, with a place in it from which nextNode goes on.
struct IXMLDOMNodeList : IDispatch {
    static constexpr IID iid{0x2933BF82, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

    virtual HRESULT get_length(LONG* length) = 0;
    /// The next node in document order; S_FALSE with null behind the last one.
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

struct IXMLDOMNode : IDispatch {
    static constexpr IID iid{0x2933BF80, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

    /// The tag of an element, the name of an attribute, the target of a processing instruction; "#text",
    /// "#cdata-section", "#comment", "#document" for the others.
    virtual HRESULT get_nodeName(BSTR* name) = 0;
    /// A VT_BSTR: an attribute's value, or what a text, CDATA section, comment or processing instruction
    /// holds. S_FALSE with VT_NULL for elements and documents.
    virtual HRESULT get_nodeValue(VARIANT* value) = 0;
    /// The text of a node and of all below it, references resolved, CDATA sections included; comments and
    /// processing instructions below it are left out. Never null.
    virtual HRESULT get_text(BSTR* text) = 0;
    /// S_FALSE with null if there is none.
    virtual HRESULT get_firstChild(IXMLDOMNode** child) = 0;
    /// VARIANT_TRUE with S_OK, or VARIANT_FALSE with S_FALSE.
    virtual HRESULT hasChildNodes(VARIANT_BOOL* answer) = 0;
    /// The child nodes of every kind.
    virtual HRESULT get_childNodes(IXMLDOMNodeList** children) = 0;
    /// S_FALSE with null for anything but an element.
    virtual HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) = 0;
    /// The child elements with a tag, the query being nothing but that tag; E_INVALIDARG for any other query.
    virtual HRESULT selectNodes(BSTR query, IXMLDOMNodeList** nodes) = 0;
    /// The first child element with an attribute `name` of the given text, the query being ./*[@name="text"];
    /// S_FALSE with null if there is none, E_INVALIDARG for any other query.
    virtual HRESULT selectSingleNode(BSTR query, IXMLDOMNode** node) = 0;

protected:
    ~IXMLDOMNode() = default;
};

/// Offered by elements only.
struct IXMLDOMElement : IXMLDOMNode {
    static constexpr IID iid{0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

    /// A VT_BSTR; S_FALSE with VT_NULL if the element has no such attribute.
    virtual HRESULT getAttribute(BSTR name, VARIANT* value) = 0;

protected:
    ~IXMLDOMElement() = default;
};

struct IXMLDOMDocument : IXMLDOMNode {
    static constexpr IID iid{0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

    /// Documents load synchronously: VARIANT_TRUE gives E_NOTIMPL.
    virtual HRESULT put_async(VARIANT_BOOL async) = 0;
    /// Parses a document, in place of what was loaded before. Accepts exactly the well-formed XML 1.0
    /// documents without a document type declaration: S_OK with VARIANT_TRUE. For any other text S_FALSE with
    /// VARIANT_FALSE, and the document is empty. White space between elements makes no nodes; where it is all
    /// the text of an element without child elements, it is no child either, but its text.
    virtual HRESULT loadXML(BSTR text, VARIANT_BOOL* success) = 0;
    /// S_FALSE with null for an empty document.
    virtual HRESULT get_documentElement(IXMLDOMElement** element) = 0;

protected:
    ~IXMLDOMDocument() = default;
};
