#include "platform/platform.h"

#include "platform/metabase/provider.h"
#include "platform/os/stream.h"

void installPlatform() {
    ignoreWriteSignals();
    registerMetabaseProvider();
}
