// The reconciliation of the properties of one object with a backup file.
#pragma once

#include "propInfo.h"

/// Brings the properties of a live object into line with its `props` element, in the order of the file.
/// Prints a warning for each property that only the class or only the file has, and leaves it unchanged.
/// Returns 0 or a negative status.
Status reconcileProperties(IADs& object, IXMLDOMNode& propsNode);

/// Compares one property, whose name the object's class has, and writes it if it differs. Returns 0 or a
/// negative status.
Status reconcileProperty(IADs& object, BackupProp& prop);
