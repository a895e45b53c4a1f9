// The seed of the random tests.
#pragma once

#include <cstdlib>
#include <iostream>
#include <random>

/// The seed of a run, which is printed; the environment variable SKEINKEEP_SEED gives one anew.
inline std::uint64_t seed() {
    const char* given = std::getenv("SKEINKEEP_SEED");
    const std::uint64_t chosen =
        given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device()();
    std::cout << "SKEINKEEP_SEED=" << chosen << std::endl;
    return chosen;
}
