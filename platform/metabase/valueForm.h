// The forms in which the values of properties are written.
#pragma once

#include <cstdint>

namespace metabase {

/// Plain values and lists of them, or one of the objects.
enum class ValueForm : std::uint8_t { plain, mimeMap, ipSecurity, opaque };

} // namespace metabase
