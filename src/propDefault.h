// The handlers of every property that the property table doesn't treat by name.
#pragma once

#include "dispUtils.h"
#include "propInfo.h"

Status defaultPropCmp(const VARIANT& value, BackupProp& prop);
Status defaultPropSet(IADs& object, BackupProp& prop);
Status defaultPropPrint(bool useLive, BackupProp& prop, const VARIANT& live);
Status defaultPropDump(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited);

/// Writes a value as the text between the tags of a `prop`. It may change the value in place, and reports
/// nothing.
Status writeValueText(OutStream& stream, VARIANT& value);
