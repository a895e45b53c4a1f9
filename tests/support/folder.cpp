#include "tests/support/folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

std::string without(std::string text, const std::string& part, char end) {
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos;)
        text.erase(at, text.find(end, at + part.size()) - at);
    return text;
}

std::string readBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return in ? text.str() : Folder::noFile;
}

const std::string Folder::noFile = "<no file>";

Folder::Folder(Place place) {
    const bool inMemory = place == Place::inMemory && std::filesystem::is_directory("/dev/shm");
    std::string name = (inMemory ? "/dev/shm" : std::filesystem::temp_directory_path()) / "skeinKeepXXXXXX";
    if (::mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
}

Folder::~Folder() { std::filesystem::remove_all(path_); }

void Folder::write(const std::string& name, const std::string& bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
}

std::string sampleMetabase() { return readBytes(SKEINKEEP_SAMPLES "/metabase.txt"); }

std::string testData(const std::string& name) { return readBytes(SKEINKEEP_TEST_DATA "/" + name); }
