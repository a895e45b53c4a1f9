// Names, each stored once and numbered: the names of a document, the properties and classes of a schema.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// Numbers count from 0 in the order in which the names were added.
class NameTable {
public:
    using Number = std::uint32_t;
    static constexpr Number none = UINT32_MAX;

    /// The number of a name; adds a name that the table lacks.
    Number add(std::u16string_view name);
    /// The number of a name; none if the table lacks it.
    Number find(std::u16string_view name) const;
    bool contains(Number number) const { return number < names_.size(); }
    std::u16string_view operator[](Number number) const { return names_[number]; }

private:
    /// A hash with a random seed: no choice of names makes lookups slow. (It isn't noexcept, so that the map
    /// keeps each name's hash.)
    struct SeededHash {
        using is_transparent = void;
        std::size_t operator()(std::u16string_view name) const;
    };
    struct Same {
        using is_transparent = void;
        bool operator()(std::u16string_view left, std::u16string_view right) const;
    };

    std::unordered_map<std::u16string, Number, SeededHash, Same> numbers_;
    /// The keys of the map, which stay where they are.
    std::vector<std::u16string_view> names_;
};

/// Expects the names of a sequence in the order in which they came before: after each one, the one that
/// followed it last. Attributes and properties come in much the same order again and again, and to compare
/// the expected name costs a fraction of a lookup.
class NameSequence {
public:
    /// The number of the name that is expected next; one of no meaning at first.
    NameTable::Number expected() const { return last_ < followers_.size() ? followers_[last_] : 0; }
    /// Notes the name that came.
    void came(NameTable::Number number) {
        if (last_ >= followers_.size()) followers_.resize(last_ + 1);
        followers_[last_] = number;
        last_ = number;
    }
    /// Continues as after a name that came in another sequence.
    void continueAfter(NameTable::Number number) { last_ = number; }

private:
    std::vector<NameTable::Number> followers_;
    NameTable::Number last_ = 0;
};
