// The handlers of the property MimeMap: an array of objects in the live tree, one element for each entry in
// the file.
#pragma once

#include "propInfo.h"

#include <vector>

/// An entry of a backup file. A missing attribute is a null string, which every call takes for the empty one.
struct MimeMapEntry {
    Bstr extension;
    Bstr mimeType;
};

/// Parses the element of the property. Returns 0 with the entries in document order, or a negative status
/// with no entries.
Status mimeMapParse(IXMLDOMNode& node, std::vector<MimeMapEntry>& entries);

// See CmpFn, SetFn, PrintFn and DumpFn in propInfo.h.

/// Compares the two maps as multisets of pairs: their order doesn't count, the number of equal pairs does.
Status mimeMapPropCmp(const VARIANT& value, BackupProp& prop);
Status mimeMapPropSet(IADs& object, BackupProp& prop);
/// Does nothing.
Status mimeMapPropPrint(bool useLive, BackupProp& prop, const VARIANT& live);
Status mimeMapPropDump(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited);
