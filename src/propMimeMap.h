// The handlers of the property MimeMap: an array of objects in the live tree, one element for each entry in
// the file.
#pragma once

#include "propInfo.h"

#include <vector>

/// An extension and its MIME type.
using MimePair = std::pair<std::u16string_view, std::u16string_view>;

/// An entry of a backup file. A missing attribute is the empty string.
struct MimeMapEntry {
    Bstr extension;
    Bstr mimeType;
    /// Whether a live entry has been paired with this one.
    bool matched = false;

    MimePair key() const { return {view(extension), view(mimeType)}; }
    bool hasKey(const MimePair& pair) const {
        return equal(extension, pair.first) && equal(mimeType, pair.second);
    }
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
