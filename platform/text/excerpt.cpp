#include "text/excerpt.h"

#include "text/characters.h"
#include "text/hex.h"
#include "text/utf8.h"

namespace {

constexpr std::size_t longest = 60;

void appendHex(std::string& out, unsigned byte) {
    out += "\\x";
    formatHex(out, byte, 2);
}

void append(std::string& out, char32_t character) {
    if (isControl(character)) return appendHex(out, character);
    out.push_back(character < 0x100 ? static_cast<char>(character) : '?');
}

} // namespace

std::string excerpt(std::u16string_view text) {
    std::string out;
    for (const char16_t unit : text.substr(0, longest)) append(out, unit);
    return text.size() > longest ? out + "..." : out;
}

std::string excerpt(std::string_view bytes) {
    std::string out;
    const char* at = bytes.data();
    const char* const end = at + bytes.size();
    for (std::size_t count = 0; at != end && count < longest; ++count) {
        char32_t character = 0;
        if (utf8::decodeCharacter(at, end, character)) {
            append(out, character);
        } else {
            appendHex(out, static_cast<unsigned char>(*at++));
        }
    }
    return at != end ? out + "..." : out;
}
