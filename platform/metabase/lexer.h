// Takes a line of the metabase file to pieces: words, names, strings and values.
#pragma once

#include "automation/variant.h"

#include <string>
#include <string_view>
#include <vector>

/// How the values of a property are written: as plain values and lists of them, or as one of the objects.
enum class ValueForm { plain, mimeMap, ipSecurity, opaque };

/// A place in a line. Each call passes over blanks, then takes what it names and stands behind it, or returns
/// false and leaves a description in error(). The line must outlive the reader.
class LineReader {
public:
    LineReader() = default;
    explicit LineReader(std::string_view line) { start(line); }

    /// Goes to the beginning of a line.
    void start(std::string_view line) {
        at_ = line.data();
        end_ = at_ + line.size();
    }

    bool atEnd();
    /// What follows, blanks passed over.
    std::string_view rest();
    /// Where the reader stands in the line.
    const char* place() const { return at_; }

    /// Takes a word of bare characters, as it stands; empty if there is none.
    std::string_view word();
    /// Takes the symbol, which must be the next one.
    bool symbol(char expected);
    /// Takes the symbol if it is the next one; leaves no error.
    bool optional(char expected);
    /// Takes the text if it is what comes next, up to a blank; leaves no error.
    bool optionalWord(std::string_view text);
    /// A name, bare or as a string. The text is good until the next call of name or string.
    bool name(std::u16string_view& name);
    /// A string in quotes. The text is good until the next call of name or string.
    bool string(std::u16string_view& text);

    /// A property's value. With an `out` it is made as IADs::GetEx gives it, without one it is only checked.
    bool value(ValueForm form, Variant* out);

    const std::string& error() const { return error_; }
    bool fail(std::string_view message) {
        error_ = message;
        return false;
    }

private:
    struct StringSpan {
        const char* begin;
        const char* end;
        std::size_t units;
    };

    void passBlanks();
    bool scanString(StringSpan& span);
    bool bstr(Bstr* out);
    bool scalar(Variant* out);
    bool bytes(std::string_view digits, Variant* out);
    bool list(Variant* out);
    bool mimeMap(Variant* out);
    bool ipSecurity(Variant* out);
    bool opaque(Variant* out);
    bool bracket(char open, std::string_view head);
    template <class Item> bool items(char close, Item item);

    const char* at_ = nullptr;
    const char* end_ = nullptr;
    std::string error_;
    std::u16string decoded_;
};

/// Whether LineReader::name takes a name as it is, without quotes.
bool isBareName(std::u16string_view name);

/// Moves values into a one-dimensional array from lower bound 0.
Variant arrayOf(std::vector<Variant>& elements);
