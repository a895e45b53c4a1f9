// Small metabases at random: every kind of property, every kind of value that comes back from a backup, and
// texts of everything that the backup file can carry.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Random numbers, the same wherever the program runs.
class Random {
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    std::uint64_t bits() { return engine_(); }
    std::size_t below(std::size_t limit) { return engine_() % limit; }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    template <class T, std::size_t size> const T& of(const T (&choices)[size]) {
        return choices[below(size)];
    }

private:
    std::mt19937_64 engine_;
};

/// A schema at random, and trees that obey it.
class RandomMetabase {
public:
    /// Every tree takes further numbers from `random`, which must last as long.
    explicit RandomMetabase(Random& random);

    /// The text of a metabase file.
    std::string tree();

private:
    void define(const std::string& name, const char* type);
    std::string someProperties();
    std::string values();

    Random& random_;
    std::string schema_ = "metabase 1\n";
    /// Names, as they are written, and types.
    std::vector<std::pair<std::string, const char*>> properties_;
    /// Names, and whether objects of the class can have children.
    std::vector<std::pair<const char*, bool>> classes_;
    std::u16string names_[4];
};
