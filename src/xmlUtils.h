// The backup file as a document, and the operations on its nodes that recur.
#pragma once

#include "document/msxml.h"
#include "skeinKeep.h"

// The names that the file's elements and attributes have.
inline const Bstr childrenTag(u"children");
inline const Bstr propsTag(u"props");
inline const Bstr classAttribute(u"class");
inline const Bstr extensionAttribute(u"extension");
inline const Bstr inheritedAttribute(u"inherited");
inline const Bstr nameAttribute(u"name");
inline const Bstr pathAttribute(u"path");
inline const Bstr typeAttribute(u"type");
inline const Bstr versionAttribute(u"version");

/// Loads a file into a new document, which stays null unless the result is 0. The file is read whole, and a
/// NUL byte ends it for the parser; from 2 GB up it is refused.
Status xmlLoadFile(const char* fileName, ComPtr<IXMLDOMDocument>& document);

/// An attribute as a string. 0 with the value, or with a copy of `defaultText` for an attribute that is
/// missing; 1, with null, for a missing one without default; negative on a failure. A failure of getAttribute
/// itself isn't reported.
Status xmlGetAttr(IXMLDOMElement& element, BSTR name, Bstr& value, const OLECHAR* defaultText = nullptr);

/// The same on a node, which must be an element.
Status xmlGetAttrOfNode(IXMLDOMNode& node, BSTR name, Bstr& value, const OLECHAR* defaultText = nullptr);

/// The child nodes of every kind. Reports nothing.
Status xmlGetChildNodes(IXMLDOMNode& node, ComPtr<IXMLDOMNodeList>& children);

/// The number of nodes in a list; E_UNEXPECTED for one that can't be. Reports nothing.
Status xmlGetLength(IXMLDOMNodeList& nodes, std::size_t& length);

/// The number of child nodes of every kind, as the list tells it.
Status xmlChildCount(IXMLDOMNode& node, LONG& count);

/// The first child with a tag, or null. Any other number of them than one is complained about on `errStream`,
/// but is no failure.
Status xmlGetOnlyChild(IXMLDOMNode& node, BSTR tag, ComPtr<IXMLDOMNode>& child);

/// The start tag of an element, for a message: as many of its attributes as fit into 8192 bytes.
Status xmlDumpNode(IXMLDOMNode& node, Bstr& text);

/// The start tag, or a text in its place where it can't be had.
Bstr xmlTagForMessage(IXMLDOMNode& node);
