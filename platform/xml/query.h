// The two forms of query that a document understands.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace xml {

/// Says whether a query is a tag and nothing else. A 0 must stand behind it.
bool isTagQuery(std::u16string_view query);

/// The text, in UTF-8, of the query ./*[@name="text"]; nothing for any other query.
std::optional<std::string> nameInQuery(std::u16string_view query);

} // namespace xml
