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

#ifdef SKEINKEEP_WATCHED_MEMORY
constexpr std::size_t kinds = 0;
#else
constexpr std::size_t kinds = 32;
#endif
/// The blocks of one kind are this much larger than those of the kind ahead.
constexpr std::size_t step = 16;

/// A block that nobody uses, in the list of its kind.
struct Spare {
    Spare* next;
};
inline std::array<Spare*, kinds + 1> spares{};

constexpr std::size_t kindOf(std::size_t size) { return (size + step - 1) / step; }

} // namespace memory

/// A block of at least `size` bytes. A walk over a tree holds few blocks at once: small ones that were given
/// back are handed out again, the last one first, and hardly any block costs a call of the system's
/// allocator. Small blocks are thus never given back to the system. Out of memory is std::bad_alloc.
inline void* takeMemory(std::size_t size) {
    const std::size_t kind = memory::kindOf(size);
    if (kind >= memory::kinds) return ::operator new(size);
    memory::Spare*& first = memory::spares[kind];
    if (first == nullptr) return ::operator new(kind* memory::step);
    memory::Spare* taken = first;
    first = taken->next;
    return taken;
}

/// Gives a block back that was taken for the same size, which isn't 0.
inline void giveMemory(void* block, std::size_t size) {
    const std::size_t kind = memory::kindOf(size);
    if (kind >= memory::kinds) return ::operator delete(block);
    memory::spares[kind] = new (block) memory::Spare{memory::spares[kind]};
}

/// From now on the system's allocator keeps the large blocks that it gets back, where it lets itself be told.
/// The bytes, the wide text and the tree of a file follow one another: what one of them leaves needs not be
/// asked of the system, page for page, for the next.
void keepFreedMemory();
