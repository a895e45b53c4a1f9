#include "platform/metabase/utf8.h"

bool readUtf8(const char*& at, const char* end, char32_t& character) {
    const auto byte = [at](int index) { return static_cast<unsigned char>(at[index]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) {
        character = lead;
        ++at;
        return true;
    }
    const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4 || end - at <= more) return false;
    character = lead & (0x3Fu >> more);
    for (int i = 1; i <= more; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return false;
        character = character << 6 | (byte(i) & 0x3Fu);
    }
    constexpr char32_t shortest[] = {0, 0x80, 0x800, 0x10000};
    if (character < shortest[more] || character > 0x10FFFF || (character >= 0xD800 && character < 0xE000))
        return false;
    at += more + 1;
    return true;
}

void appendUtf8(std::string& out, char32_t character) {
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0 | character >> 6);
        put(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        put(0xE0 | character >> 12);
        put(0x80 | (character >> 6 & 0x3F));
        put(0x80 | (character & 0x3F));
    } else {
        put(0xF0 | character >> 18);
        put(0x80 | (character >> 12 & 0x3F));
        put(0x80 | (character >> 6 & 0x3F));
        put(0x80 | (character & 0x3F));
    }
}
