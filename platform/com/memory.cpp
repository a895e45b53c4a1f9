#include "com/memory.h"

#if __has_include(<malloc.h>)
#include <malloc.h>
#endif

void keepFreedMemory() {
#ifdef __GLIBC__
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
#endif
}
