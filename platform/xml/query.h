// The two forms of query that a document accepts.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace xml {

/// Whether a query is a tag and nothing else. There must be a 0 after it.
bool isTagQuery(std::u16string_view query);

/// The text, in UTF-8, of the query ./*[@name="text"]; std::nullopt for any other query.
std::optional<std::string> nameInQuery(std::u16string_view query);

} // namespace xml
