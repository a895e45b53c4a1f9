#include "platform.h"
#include "skeinKeep.h"

int main(int argc, char** argv) {
    installPlatform();
    return skeinKeepMain(argc, argv);
}
