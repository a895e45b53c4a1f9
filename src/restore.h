// The restore: the walk over a backup file that brings the live tree into line with it, object by object.
#pragma once

#include "directory/adsi.h"
#include "document/msxml.h"
#include "skeinKeep.h"

/// Loads `backupFile` of `runSettings` and brings the live tree into line with it, starting at the object
/// whose path is in the attribute `path` of the file's topmost `obj` element. Sets `errStream` to standard
/// output. Returns 0, also where a dry run found differences, or a negative status; what was changed before a
/// failure stays changed.
Status restoreMain();

/// Checks that a document is a backup of a supported version. Returns 0, E_FAIL if it isn't, with a message
/// but without an "Error" line, or the status of a failed call.
Status validateBackup(IXMLDOMElement& documentElement);

/// Restores the live object of an `obj` element and all objects below it. Null for `object` means the topmost
/// one, which is bound by the element's `path`; a failure to bind it prints a message to standard error,
/// without an "Error" line. Returns 0 or a negative status.
Status restoreObject(IXMLDOMNode& node, IADs* object);

/// Prints the line of an object to be created, to `errStream` in spite of the name. Returns 1 in a dry run,
/// where it must not be created, else 0.
int logCreateObject(const OLECHAR* objectText, const OLECHAR* className);

/// The same for an object to be deleted.
int logDeleteObject(IADs& object);
