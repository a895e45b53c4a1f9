#include "query.h"

#include "automation/utf8.h"
#include "xmlCharacters.h"

namespace xml {

namespace {

/// A unit must stand behind the text.
std::string encodeAll(std::u16string_view text) {
    std::string encoded(text.size() * utf8::maxBytesOfUnit, '\0');
    char* out = encoded.data();
    const char16_t* const end = text.data() + text.size();
    for (const char16_t* at = text.data(); at < end;) {
        const char32_t character = charAt(at);
        out = utf8::encode(character, out);
        at += unitsOf(character);
    }
    encoded.resize(static_cast<std::size_t>(out - encoded.data()));
    return encoded;
}

} // namespace

bool isTagQuery(std::u16string_view query) {
    return !query.empty() && nameEnd(query.data()) == query.data() + query.size();
}

std::optional<std::string> nameInQuery(std::u16string_view query) {
    constexpr std::u16string_view ahead = u"./*[@name=\"";
    constexpr std::u16string_view behind = u"\"]";
    if (query.size() < ahead.size() + behind.size() || !query.starts_with(ahead) || !query.ends_with(behind))
        return std::nullopt;
    query.remove_prefix(ahead.size());
    query.remove_suffix(behind.size());
    if (query.find(u'"') != std::u16string_view::npos) return std::nullopt;
    return encodeAll(query);
}

} // namespace xml
