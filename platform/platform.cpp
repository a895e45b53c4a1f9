#include "platform.h"

#include "com/memory.h"
#include "metabase/provider.h"
#include "os/stream.h"
#include "xml/domDocument.h"

void installPlatform() {
    prepareStreams();
    memory::growStack();
    memory::keepFreedBlocks();
    xml::registerDocumentClass();
    metabase::registerIisProvider();
}
