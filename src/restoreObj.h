// The reconciliation of the children of one object with a backup file. Objects are created and deleted only
// here.
#pragma once

#include "platform/metabase/adsi.h"
#include "platform/xml/msxml.h"
#include "src/skeinKeep.h"

/// Brings the children of a live object into line with its `children` element: restores those that both have,
/// creates, replaces and deletes the others, as far as their classes allow. Returns 0 or a negative status;
/// what was changed before a failure stays changed.
Status reconcileChildren(IADs& object, IXMLDOMNode& childrenNode);
