// An index of a list of entries by their keys.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <span>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

inline std::size_t hashOf(std::u16string_view text) { return std::hash<std::u16string_view>{}(text); }
inline std::size_t hashOf(const std::pair<std::u16string_view, std::u16string_view>& texts) {
    return hashOf(texts.first) * 31 + hashOf(texts.second);
}

/// Finds entries by `key()`, which has an order and a hashOf. The rows of the index are sorted by the hash
/// and then by the key, so that most comparisons look at the hashes alone, while no choice of keys makes a
/// search slow: its cost grows with the logarithm of the number of entries.
template <class Entry> class KeyIndex {
public:
    using Key = decltype(std::declval<const Entry&>().key());

    KeyIndex() = default;
    /// Borrows the entries; their keys must not change.
    explicit KeyIndex(std::span<Entry> entries) {
        rows_.reserve(entries.size());
        for (Entry& entry : entries) rows_.push_back({hashOf(entry.key()), &entry, 0});
        std::ranges::sort(rows_, [](const Row& left, const Row& right) {
            if (left.hash != right.hash) return left.hash < right.hash;
            return std::tuple(left.entry->key(), left.entry) < std::tuple(right.entry->key(), right.entry);
        });
    }

    /// Returns the first entry with a key that `isPassed` is false for, or null. Entries that it is true for
    /// must stay so.
    template <class IsPassed> Entry* find(const Key& key, IsPassed isPassed) {
        const std::size_t hash = hashOf(key);
        const auto first = std::ranges::partition_point(rows_, [&](const Row& row) {
            return row.hash != hash ? row.hash < hash : row.entry->key() < key;
        });
        if (first == rows_.end()) return nullptr;
        for (; std::cmp_less(first->passed, rows_.end() - first); ++first->passed) {
            const Row& row = first[static_cast<std::ptrdiff_t>(first->passed)];
            if (row.hash != hash || row.entry->key() != key) return nullptr;
            if (!isPassed(*row.entry)) return row.entry;
        }
        return nullptr;
    }

private:
    struct Row {
        std::size_t hash;
        Entry* entry;
        /// Of the first row with a key: the number of entries of that key, from this one on, that are passed.
        std::size_t passed;
    };

    std::vector<Row> rows_;
};
