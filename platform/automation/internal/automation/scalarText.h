// Text of values that are neither strings nor references, formatted and parsed in one form: for
// VariantChangeType and for the metabase file.
#pragma once

#include "automation/variant.h"

#include <string_view>

/// The size in bytes of a buffer for the longest text of a scalar.
constexpr std::size_t scalarTextSize = 64;

/// Whether values of the type have a text here: numbers, VT_CY, VT_DATE, VT_ERROR, VT_DECIMAL and VT_BOOL.
bool isScalar(VARTYPE type);

/// Formats a scalar into `buffer` of scalarTextSize bytes and returns the text: ASCII without blanks. Empty
/// for a VT_DECIMAL with an invalid scale or sign.
std::string_view formatScalar(const VARIANT& value, char* buffer);

/// Parses a scalar of `type` from the whole of `text` into `value`, without freeing its former contents. On a
/// failure, DISP_E_TYPEMISMATCH or DISP_E_OVERFLOW, `value` is unchanged.
HRESULT parseScalar(std::string_view text, VARTYPE type, VARIANT& value);
