#include "com/nameTable.h"

NameTable::Number NameTable::find(std::u16string_view name) const {
    const auto known = numbers_.find(name);
    return known == numbers_.end() ? none : known->second;
}

NameTable::Number NameTable::add(std::u16string_view name) {
    if (const Number known = find(name); known != none) return known;
    const auto number = static_cast<Number>(names_.size());
    names_.emplace_back(numbers_.emplace(name, number).first->first);
    return number;
}
