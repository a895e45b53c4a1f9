// The handlers of the property IPSecurity: one object in the live tree, five properties in the file.
#pragma once

#include "propInfo.h"

/// The five sub-properties of a backup file; the lists are one-dimensional arrays of VARIANTs.
struct IpSecValues {
    VARIANT_BOOL grantByDefault = VARIANT_FALSE;
    Variant ipGrant;
    Variant ipDeny;
    Variant domainGrant;
    Variant domainDeny;
};

/// Parses the element of the property into `values`, which is empty. Returns 0 or a negative status; E_FAIL
/// if the element lacks one of the five.
Status ipSecParse(IXMLDOMNode& node, IpSecValues& values);

// See CmpFn, SetFn, PrintFn and DumpFn in propInfo.h.
Status ipSecPropCmp(const VARIANT& value, BackupProp& prop);
/// Changes the live object in place and puts it back.
Status ipSecPropSet(IADs& object, BackupProp& prop);
/// Does nothing.
Status ipSecPropPrint(bool useLive, BackupProp& prop, const VARIANT& live);
Status ipSecPropDump(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited);
