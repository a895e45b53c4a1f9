// The class of documents.
#pragma once

/// Registers the class CLSID_DOMDocument.
void registerDomDocument();
