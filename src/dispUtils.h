// Comparison and printing of automation values, and the small services on them that every handler needs.
#pragma once

#include "automation/safearray.h"
#include "directory/adsi.h"
#include "skeinKeep.h"

#include <limits>
#include <string>

/// Compares two values: 0 the same, 1 different, negative on a failure: E_UNEXPECTED for types with VT_BYREF
/// or VT_VECTOR and for arrays of several dimensions. Values of different types differ, as do currencies,
/// dates and all other types that have no comparison here, even from themselves.
Status cmpVariants(const VARIANT& a, const VARIANT& b);

/// The same for two arrays: equal bounds, and elements that are the same one by one.
Status cmpSafeArrays(const VARIANT& a, const VARIANT& b);

/// Prints a value in readable form, without a line end. E_UNEXPECTED as for cmpVariants.
Status printVariant(OutStream& stream, const VARIANT& value);

/// Prints text as it stands between two tags. Null prints nothing. Always returns 0.
Status printXmlEscaped(OutStream& stream, BSTR text);

/// A text as it stands in an attribute's value, for %S: without `&`, `<` and `"`, and with a reference for
/// each character from U+0100 up. Borrows the text, which ends at its first NUL.
class XmlAttributeText {
public:
    explicit XmlAttributeText(const OLECHAR* text);
    operator std::u16string_view() const { return escaped_.empty() ? text_ : escaped_; }

private:
    void escape(const OLECHAR* at);

    std::u16string_view text_;
    std::u16string escaped_;
};

/// Makes narrow text wide, through the thread's ANSI code page. Reports nothing.
Status ansiToWide(std::string_view text, Bstr& wide);

/// The bounds of an array's first dimension.
struct ArrayBounds {
    LONG lower = 0;
    LONG upper = -1;
};

/// DISP_E_TYPEMISMATCH for a value that is no array. Reports nothing.
Status getArrayBounds(const VARIANT& array, ArrayBounds& bounds);

/// A copy of the element at an index of a one-dimensional array; bytes come as VT_UI1. DISP_E_BADINDEX for an
/// index out of bounds and for an array of more dimensions. Reports nothing.
Status getArrayElement(const VARIANT& array, LONG index, Variant& element);

/// Queries the object in a value for the interface T; DISP_E_TYPEMISMATCH for a value that holds none.
/// Reports nothing.
template <class T> Status queryObject(const VARIANT& value, ComPtr<T>& object) {
    const bool holdsObject = (value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN) && value.punkVal != nullptr;
    return holdsObject ? query(*value.punkVal, object) : DISP_E_TYPEMISMATCH;
}

/// Queries the object of an enumerator's element for IADs. A failure is reported, at the caller's place, and
/// told.
Status queryChild(const Variant& element, ComPtr<IADs>& child, SourcePlace place = SourcePlace::current());

/// White space as isspace knows it, in the C locale.
template <class Char> constexpr bool isSpace(Char c) {
    return c == Char{' '} || (c >= Char{'\t'} && c <= Char{'\r'});
}

/// Reads a number as atoi does: leading white space, a sign, digits up to the first other character; 0
/// without digits. A number out of range takes the nearest 32-bit value.
template <class Char> std::int32_t leadingNumber(std::basic_string_view<Char> text) {
    std::size_t at = 0;
    while (at < text.size() && isSpace(text[at])) ++at;
    const bool negative = at < text.size() && text[at] == Char{'-'};
    if (at < text.size() && (negative || text[at] == Char{'+'})) ++at;

    using Limits = std::numeric_limits<std::int32_t>;
    std::int64_t number = 0;
    for (; at < text.size() && text[at] >= Char{'0'} && text[at] <= Char{'9'}; ++at) {
        if (number <= Limits::max()) number = number * 10 + (text[at] - Char{'0'});
    }
    if (negative) number = -number;
    return static_cast<std::int32_t>(number < Limits::min()   ? Limits::min()
                                     : number > Limits::max() ? Limits::max()
                                                              : number);
}
