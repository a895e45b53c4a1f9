// The restore: a backup file against the live tree, object by object.
#pragma once

#include "directory/adsi.h"
#include "document/msxml.h"
#include "skeinKeep.h"

/// The driver: loads `backupFile` and brings the live tree that its topmost object names into line with it.
/// Moves `errStream` to standard output. What was changed before a failure stays changed.
Status restoreMain();

/// Checks that a document is a backup of a version that is read here. E_FAIL, told but not reported, for one
/// that isn't.
Status validateBackup(IXMLDOMElement& documentElement);

/// Restores the live object that an `obj` element describes, and all below it. A null `object` is the topmost
/// one, which is bound by the element's `path`; a failure of that is told, but not reported.
Status restoreObject(IXMLDOMNode& node, IADs* object);

/// Prints the line of an object that is created. Returns 1 in a dry run, which must not make the change, else
/// 0.
int logCreateObject(const OLECHAR* objectText, const OLECHAR* className);

/// The same for an object that is deleted.
int logDeleteObject(IADs& object);
