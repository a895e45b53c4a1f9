// The index of entries by their keys, with keys of one hash, which no text of a test has by chance.

#include "src/keyIndex.h"

#include <compare>
#include <gtest/gtest.h>
#include <random>

namespace {

int comparisons = 0;

struct Key {
    int number;

    bool operator==(const Key& other) const {
        ++comparisons;
        return number == other.number;
    }
    std::strong_ordering operator<=>(const Key& other) const {
        ++comparisons;
        return number <=> other.number;
    }
};

std::size_t hashOf(const Key& key) { return static_cast<std::size_t>(key.number % 2); }

struct Entry {
    int number;
    bool taken = false;

    Key key() const { return {number}; }
};

Entry* take(KeyIndex<Entry>& index, int number) {
    Entry* found = index.find(Key{number}, [](const Entry& entry) { return entry.taken; });
    if (found != nullptr) found->taken = true;
    return found;
}

TEST(KeyIndex, findsTheEntriesOfAKeyInTheirOrder) {
    std::mt19937 random(1);
    std::vector<Entry> entries(200);
    for (Entry& entry : entries) entry.number = static_cast<int>(random() % 50);
    std::vector<Entry> searched = entries;
    KeyIndex<Entry> index(entries);
    for (int i = 0; i < 1000; ++i) {
        const int number = static_cast<int>(random() % 55);
        const auto first = std::ranges::find_if(
            searched, [&](const Entry& entry) { return entry.number == number && !entry.taken; });
        const Entry* found = take(index, number);
        ASSERT_EQ(found == nullptr ? entries.size() : static_cast<std::size_t>(found - entries.data()),
                  static_cast<std::size_t>(first - searched.begin()))
            << "search " << i << " for " << number;
        if (first != searched.end()) first->taken = true;
    }
}

TEST(KeyIndex, comparesFewKeysWhateverTheirHashes) {
    for (const int different : {1, 10'000}) {
        constexpr int count = 10'000;
        comparisons = 0;
        std::vector<Entry> entries(count);
        for (int i = 0; i < count; ++i) entries[static_cast<std::size_t>(i)].number = i % different;
        KeyIndex<Entry> index(entries);
        for (int i = count; i-- > 0;) ASSERT_NE(take(index, i % different), nullptr);
        EXPECT_LT(comparisons, count * 100) << different << " different keys";
    }
}

} // namespace
