// The loading of a backup file as a document, and access to its nodes.
#pragma once

#include "document/msxml.h"
#include "skeinKeep.h"

// The tags and attributes that are looked up in a backup file.
inline constexpr StaticBstr childrenTag(u"children");
inline constexpr StaticBstr propsTag(u"props");
inline constexpr StaticBstr classAttribute(u"class");
inline constexpr StaticBstr extensionAttribute(u"extension");
inline constexpr StaticBstr inheritedAttribute(u"inherited");
inline constexpr StaticBstr nameAttribute(u"name");
inline constexpr StaticBstr pathAttribute(u"path");
inline constexpr StaticBstr typeAttribute(u"type");
inline constexpr StaticBstr versionAttribute(u"version");

/// Loads a file into a new document. Returns 0, or a negative status with `document` null: E_UNEXPECTED if
/// the file can't be read or has 2 GB or more, E_FAIL if it doesn't parse. The document ends at the file's
/// first NUL byte.
Status xmlLoadFile(const char* fileName, ComPtr<IXMLDOMDocument>& document);

/// Reads an attribute as a string. Returns 0 with its value; for a missing attribute 0 with a copy of
/// `defaultText`, or 1 with null if that is null; or a negative status. A failure of getAttribute itself
/// isn't reported.
Status xmlGetAttr(IXMLDOMElement& element, BSTR name, Bstr& value, const OLECHAR* defaultText = nullptr);

/// The same for a node, which must be an element.
Status xmlGetAttrOfNode(IXMLDOMNode& node, BSTR name, Bstr& value, const OLECHAR* defaultText = nullptr);

/// Gets the child nodes of every kind. Returns the status of the call, or E_UNEXPECTED if it has no result.
/// Reports nothing.
Status xmlGetChildNodes(IXMLDOMNode& node, ComPtr<IXMLDOMNodeList>& children);

/// Gets the number of nodes in a list. Returns the status of the call, or E_UNEXPECTED for a negative number.
/// Reports nothing.
Status xmlGetLength(IXMLDOMNodeList& nodes, std::size_t& length);

/// Gets the next node of a list that has more. Returns the status of the call, or E_UNEXPECTED if it has no
/// result. Reports nothing.
Status xmlNextNode(IXMLDOMNodeList& nodes, ComPtr<IXMLDOMNode>& node);

/// Gets the number of child nodes of every kind. Returns 0 or a negative status.
Status xmlChildCount(IXMLDOMNode& node, LONG& count);

/// Gets the first child element with a tag, or null. If there isn't exactly one, prints a message to
/// `errStream`, which isn't a failure. Returns 0 or a negative status.
Status xmlGetOnlyChild(IXMLDOMNode& node, BSTR tag, ComPtr<IXMLDOMNode>& child);

/// Formats the start tag of an element for a message, with as many of its attributes as fit into 8192 bytes.
/// Returns 0, or a negative status with `text` null.
Status xmlDumpNode(IXMLDOMNode& node, Bstr& text);

/// Returns the start tag for a message, or a fixed text if xmlDumpNode fails, which is reported.
Bstr xmlTagForMessage(IXMLDOMNode& node);
