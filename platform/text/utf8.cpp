#include "text/utf8.h"

#include "text/utf16.h"

namespace utf8 {

char* encode(char32_t character, char* out) {
    const auto put = [&out](char32_t byte) { *out++ = static_cast<char>(byte); };
    if (character < 0x80) {
        put(character);
        return out;
    }
    if (character < 0x800) {
        put(0xC0 | character >> 6);
    } else if (character < 0x10000) {
        put(0xE0 | character >> 12);
    } else {
        put(0xF0 | character >> 18);
        put(0x80 | (character >> 12 & 0x3F));
    }
    if (character >= 0x800) put(0x80 | (character >> 6 & 0x3F));
    put(0x80 | (character & 0x3F));
    return out;
}

bool decodeCharacter(const char*& at, const char* end, char32_t& character) {
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
    if (character < shortest[more] || character > 0x10FFFF || utf16::isHalf(character)) return false;
    at += more + 1;
    return true;
}

std::uint32_t countUnits(std::string_view text) {
    std::uint32_t units = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        units += (byte < 0x80 || byte >= 0xC0 ? 1u : 0u) + (byte >= 0xF0 ? 1u : 0u);
    }
    return units;
}

char16_t* decode(std::string_view text, char16_t* out) {
    const char* at = text.data();
    const char* const end = at + text.size();
    const auto next = [&at] { return static_cast<unsigned char>(*at++); };
    while (at != end) {
        const unsigned lead = next();
        if (lead < 0x80) {
            *out++ = static_cast<char16_t>(lead);
            continue;
        }
        const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
        char32_t character = lead & (0x3Fu >> more);
        for (int i = 0; i < more; ++i) character = character << 6 | (next() & 0x3Fu);
        out = utf16::encode(character, out);
    }
    return out;
}

} // namespace utf8
