// Memory for what comes and goes all the time: strings, arrays and objects.
#pragma once

#include <array>
#include <cstddef>
#include <new>

// A tool that watches every block must see every block come and go.
#if defined(__SANITIZE_ADDRESS__)
#define SKEINKEEP_WATCHED_MEMORY
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SKEINKEEP_WATCHED_MEMORY
#endif
#endif

namespace memory {

/// Free lists are kept for blocks of up to 496 bytes, one list for each size class: the sizes that round up
/// to the same multiple of 16.
constexpr std::size_t classStep = 16;
#ifdef SKEINKEEP_WATCHED_MEMORY
constexpr std::size_t sizeClasses = 0;
#else
constexpr std::size_t sizeClasses = 32;
#endif

struct FreeBlock {
    FreeBlock* next;
};
inline std::array<FreeBlock*, sizeClasses + 1> freeLists{};

constexpr std::size_t sizeClassOf(std::size_t size) { return (size + classStep - 1) / classStep; }

} // namespace memory

/// A block of at least `size` bytes. A walk over a tree holds few blocks at once: small ones that were given
/// back are handed out again, the last one first, and hardly any block costs a call of the system's
/// allocator. Small blocks are thus never given back to the system. Nothing is locked: the whole process
/// works on one thread. Out of memory is std::bad_alloc.
inline void* takeMemory(std::size_t size) {
    const std::size_t sizeClass = memory::sizeClassOf(size);
    if (sizeClass >= memory::sizeClasses) return ::operator new(size);
    memory::FreeBlock*& first = memory::freeLists[sizeClass];
    if (first == nullptr) return ::operator new(sizeClass* memory::classStep);
    memory::FreeBlock* taken = first;
    first = taken->next;
    return taken;
}

/// Gives a block back that was taken for the same size, which isn't 0.
inline void giveMemory(void* block, std::size_t size) {
    const std::size_t sizeClass = memory::sizeClassOf(size);
    if (sizeClass >= memory::sizeClasses) return ::operator delete(block);
    memory::freeLists[sizeClass] = new (block) memory::FreeBlock{memory::freeLists[sizeClass]};
}

/// From now on the system's allocator keeps the large blocks that it gets back, where it lets itself be told.
/// The bytes, the wide text and the tree of a file follow one another: what one of them leaves needs not be
/// asked of the system, page for page, for the next.
void keepFreedMemory();
