#include "lexer.h"

#include "text/codePage.h"
#include "text/excerpt.h"
#include "text/hex.h"
#include "text/utf16.h"
#include "text/utf8.h"

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
    return utf8::decodeCharacter(at, end, character) && !isControl(character);
}

bool isBareName(std::u16string_view name) {
    return !name.empty() && unitIsIn(name.front(), nameStart) &&
           std::ranges::all_of(name, [](char16_t unit) { return unitIsIn(unit, nameMore); });
}

void appendUtf8(std::string& out, char32_t character) {
    char bytes[utf8::maxBytesOfCharacter];
    out.append(bytes, utf8::encode(character, bytes));
}

/// A token as a message quotes it. A string that is shortened keeps its closing quote.
std::string quotedToken(std::string_view token) {
    std::string quoted = excerpt(token);
    if (quoted.starts_with('"') && quoted.ends_with("...")) quoted.push_back('"');
    return quoted;
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
        out = utf16::encode(character, out);
    }
}

bool Lexer::name(std::u16string_view& name, std::string_view what) {
    if (nextIs('"')) return string(name);
    const char* const begin = at_;
    if (begin == end_ || !byteIsIn(*begin, nameStart)) return failExpected(what);
    const char* at = begin;
    while (at != end_ && byteIsIn(*at, nameMore)) ++at;
    if (at != end_ && !byteIsIn(*at, wordEnd)) return failExpected(what);
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
    if (!optionalSymbol('"')) return failExpected("a string in double quotes");
    token.begin = at_;
    token.units = 0;
    for (;;) {
        const char* const start = at_;
        skip(plain);
        token.units += static_cast<std::size_t>(at_ - start);
        if (at_ == end_) return failUnclosed(token.begin - 1);
        if (*at_ == '"') break;
        char32_t character = 0;
        const char* const at = at_;
        if (!readCharacter(at_, end_, character)) return failCharacter(at);
        token.units += character >= 0x10000 ? 2 : 1;
    }
    token.end = at_++;
    return true;
}

bool Lexer::failExpected(std::string_view what, std::string_view found) {
    return fail("expected " + std::string(what) + ", not " + (found.empty() ? nextToken() : excerpt(found)));
}

std::string Lexer::nextToken() {
    if (atEnd()) return "the end of the line";
    const char* const begin = at_;
    if (word().empty()) {
        StringToken token{};
        if (*begin != '"' || !stringToken(token)) at_ = begin + 1;
    }
    return quotedToken(textSince(begin));
}

bool Lexer::failSymbol(char expected) { return failExpected(std::string("\"") + expected + '"'); }

/// Fails after an item of a list in brackets.
bool Lexer::failItems(char close) {
    if (!atEnd()) return failExpected(std::string("\",\" or \"") + close + '"');
    failSymbol(close);
    return fail(error_ + "; a list is one line");
}

/// Fails for the text at `at`, which can't be in a string.
bool Lexer::failCharacter(const char* at) {
    if (*at == '\\') {
        const std::string_view rest(at, static_cast<std::size_t>(end_ - at));
        const std::size_t brace = rest.find('}');
        if (rest.starts_with("\\u{") && brace != std::string_view::npos) {
            return fail(excerpt(rest.substr(0, brace + 1)) +
                        " is no escape; write the character itself, or its 16-bit units as \\uXXXX");
        }
        const bool isUnit = rest.starts_with("\\u");
        return fail(excerpt(rest.substr(0, isUnit ? 6 : 2)) + " is no escape; write a backslash as \\\\");
    }
    std::string digits;
    const unsigned byte = static_cast<unsigned char>(*at);
    char32_t character = 0;
    if (!utf8::decodeCharacter(at, end_, character)) {
        formatHex(digits, byte, 2);
        return fail("the byte " + digits + " is no UTF-8; save the file in UTF-8");
    }
    formatHex(digits, character, 4);
    return fail("a control character in a string; write it as \\u" + digits);
}

/// Fails for a string that begins at `quote`.
bool Lexer::failUnclosed(const char* quote) {
    const std::string_view text = textSince(quote);
    return fail("the string " + excerpt(text) + " has no closing quote" +
                (text.ends_with("\\\"") ? "; \\\" is a quote inside it, write a backslash as \\\\" : ""));
}

std::string quotedName(std::u16string_view name) {
    std::string token;
    formatName(token, name);
    return quotedToken(token);
}

std::string quotedString(std::u16string_view text) {
    std::string token;
    formatString(token, text);
    return quotedToken(token);
}

void formatName(std::string& out, std::u16string_view name) {
    if (!isBareName(name)) return formatString(out, name);
    for (const char16_t unit : name) out.push_back(static_cast<char>(unit));
}

void formatString(std::string& out, std::u16string_view text) {
    out.push_back('"');
    const char16_t* const end = text.data() + text.size();
    for (const char16_t* at = text.data(); at != end;) {
        const char32_t c = utf16::decodeCharacter(at, end);
        if (c < 0x80 && byteIsIn(static_cast<char>(c), plain)) {
            out.push_back(static_cast<char>(c));
        } else if (const auto* escape = std::ranges::find(stringEscapes, c, &StringEscape::character);
                   escape != std::end(stringEscapes)) {
            out.push_back('\\');
            out.push_back(escape->letter);
        } else if (utf16::isHalf(c) || needsEscape(c)) {
            out += "\\u";
            formatHex(out, c, 4);
        } else {
            appendUtf8(out, c);
        }
    }
    out.push_back('"');
}

} // namespace metabase
