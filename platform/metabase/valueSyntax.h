// Values in the syntax of the metabase file: parsed and formatted.
#pragma once

#include "automation/variant.h"
#include "lexer.h"
#include "valueForm.h"

#include <optional>

namespace metabase {

/// The form of the values of a property whose type is `typeWord`; std::nullopt for a word that isn't a type.
std::optional<ValueForm> formOfType(std::string_view typeWord);
/// The words that are types, as a message lists them.
std::string typeWords();

/// Parses a property's value, as IADs::GetEx returns it. False, with the lexer's error set, for other text.
bool parseValue(Lexer& lexer, ValueForm form, Variant& value);

/// The same without making the value.
bool checkValue(Lexer& lexer, ValueForm form);

/// Appends the text of a value that IADs::Put takes. E_ADS_CANT_CONVERT_DATATYPE for a value without a text
/// in this form.
HRESULT formatValue(std::string& out, ValueForm form, const VARIANT& value);

} // namespace metabase
