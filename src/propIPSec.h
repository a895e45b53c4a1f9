// The handlers of the property IPSecurity: one object on the live side, five properties in the file.
#pragma once

#include "propInfo.h"

/// The five sub-properties as a file gives them; the lists are one-dimensional arrays of VARIANTs.
struct IpSecValues {
    VARIANT_BOOL grantByDefault = VARIANT_FALSE;
    Variant ipGrant;
    Variant ipDeny;
    Variant domainGrant;
    Variant domainDeny;
};

/// Reads the property's element.
Status ipSecParse(IXMLDOMNode& node, IpSecValues& values);

Status ipSecPropCmp(const VARIANT& value, BackupProp& prop);
/// Changes the object in place and puts it back.
Status ipSecPropSet(IADs& object, BackupProp& prop);
/// Does nothing.
Status ipSecPropPrint(bool useLive, BackupProp& prop, const VARIANT& live);
Status ipSecPropDump(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited);
