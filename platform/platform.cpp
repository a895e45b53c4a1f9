#include "platform.h"

#include "com/memory.h"
#include "metabase/provider.h"
#include "os/stream.h"
#include "xml/domDocument.h"

void installPlatform() {
    memory::keepFreedBlocks();
    prepareStreams();
    xml::registerDocumentClass();
    metabase::registerIisProvider();
}
