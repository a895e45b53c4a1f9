// Free lists for small short-lived blocks: strings, arrays and objects.
#pragma once

#include <array>
#include <cstddef>
#include <new>

namespace memory {

/// Free lists are kept for blocks of up to 496 bytes, one list for each size class: the sizes that round up
/// to the same multiple of 16. A build with SKEINKEEP_FREE_LISTS=OFF has none: then a sanitizer or valgrind
/// sees each block allocated and freed, and can report the use of a freed one.
constexpr std::size_t classStep = 16;
#ifdef SKEINKEEP_NO_FREE_LISTS
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

/// Allocates a block of at least `size` bytes. A walk over a tree holds few blocks at once, so the small
/// block that was freed last is used again first, and hardly any block costs a call of the system's
/// allocator. Small blocks never return to the system. Nothing is locked: the whole process works on one
/// thread. Throws std::bad_alloc.
inline void* takeMemory(std::size_t size) {
    const std::size_t sizeClass = memory::sizeClassOf(size);
    if (sizeClass >= memory::sizeClasses) return ::operator new(size);
    memory::FreeBlock*& first = memory::freeLists[sizeClass];
    if (first == nullptr) return ::operator new(sizeClass* memory::classStep);
    memory::FreeBlock* taken = first;
    first = taken->next;
    return taken;
}

/// Frees a block that was allocated with the same size, which isn't 0.
inline void giveMemory(void* block, std::size_t size) {
    const std::size_t sizeClass = memory::sizeClassOf(size);
    if (sizeClass >= memory::sizeClasses) return ::operator delete(block);
    memory::freeLists[sizeClass] = new (block) memory::FreeBlock{memory::freeLists[sizeClass]};
}

/// Has the system's allocator (glibc's) keep the large blocks that are freed from now on. The bytes, the wide
/// text and the tree of a file follow one another: each uses the pages of the one before it, at no cost of
/// new ones.
void keepFreedMemory();
