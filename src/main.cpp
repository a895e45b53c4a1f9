#include "platform.h"
#include "skeinKeep.h"

#include <new>

int main(int argc, char** argv) {
    std::set_new_handler(endOutOfMemory);
    installPlatform();
    return skeinKeepMain(argc, argv);
}
