// NameTable: each name of a document once, under a number.
#pragma once

#include "automation/bstr.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace xml {

/// Numbers count from 0 in the order in which names were first met.
class NameTable {
public:
    using Number = std::uint32_t;
    static constexpr Number none = UINT32_MAX;

    /// The number of a name, a new one for a new name.
    Number enter(std::u16string_view name) {
        Recent& recent = recent_[slotOf(name, recent_.size())];
        if (!equal(recent.name, name)) recent = enterSlowly(name);
        return recent.number;
    }
    /// The number of a name, none if the table lacks it.
    Number find(std::u16string_view name) const;
    std::u16string_view operator[](Number number) const { return names_[number]; }

private:
    struct Recent {
        std::u16string_view name;
        Number number = none;
    };

    Recent enterSlowly(std::u16string_view name);

    // No choice of names makes an ordered map slow, as it does a hash table. The few names that come again
    // and again are found ahead of it, among the recent ones.
    std::map<std::u16string, Number, std::less<>> numbers_;
    std::vector<std::u16string_view> names_;
    std::array<Recent, 256> recent_;
};

} // namespace xml
