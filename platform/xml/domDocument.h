// The class of documents: its registration.
#pragma once

namespace xml {

/// Registers the class CLSID_DOMDocument.
void registerDocumentClass();

} // namespace xml

// Former name, which the tests still use.
inline void registerDomDocument() { xml::registerDocumentClass(); }
