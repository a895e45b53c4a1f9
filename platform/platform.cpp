#include "platform/platform.h"

#include "platform/metabase/provider.h"
#include "platform/os/stream.h"
#include "platform/xml/domDocument.h"

void installPlatform() {
    prepareStreams();
    registerDomDocument();
    registerMetabaseProvider();
}
