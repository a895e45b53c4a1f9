#include "xmlDeclaration.h"

#include "xmlCharacters.h"

#include <algorithm>

namespace xml {

namespace {

bool isDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }
bool isLetter(char16_t unit) { return (unit | 0x20) >= u'a' && (unit | 0x20) <= u'z'; }

bool isVersion(std::u16string_view text) {
    return text.size() > 2 && text.starts_with(u"1.") && std::ranges::all_of(text.substr(2), isDigit);
}

bool isEncoding(std::u16string_view text) {
    return !text.empty() && isLetter(text.front()) && std::ranges::all_of(text, [](char16_t unit) {
        return isLetter(unit) || isDigit(unit) || unit == u'.' || unit == u'_' || unit == u'-';
    });
}

bool isYesOrNo(std::u16string_view text) { return text == u"yes" || text == u"no"; }

/// Whether there was any.
bool skipWhite(std::u16string_view& text) {
    const auto end = std::ranges::find_if_not(text, isWhite);
    const auto length = static_cast<std::size_t>(end - text.begin());
    text.remove_prefix(length);
    return length > 0;
}

bool skip(std::u16string_view& text, std::u16string_view markup) {
    if (!text.starts_with(markup)) return false;
    text.remove_prefix(markup.size());
    return true;
}

/// Removes white space, a name, an equals sign and a value in quotes: all of them or nothing.
bool skipDeclared(std::u16string_view& text, std::u16string_view name, bool (*isValid)(std::u16string_view)) {
    std::u16string_view rest = text;
    if (!skipWhite(rest) || !skip(rest, name)) return false;
    skipWhite(rest);
    if (!skip(rest, u"=")) return false;
    skipWhite(rest);
    if (!rest.starts_with(u'"') && !rest.starts_with(u'\'')) return false;
    const std::size_t length = rest.substr(1).find(rest.front());
    if (length == std::u16string_view::npos || !isValid(rest.substr(1, length))) return false;
    text = rest.substr(length + 2);
    return true;
}

} // namespace

bool skipXmlDeclaration(std::u16string_view& text) {
    std::u16string_view rest = text;
    if (!skip(rest, u"<?xml") || rest.empty() || !isWhite(rest.front())) return true;
    if (!skipDeclared(rest, u"version", isVersion)) return false;
    skipDeclared(rest, u"encoding", isEncoding);
    skipDeclared(rest, u"standalone", isYesOrNo);
    skipWhite(rest);
    text = rest;
    return skip(text, u"?>");
}

} // namespace xml
