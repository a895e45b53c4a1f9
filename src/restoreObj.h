// The children of one object against a backup file: the one place where objects are created and deleted.
#pragma once

#include "directory/adsi.h"
#include "document/msxml.h"
#include "skeinKeep.h"

/// Brings the children of a live object into line with its `children` element, as far as their classes allow.
Status reconcileChildren(IADs& object, IXMLDOMNode& childrenNode);
