// Comparison and printing of automation values, and the small services on them that every handler needs.
#pragma once

#include "platform/automation/safearray.h"
#include "src/skeinKeep.h"

#include <string>

/// Compares two values: 0 the same, 1 different, negative on a failure. Values of different types differ, as
/// do currencies, dates and all other types that have no comparison here, even from themselves.
Status cmpVariants(const VARIANT& a, const VARIANT& b);

/// The same for two arrays: equal bounds, and elements that are the same one by one.
Status cmpSafeArrays(const VARIANT& a, const VARIANT& b);

/// Prints a value in readable form, without a line end.
Status printVariant(OutStream& stream, const VARIANT& value);

/// Prints text as it stands between two tags. Null prints nothing. Always returns 0.
Status printXmlEscaped(OutStream& stream, BSTR text);

/// A text as it stands in an attribute's value, for %S: without `&`, `<` and `"`, and with a reference for
/// each character from U+0100 up. Borrows the text, which ends at its first NUL.
class XmlAttributeText {
public:
    explicit XmlAttributeText(const OLECHAR* text);
    operator const OLECHAR*() const {
        return escaped_.empty() ? text_ : escaped_.c_str();
    } // NOLINT(google-explicit-constructor)

private:
    const OLECHAR* text_;
    std::u16string escaped_;
};

/// Makes narrow text wide, through the thread's ANSI code page.
Status ansiToWide(std::string_view text, Bstr& wide);

/// The bounds of an array's first dimension.
struct ArrayBounds {
    LONG lower = 0;
    LONG upper = -1;
};

/// DISP_E_TYPEMISMATCH for a value that is no array.
Status getArrayBounds(const VARIANT& array, ArrayBounds& bounds);

/// A copy of the element at an index of a one-dimensional array; bytes come as VT_UI1.
Status getArrayElement(const VARIANT& array, LONG index, Variant& element);

/// Queries the object in a value for the interface T; DISP_E_TYPEMISMATCH for a value that holds none.
template <class T> Status queryObject(const VARIANT& value, ComPtr<T>& object) {
    const bool holdsObject = (value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN) && value.punkVal != nullptr;
    return holdsObject ? query(*value.punkVal, object) : DISP_E_TYPEMISMATCH;
}
