// The index of entries by their keys, with keys of one hash, which no text of a test has by chance.

#include "src/keyIndex.h"

#include <compare>
#include <deque>
#include <gtest/gtest.h>
#include <map>
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

TEST(KeyIndex, findsTheEntriesOfAKeyInTheirOrderWithFewComparisons) {
    std::mt19937 random(1);
    constexpr std::size_t count = 10'000;
    for (const unsigned different : {1U, 50U, 10'000U}) {
        SCOPED_TRACE(different);
        std::vector<Entry> entries(count);
        std::map<int, std::deque<Entry*>> left;
        for (Entry& entry : entries) {
            entry.number = static_cast<int>(random() % different);
            left[entry.number].push_back(&entry);
        }
        comparisons = 0;
        KeyIndex<Entry> index(entries);
        for (std::size_t i = 0; i < 2 * count; ++i) {
            const int number = static_cast<int>(random() % (different + different / 10 + 1));
            Entry* found = index.find(Key{number}, [](const Entry& entry) { return entry.taken; });
            std::deque<Entry*>& expected = left[number];
            ASSERT_EQ(found, expected.empty() ? nullptr : expected.front()) << "search " << i;
            if (found == nullptr) continue;
            found->taken = true;
            expected.pop_front();
        }
        EXPECT_LT(comparisons, 100 * static_cast<int>(count));
    }
}

} // namespace
