// Runs a fuzz target over files and over the files of folders, once each. Options are the fuzzer's own.

#include "tests/fuzz/fuzz.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

std::vector<std::filesystem::path> filesOf(const char* argument) {
    const std::filesystem::path path = std::filesystem::absolute(argument);
    if (!std::filesystem::is_directory(path)) return {path};
    return {std::filesystem::directory_iterator(path), {}};
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    for (const char* argument : std::vector<const char*>(argv + 1, argv + argc)) {
        if (*argument == '-') continue;
        for (auto& file : filesOf(argument)) files.push_back(std::move(file));
    }
    if (files.empty()) return 1;
    LLVMFuzzerTestOneInput(nullptr, 0);
    for (const auto& file : files) {
        (void)std::fprintf(stderr, "%s\n", file.c_str());
        std::ifstream in(file, std::ios::binary);
        if (!in) return 1;
        const std::string bytes(std::istreambuf_iterator<char>(in), {});
        const std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());
        LLVMFuzzerTestOneInput(exact.data(), exact.size());
    }
    return 0;
}
