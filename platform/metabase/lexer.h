// The tokens of a line of the metabase file: words, symbols, names and strings, parsed by Lexer and formatted
// by formatName and formatString.
#pragma once

#include "lineCharacters.h"

#include <string>
#include <string_view>

namespace metabase {

/// A string between its quotes, still escaped.
struct StringToken {
    const char* begin;
    const char* end;
    /// The number of 16-bit units that it decodes to.
    std::size_t units;
};

/// Decodes a string to token.units units at `out`.
void decodeString(const StringToken& token, char16_t* out);

/// A position in a line. Each call skips blanks, parses the token of its name and moves to the token's
/// end. Where the token doesn't follow, it returns false and sets error(). The line must outlive the lexer.
class Lexer {
public:
    Lexer() = default;
    explicit Lexer(std::string_view line) { start(line); }

    /// Moves to the beginning of a line.
    void start(std::string_view line) {
        at_ = line.data();
        end_ = at_ + line.size();
    }

    /// Whether only blanks follow.
    bool atEnd() {
        skipBlanks();
        return at_ == end_;
    }
    /// The position, after blanks.
    const char* tokenStart() {
        skipBlanks();
        return at_;
    }
    /// The text from a position up to this one.
    std::string_view textSince(const char* start) const {
        return {start, static_cast<std::size_t>(at_ - start)};
    }
    /// Whether the next token begins with `c`.
    bool nextIs(char c) {
        skipBlanks();
        return at_ != end_ && *at_ == c;
    }

    /// Returns the bytes up to a blank or a symbol; empty if there are none.
    std::string_view word() {
        const char* const begin = tokenStart();
        while (at_ != end_ && !byteIsIn(*at_, wordEnd)) ++at_;
        return textSince(begin);
    }
    /// Parses a word that must be `expected`.
    bool keyword(std::string_view expected) {
        const std::string_view found = word();
        return found == expected || failExpected(expected, found);
    }
    /// Parses the symbol if it follows; sets no error.
    bool optionalSymbol(char expected) {
        if (!nextIs(expected)) return false;
        ++at_;
        return true;
    }
    bool symbol(char expected) { return optionalSymbol(expected) || failSymbol(expected); }
    /// Parses items with commas between them, each by a call of `item`, up to the closing bracket.
    template <class Item> bool items(char close, Item item) {
        if (optionalSymbol(close)) return true;
        do {
            if (!atEnd() && !item()) return false;
        } while (optionalSymbol(','));
        return optionalSymbol(close) || failItems(close);
    }
    /// Parses a name if it follows as `text`; sets no error.
    bool optionalName(std::string_view text) {
        skipBlanks();
        const std::string_view rest(at_, static_cast<std::size_t>(end_ - at_));
        if (!rest.starts_with(text)) return false;
        if (rest.size() > text.size() && !byteIsIn(rest[text.size()], wordEnd)) return false;
        at_ += text.size();
        return true;
    }
    /// Parses a name, bare or as a string. `name` is valid until the next call of name or string.
    /// `what` is what the error calls it.
    bool name(std::u16string_view& name, std::string_view what);
    /// Parses a string in quotes. `text` is valid until the next call of name or string.
    bool string(std::u16string_view& text);
    /// The same without decoding it.
    bool stringToken(StringToken& token);

    const std::string& error() const { return error_; }
    /// Sets error() and returns false.
    bool fail(std::string_view message) {
        error_ = message;
        return false;
    }
    /// Fails: `what` was expected, and not `found` or, if that is empty, the next token.
    bool failExpected(std::string_view what, std::string_view found = {});
    /// The next token, as a message quotes it.
    std::string nextToken();

private:
    bool failSymbol(char expected);
    bool failItems(char close);
    bool failCharacter(const char* at);
    bool failUnclosed(const char* quote);
    void skipBlanks() { skip(blank); }
    /// Moves to the next byte that is in none of the classes.
    void skip(unsigned classes) {
        const char* at = at_;
        while (at != end_ && byteIsIn(*at, classes)) ++at;
        at_ = at;
    }

    const char* at_ = nullptr;
    const char* end_ = nullptr;
    std::string error_;
    std::u16string decoded_;
};

/// A name and a string as a message quotes them: as the file has them, shortened.
std::string quotedName(std::u16string_view name);
std::string quotedString(std::u16string_view text);

/// Appends a name, without quotes if Lexer::name then parses it.
void formatName(std::string& out, std::u16string_view name);
/// Appends a string in quotes.
void formatString(std::string& out, std::u16string_view text);

} // namespace metabase
