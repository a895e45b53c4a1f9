// Loads a backup file into a document, and does nothing else: loadBackup FILE

#include "com/runtime.h"
#include "platform.h"
#include "src/xmlUtils.h"

int main(int argc, char** argv) {
    if (argc != 2) return 1;
    installPlatform();
    (void)CoInitializeEx(nullptr, 0);
    ComPtr<IXMLDOMDocument> document;
    const Status status = xmlLoadFile(argv[1], document);
    CoUninitialize();
    return status < 0 ? 2 : 0;
}
