// Recycled: keeps the memory of released objects for the next ones.
#pragma once

#include <cstddef>
#include <new>

namespace xml {

/// A base that allocates objects of the class Object, and of no class below it. A walk over a document makes
/// and releases references all the time and holds few at once: hardly any of them costs an allocation.
template <class Object> class Recycled {
public:
    static void* operator new(std::size_t size) {
        return spareCount > 0 ? spares[--spareCount] : ::operator new(size);
    }
    static void operator delete(void* memory) {
        if (spareCount < maxSpares) {
            spares[spareCount++] = memory;
        } else {
            ::operator delete(memory);
        }
    }

private:
    static constexpr std::size_t maxSpares = 64;
    static inline void* spares[maxSpares];
    static inline std::size_t spareCount = 0;
};

} // namespace xml
