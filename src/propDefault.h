// The handlers of the properties that the property table doesn't name, and of some that it does.
#pragma once

#include "dispUtils.h"
#include "propInfo.h"

// See CmpFn, SetFn, PrintFn and DumpFn in propInfo.h.
Status defaultPropCmp(const VARIANT& value, BackupProp& prop);
Status defaultPropSet(IADs& object, BackupProp& prop);
Status defaultPropPrint(bool useLive, BackupProp& prop, const VARIANT& live);
Status defaultPropDump(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited);

/// Prints a value as the text between the tags of a `prop`; a value without a text as the escaped marker
/// <unsupported/>. May change the value in place. Returns 0 or the status of VariantChangeType. Reports
/// nothing.
Status writeValueText(OutStream& stream, VARIANT& value);
