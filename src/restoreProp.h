// The properties of one object against a backup file.
#pragma once

#include "propInfo.h"

/// Brings the properties of a live object into line with its `props` element. What stands on one side only is
/// warned about and left alone.
Status reconcileProperties(IADs& object, IXMLDOMNode& propsNode);

/// Compares one property, whose name the object's class has, and has it written where it differs.
Status reconcileProperty(IADs& object, BackupProp& prop);
