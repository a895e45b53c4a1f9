// The backup: a walk over the live tree that prints each object to the backup file.
#pragma once

#include "directory/adsi.h"
#include "skeinKeep.h"

/// Writes the tree from the object at `rootPath` downward to `backupFile`; both are fields of `runSettings`.
/// Returns 0 or a negative status; after a failure the incomplete file stays. A failed write is no failure:
/// on a full disk the file lacks its end and the result is 0. If the file can't be opened, prints a message
/// to standard error, without an "Error" line, and returns E_FAIL.
Status backupMain();

/// Prints the `metabase` element with all objects from the one at `rootPath` downward. An empty path means
/// the default root. Returns 0 or a negative status, as all of these do.
Status backupTree(OutStream& stream, const char* rootPath);

/// Prints the `obj` element of an object, with its properties and all objects below it. `level` is 1 for the
/// topmost object and the parent's plus 2 for a child; every indentation follows from it.
Status backupObject(OutStream& stream, IADs& object, int level);

/// Prints the content of an object's `props` element: all properties of its class.
Status dumpObjectProperties(OutStream& stream, IADs& object, int level);

/// Prints one property of an object. Under `noInherit` an inherited property is left out, without a read of
/// its value.
Status dumpProperty(OutStream& stream, IADs& object, int level, BSTR name);

/// Returns whether the provider shows the property as inherited on this object. A failure, which isn't
/// reported, counts as not inherited.
bool isPropertyInherited(IADs& object, BSTR name);
