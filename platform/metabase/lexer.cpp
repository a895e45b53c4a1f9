#include "lexer.h"

#include "automation/utf8.h"

#include <algorithm>

namespace metabase {

namespace {

/// Decodes an escape at `at`, which is a backslash, and moves `at` to its end. The character may be half of a
/// surrogate pair. False, with `at` unchanged, for any other text.
bool readEscape(const char*& at, const char* end, char32_t& character) {
    if (end - at < 2) return false;
    for (const StringEscape& escape : stringEscapes) {
        if (escape.letter != at[1]) continue;
        character = static_cast<unsigned char>(escape.character);
        at += 2;
        return true;
    }
    if (at[1] != 'u' || end - at < 6) return false;
    character = 0;
    for (int i = 2; i < 6; ++i) {
        const unsigned digit = hexDigitValue(static_cast<unsigned char>(at[i]));
        if (digit == noHexDigit) return false;
        character = character << 4 | digit;
    }
    at += 6;
    return true;
}

/// Decodes one character of a string, escaped or not, and moves `at` to its end; false for text that can't be
/// in a string.
bool readCharacter(const char*& at, const char* end, char32_t& character) {
    if (*at == '\\') return readEscape(at, end, character);
    return utf8::read(at, end, character) && !isControl(character);
}

bool isBareName(std::u16string_view name) {
    return !name.empty() && unitIsIn(name.front(), nameStart) &&
           std::ranges::all_of(name, [](char16_t unit) { return unitIsIn(unit, nameMore); });
}

void appendUtf8(std::string& out, char32_t character) {
    char bytes[utf8::maxBytesOfCharacter];
    out.append(bytes, utf8::encode(character, bytes));
}

} // namespace

void decodeString(const StringToken& token, char16_t* out) {
    const char* at = token.begin;
    if (static_cast<std::size_t>(token.end - at) == token.units) {
        widen({at, token.units}, out);
        return;
    }
    while (at != token.end) {
        char32_t character = 0;
        if (byteIsIn(*at, plain)) {
            character = static_cast<unsigned char>(*at++);
        } else {
            readCharacter(at, token.end, character);
        }
        if (character >= 0x10000) {
            *out++ = highHalfOf(character);
            *out++ = lowHalfOf(character);
        } else {
            *out++ = static_cast<char16_t>(character);
        }
    }
}

bool Lexer::name(std::u16string_view& name) {
    if (nextIs('"')) return string(name);
    const char* const begin = at_;
    if (begin == end_ || !byteIsIn(*begin, nameStart)) return fail("expected a name");
    const char* at = begin;
    while (at != end_ && byteIsIn(*at, nameMore)) ++at;
    if (at != end_ && !byteIsIn(*at, wordEnd)) return fail("expected a name");
    at_ = at;
    decoded_.resize(static_cast<std::size_t>(at - begin));
    widen(textSince(begin), decoded_.data());
    name = decoded_;
    return true;
}

bool Lexer::string(std::u16string_view& text) {
    StringToken token{};
    if (!stringToken(token)) return false;
    decoded_.resize(token.units);
    decodeString(token, decoded_.data());
    text = decoded_;
    return true;
}

bool Lexer::stringToken(StringToken& token) {
    if (!optionalSymbol('"')) return fail("expected a string in double quotes");
    token.begin = at_;
    token.units = 0;
    for (;;) {
        const char* const start = at_;
        while (at_ != end_ && byteIsIn(*at_, plain)) ++at_;
        token.units += static_cast<std::size_t>(at_ - start);
        if (at_ == end_) return fail("a string without its closing quote");
        if (*at_ == '"') break;
        char32_t character = 0;
        if (!readCharacter(at_, end_, character)) {
            return fail("a string with a wrong escape, a control character or no valid UTF-8");
        }
        token.units += character >= 0x10000 ? 2 : 1;
    }
    token.end = at_++;
    return true;
}

void formatHex(std::string& out, unsigned number, int digits) {
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
        out.push_back("0123456789ABCDEF"[number >> shift & 0xF]);
}

void formatName(std::string& out, std::u16string_view name) {
    if (!isBareName(name)) return formatString(out, name);
    for (const char16_t unit : name) out.push_back(static_cast<char>(unit));
}

void formatString(std::string& out, std::u16string_view text) {
    out.push_back('"');
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (unitIsIn(unit, plain)) {
            out.push_back(static_cast<char>(unit));
        } else if (const auto* escape = std::ranges::find(stringEscapes, unit, &StringEscape::character);
                   escape != std::end(stringEscapes)) {
            out.push_back('\\');
            out.push_back(escape->letter);
        } else if (isHighHalf(unit) && i + 1 < text.size() && isLowHalf(text[i + 1])) {
            appendUtf8(out, characterOf(unit, text[++i]));
        } else if (isHighHalf(unit) || isLowHalf(unit) || needsEscape(unit)) {
            out += "\\u";
            formatHex(out, unit, 4);
        } else {
            appendUtf8(out, unit);
        }
    }
    out.push_back('"');
}

} // namespace metabase
