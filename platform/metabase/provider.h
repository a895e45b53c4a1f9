// The provider of the paths IIS://localhost and below: a metabase in a file.
#pragma once

#include "directory/adsi.h"

namespace metabase {

/// Registers the provider and its class of MIME map entries, and brings the file into canonical form when the
/// runtime is left for the last time. The metabase is opened when the first object is bound, and reserved for
/// the rest of the process: no File opens it.
void registerIisProvider();

} // namespace metabase
