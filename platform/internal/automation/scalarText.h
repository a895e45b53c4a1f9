// The text of values that are neither strings nor references: one form for VariantChangeType and for whoever
// stores values as text.
#pragma once

#include "automation/variant.h"

#include <string_view>

/// Room for the longest text of a scalar.
constexpr std::size_t scalarTextSize = 64;

/// Says whether values of the type have a text here: numbers, VT_CY, VT_DATE, VT_ERROR, VT_DECIMAL and
/// VT_BOOL.
bool isScalar(VARTYPE type);

/// Writes the text of a scalar, ASCII without blanks, to `buffer` of scalarTextSize bytes and returns it.
/// Empty for a VT_DECIMAL whose scale or sign is none.
std::string_view scalarToText(const VARIANT& value, char* buffer);

/// Reads a scalar of `type` into `value`, whose former contents are not looked at and which is left alone on
/// a failure: DISP_E_TYPEMISMATCH or DISP_E_OVERFLOW. Blanks around the text are not passed over.
HRESULT scalarFromText(std::string_view text, VARTYPE type, VARIANT& value);
