// The handlers of the property MimeMap: an array of objects on the live side, one element an entry in the
// file.
#pragma once

#include "propInfo.h"

#include <vector>

/// An entry as a file gives it. An attribute that is missing is the empty string.
struct MimeMapEntry {
    Bstr extension;
    Bstr mimeType;
    /// A live entry has been paired with this one.
    bool matched = false;
};

/// Reads the property's element. On a failure there are no entries.
Status mimeMapParse(IXMLDOMNode& node, std::vector<MimeMapEntry>& entries);

/// Compares the two lists as bags of pairs, whatever their order.
Status mimeMapPropCmp(const VARIANT& value, BackupProp& prop);
Status mimeMapPropSet(IADs& object, BackupProp& prop);
/// Does nothing.
Status mimeMapPropPrint(bool useLive, BackupProp& prop, const VARIANT& live);
Status mimeMapPropDump(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited);
