#include "platform/platform.h"

#include "platform/com/memory.h"
#include "platform/metabase/provider.h"
#include "platform/os/stream.h"
#include "platform/xml/domDocument.h"

void installPlatform() {
    keepFreedMemory();
    prepareStreams();
    registerDomDocument();
    registerMetabaseProvider();
}
