// Loads a file with pugixml, for comparison: loadPugixml FILE [latin1]

#include <cstring>
#include <pugixml.hpp>

int main(int argc, char** argv) {
    if (argc < 2) return 1;
    const bool latin1 = argc > 2 && std::strcmp(argv[2], "latin1") == 0;
    pugi::xml_document document;
    const pugi::xml_encoding encoding = latin1 ? pugi::encoding_latin1 : pugi::encoding_utf8;
    return document.load_file(argv[1], pugi::parse_default, encoding) ? 0 : 2;
}
