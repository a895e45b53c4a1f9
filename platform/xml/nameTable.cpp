#include "nameTable.h"

#include "automation/bstr.h"

namespace xml {

NameTable::Number NameTable::add(std::u16string_view name) {
    NumberMap& numbers = numbers_[mapOf(name)];
    // Most names are alone in their map.
    if (const auto only = numbers.begin(); only != numbers.end() && equal(only->first, name))
        return only->second;
    const auto place = numbers.lower_bound(name);
    if (place != numbers.end() && equal(place->first, name)) return place->second;
    const auto number = static_cast<Number>(names_.size());
    const auto added = numbers.emplace_hint(place, name, number);
    names_.emplace_back(added->first);
    return number;
}

NameTable::Number NameTable::find(std::u16string_view name) const {
    const NumberMap& numbers = numbers_[mapOf(name)];
    const auto found = numbers.find(name);
    return found == numbers.end() ? none : found->second;
}

} // namespace xml
