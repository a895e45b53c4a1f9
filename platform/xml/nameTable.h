// The names of a document, each stored once and numbered.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace xml {

/// Numbers count from 0 in the order in which the names were added. A name isn't empty.
class NameTable {
public:
    using Number = std::uint32_t;
    static constexpr Number none = UINT32_MAX;

    /// The number of a name; adds a name that the table lacks.
    Number add(std::u16string_view name);
    /// The number of a name; none if the table lacks it.
    Number find(std::u16string_view name) const;
    std::u16string_view operator[](Number number) const { return names_[number]; }

private:
    /// An order of names, by length and then by bytes. Most names differ in length.
    struct ShorterFirst {
        using is_transparent = void;
        bool operator()(std::u16string_view left, std::u16string_view right) const {
            if (left.size() != right.size()) return left.size() < right.size();
            return std::memcmp(left.data(), right.data(), left.size() * sizeof(char16_t)) < 0;
        }
    };
    using NumberMap = std::map<std::u16string, Number, ShorterFirst>;

    /// The index of the map that a name belongs to.
    static std::size_t mapOf(std::u16string_view name) {
        return (name.front() + std::size_t{name.back()}) % mapCount;
    }

    // Names are distributed by their first and last unit. A document has few names, so that most are alone in
    // their map. The maps are ordered: no choice of names makes a lookup slow, as it could with a hash table.
    static constexpr std::size_t mapCount = 64;
    std::array<NumberMap, mapCount> numbers_;
    std::vector<std::u16string_view> names_;
};

} // namespace xml
