// The pairing of keys with the entries of a list, one to one.
#pragma once

#include "keyIndex.h"

#include <cstddef>
#include <span>

/// Pairs each key with the first entry that has it and isn't paired yet. An entry has `key()` as in
/// KeyIndex, `hasKey(key)`, and a flag that `paired` names, which is set when it is paired. The cost of a key
/// grows at most with the logarithm of the number of entries, in any order and with any number of equal ones.
template <class Entry, bool Entry::*paired> class Pairing {
public:
    using Key = typename KeyIndex<Entry>::Key;

    /// Borrows the entries, none of which is paired yet.
    explicit Pairing(std::span<Entry> entries) : first_(entries.data()), end_(first_ + entries.size()) {}

    /// Returns whether there was an entry for the key.
    bool pair(const Key& key) {
        while (first_ != end_ && first_->*paired) ++first_;
        Entry* entry = findNearby(key);
        if (entry == nullptr && end_ - first_ > nearby) entry = findInIndex(key);
        if (entry == nullptr) return false;
        entry->*paired = true;
        return true;
    }

private:
    /// Up to this number of entries a linear search costs less than an index.
    static constexpr std::ptrdiff_t nearby = 32;

    /// Searches the entries from the first one that isn't paired: as a rule, both sides have much the same
    /// order.
    Entry* findNearby(const Key& key) const {
        for (Entry* entry = first_; entry != end_ && entry - first_ < nearby; ++entry) {
            if (!(entry->*paired) && entry->hasKey(key)) return entry;
        }
        return nullptr;
    }

    /// Searches the entries beyond those, through an index that is built at the first such search.
    Entry* findInIndex(const Key& key) {
        if (!indexed_) index_ = KeyIndex<Entry>(std::span(first_ + nearby, end_));
        indexed_ = true;
        return index_.find(key, [](const Entry& entry) { return entry.*paired; });
    }

    /// All entries before it are paired.
    Entry* first_;
    Entry* end_;
    KeyIndex<Entry> index_;
    bool indexed_ = false;
};
