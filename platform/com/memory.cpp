#include "com/memory.h"

#if __has_include(<malloc.h>)
#include <malloc.h>
#endif

void memory::keepFreedBlocks() {
#ifdef __GLIBC__
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
#endif
}
