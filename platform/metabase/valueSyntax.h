// Values as the metabase file writes them.
#pragma once

#include "lexer.h"

#include <span>

/// The word that stands ahead of a value's text, and ahead of the text of its property's type.
struct TypeWord {
    std::string_view word;
    VARTYPE type;
};

/// The types whose values are written as a word, a colon and the value's text.
std::span<const TypeWord> typeWords();

/// How the values of a property of the type `word` are written; false for a word that is no type.
bool findForm(std::string_view word, ValueForm& form);

/// Appends a name as bare as it may be, or a string in quotes.
void writeName(std::string& out, std::u16string_view name);
void writeString(std::string& out, std::u16string_view text);

/// Appends a value, given as to IADs::Put. E_ADS_CANT_CONVERT_DATATYPE for one that has no text in this form.
HRESULT writeValue(std::string& out, ValueForm form, const VARIANT& value);
