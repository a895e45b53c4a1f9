// The reconciliation of the children of one object with a backup file. Objects are created and deleted only
// here.
#pragma once

#include "directory/adsi.h"
#include "document/msxml.h"
#include "skeinKeep.h"

/// Brings the children of a live object into line with its `children` element: restores those that both have,
/// creates, replaces and deletes the others, as far as their classes allow. Returns 0 or a negative status;
/// what was changed before a failure stays changed.
Status reconcileChildren(IADs& object, IXMLDOMNode& childrenNode);
