// Runs a fuzz target over the files of folders, once each. Options are the fuzzer's own.

#include "tools/fuzz/fuzz.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    for (const char* argument : std::vector<const char*>(argv + 1, argv + argc)) {
        if (*argument == '-') continue;
        for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::absolute(argument)))
            files.push_back(entry.path());
    }
    for (const auto& file : files) {
        (void)std::fprintf(stderr, "%s\n", file.c_str());
        std::ifstream in(file, std::ios::binary);
        const std::vector<std::uint8_t> bytes(std::istreambuf_iterator<char>(in), {});
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    return files.empty() ? 1 : 0;
}
