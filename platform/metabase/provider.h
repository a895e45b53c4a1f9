// The provider of the paths IIS://localhost and below.
#pragma once

#include "directory/adsi.h"

/// Registers the provider, its class of MIME map entries, and what it does when the runtime is left. The
/// metabase is opened when the first object is bound.
void registerMetabaseProvider();

/// The provider, for whoever stands in front of it.
ComPtr<IADsProvider> metabaseProvider();
