// The children of one object against a backup file: the one place where objects are created and deleted.
#pragma once

#include "platform/metabase/adsi.h"
#include "platform/xml/msxml.h"
#include "src/skeinKeep.h"

/// Brings the children of a live object into line with its `children` element, as far as their classes allow.
Status reconcileChildren(IADs& object, IXMLDOMNode& childrenNode);
