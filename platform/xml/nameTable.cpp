#include "platform/xml/nameTable.h"

namespace xml {

NameTable::Number NameTable::enterSlowly(std::u16string_view name) {
    const auto [entry, isNew] =
        numbers_.try_emplace(std::u16string(name), static_cast<Number>(names_.size()));
    if (isNew) names_.emplace_back(entry->first);
    return entry->second;
}

NameTable::Number NameTable::find(std::u16string_view name) const {
    if (name.empty()) return none;
    const Number recent = recent_[slotOf(name)];
    if (isNumber(recent, name)) return recent;
    const auto entry = numbers_.find(name);
    return entry == numbers_.end() ? none : entry->second;
}

} // namespace xml
