#include "platform/platform.h"
#include "src/skeinKeep.h"

int main(int argc, char** argv) {
    installPlatform();
    return skeinKeepMain(argc, argv);
}
