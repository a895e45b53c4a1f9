// Pool: an array of plain items that grows at its end, for sizes of hundreds of megabytes.
#pragma once

#include "com/memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <type_traits>
#include <utility>

namespace xml {

/// Owns its items. The array grows and shrinks by realloc, in place where possible. Reserved capacity that
/// was never written to uses no memory, so that the worst case may be reserved: with a std::vector loadXML
/// takes 62 % more processor time and twice the memory.
template <class T> class Pool {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    Pool() = default;
    Pool(Pool&& other) noexcept
        : items_(std::exchange(other.items_, nullptr)), size_(std::exchange(other.size_, 0)),
          capacity_(std::exchange(other.capacity_, 0)) {}
    Pool& operator=(Pool&&) = delete;
    ~Pool() { std::free(items_); }

    std::size_t size() const { return size_; }
    T* begin() { return items_; }
    T* end() { return items_ + size_; }
    T& operator[](std::size_t index) { return items_[index]; }
    const T& operator[](std::size_t index) const { return items_[index]; }

    void push(T item) {
        if (size_ == capacity_) grow();
        items_[size_++] = item;
    }
    /// Sets the end of the array: fewer items, or more, which the caller wrote into reserved capacity.
    void setEnd(const T* end) { size_ = static_cast<std::size_t>(end - items_); }
    void reserve(std::size_t capacity) {
        if (capacity > capacity_) setCapacity(capacity);
    }
    /// Frees the capacity that no item uses.
    void fit() { setCapacity(std::max<std::size_t>(size_, 1)); }

private:
    // Inlined into push() it would take 5 % of the instructions of loadXML.
    [[gnu::noinline]] void grow() { setCapacity(std::max<std::size_t>(2 * capacity_, 16)); }
    void setCapacity(std::size_t capacity) {
        auto* moved = static_cast<T*>(std::realloc(items_, capacity * sizeof(T)));
        if (moved == nullptr) memory::exhausted();
        items_ = moved;
        capacity_ = capacity;
    }

    T* items_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

} // namespace xml
