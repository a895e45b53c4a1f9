// The backup: one walk over the tree, straight into the file.
#pragma once

#include "directory/adsi.h"
#include "skeinKeep.h"

/// The driver: writes the tree below `rootPath` to `backupFile`. A backup that fails leaves what it wrote so
/// far. A file that can't be opened is told, but not reported: E_FAIL.
Status backupMain();

/// Writes the `metabase` element. An empty path stands for the default root.
Status backupTree(OutStream& stream, const char* rootPath);

/// Writes an object with its properties and all below it. `level` is 1 for the topmost object and the
/// parent's plus 2 for a child; all indentation comes from it.
Status backupObject(OutStream& stream, IADs& object, int level);

/// Writes what stands between the tags of an object's `props`.
Status dumpObjectProperties(OutStream& stream, IADs& object, int level);

/// Writes one property of an object, unless it is left out.
Status dumpProperty(OutStream& stream, IADs& object, int level, BSTR name);

/// Whether the provider reports the property as inherited on this object. Whatever fails on the way is a no.
bool isPropertyInherited(IADs& object, BSTR name);
