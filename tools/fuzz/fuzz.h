// What the fuzz targets share: each keeps its promises for every input.
#pragma once

#include "tests/support/processes.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

inline void require(bool kept) {
    if (!kept) std::abort();
}

inline std::string bytesOf(const std::uint8_t* data, std::size_t size) { return {data, data + size}; }

/// The working directory of a target from its first run on.
inline const Folder& workingFolder() {
    static const Folder folder(Folder::Place::inMemory);
    std::filesystem::current_path(folder.path());
    return folder;
}
