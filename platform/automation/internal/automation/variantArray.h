// One-dimensional arrays of VARIANTs: made of their elements, and read as a span of them.
#pragma once

#include "automation/safearray.h"

#include <optional>
#include <span>
#include <vector>

/// The elements of a one-dimensional array of VARIANTs, which keeps them; std::nullopt for any other value.
inline std::optional<std::span<const VARIANT>> elementsOf(const VARIANT& value) {
    if (value.vt != (VT_ARRAY | VT_VARIANT) || SafeArrayGetDim(value.parray) != 1) return std::nullopt;
    return std::span(static_cast<const VARIANT*>(value.parray->pvData), value.parray->rgsabound[0].cElements);
}

/// An array of the elements, from lower bound 0.
inline Variant arrayOf(std::vector<Variant> elements) {
    SafeArray array(elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) array[i] = elements[i].detach();
    return Variant::ofArray(array.detach());
}
