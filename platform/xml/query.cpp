#include "query.h"

#include "text/utf8.h"
#include "xmlCharacters.h"

namespace xml {

namespace {

/// Encodes a text as UTF-8.
std::string encodeAll(std::u16string_view text) {
    std::string encoded(text.size() * utf8::maxBytesOfUnit, '\0');
    char* out = encoded.data();
    const char16_t* const end = text.data() + text.size();
    for (const char16_t* at = text.data(); at != end;)
        out = utf8::encode(utf16::decodeCharacter(at, end), out);
    encoded.resize(static_cast<std::size_t>(out - encoded.data()));
    return encoded;
}

} // namespace

bool isTagQuery(std::u16string_view query) {
    return !query.empty() && nameEnd(query.data()) == query.data() + query.size();
}

std::optional<std::string> nameInQuery(std::u16string_view query) {
    constexpr std::u16string_view prefix = u"./*[@name=\"";
    constexpr std::u16string_view suffix = u"\"]";
    if (query.size() < prefix.size() + suffix.size() || !query.starts_with(prefix) ||
        !query.ends_with(suffix))
        return std::nullopt;
    query.remove_prefix(prefix.size());
    query.remove_suffix(suffix.size());
    if (query.find(u'"') != std::u16string_view::npos) return std::nullopt;
    return encodeAll(query);
}

} // namespace xml
