#include "com/memory.h"

#include <sys/resource.h>

#if __has_include(<malloc.h>)
#include <malloc.h>
#endif

namespace {

constexpr std::size_t stackSize = 256 << 10;

/// The system grows the stack down to the lowest byte that is written to. Not inlined: the caller's own frame
/// would be as large.
[[gnu::noinline]] void touchStack() {
    [[maybe_unused]] volatile char stack[stackSize];
    stack[0] = 0;
}

} // namespace

void memory::exhausted() {
    if (const std::new_handler handler = std::get_new_handler()) handler();
    throw std::bad_alloc();
}

void memory::growStack() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur < 2 * stackSize) return;
    // Ends in exhausted() where there is no memory; where there is, the allocator returns it to the system.
    ::operator delete(::operator new(stackSize));
    touchStack();
}

void memory::keepFreedBlocks() {
#ifdef __GLIBC__
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
#endif
}
