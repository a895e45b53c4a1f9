#include "com/nameTable.h"

#include <algorithm>
#include <cstring>
#include <unistd.h>

namespace {

constexpr std::uint64_t prime = (std::uint64_t{1} << 61) - 1;

/// The product of two factors of at most 62 bits, reduced modulo the prime to such a number.
std::uint64_t multiply(std::uint64_t left, std::uint64_t right) {
    __extension__ using Wide = unsigned __int128;
    const Wide product = Wide{left} * right;
    const auto sum =
        (static_cast<std::uint64_t>(product) & prime) + static_cast<std::uint64_t>(product >> 61);
    return sum >= prime ? sum - prime : sum;
}

std::uint64_t randomPoint() {
    std::uint64_t bits = 0;
    (void)::getentropy(&bits, sizeof bits); // Lookups find the same without it.
    return bits % prime;
}

} // namespace

bool NameTable::Same::operator()(std::u16string_view left, std::u16string_view right) const {
    return left.size() == right.size() &&
           std::memcmp(left.data(), right.data(), left.size() * sizeof(char16_t)) == 0;
}

/// The value of a polynomial at a random point, modulo a prime; its coefficients are the length and the
/// units, three at a time. Two names of n units have the same hash with a probability below n / 2^61.
std::size_t NameTable::SeededHash::operator()(std::u16string_view name) const {
    static const std::uint64_t point = randomPoint();
    constexpr std::size_t unitsAtATime = 3;
    std::uint64_t hash = name.size();
    while (!name.empty()) {
        const std::size_t count = std::min(name.size(), unitsAtATime);
        std::uint64_t units = 0;
        std::memcpy(&units, name.data(), count * sizeof(char16_t));
        hash = multiply(hash, point) + units;
        name.remove_prefix(count);
    }
    return multiply(hash, point);
}

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
