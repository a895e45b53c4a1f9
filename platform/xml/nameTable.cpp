#include "nameTable.h"

namespace xml {

NameTable::Recent NameTable::enterSlowly(std::u16string_view name) {
    const auto [entry, isNew] =
        numbers_.try_emplace(std::u16string(name), static_cast<Number>(names_.size()));
    if (isNew) names_.emplace_back(entry->first);
    return {names_[entry->second], entry->second};
}

NameTable::Number NameTable::find(std::u16string_view name) const {
    if (name.empty()) return none;
    const Recent& recent = recent_[slotOf(name, recent_.size())];
    if (equal(recent.name, name)) return recent.number;
    const auto entry = numbers_.find(name);
    return entry == numbers_.end() ? none : entry->second;
}

} // namespace xml
