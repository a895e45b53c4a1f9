// The class of documents: its registration.
#pragma once

namespace xml {

/// Registers the class CLSID_DOMDocument.
void registerDocumentClass();

} // namespace xml
