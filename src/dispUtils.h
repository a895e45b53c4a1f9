// Comparison and printing of automation values, access to their parts, and the escaping of text.
#pragma once

#include "automation/safearray.h"
#include "directory/adsi.h"
#include "skeinKeep.h"

#include <span>

/// Compares two values. Returns 0 if they are the same, 1 if they differ, or a negative status: E_UNEXPECTED
/// for a type with VT_BYREF, VT_VECTOR or VT_RESERVED and for an array of several dimensions. Values of
/// different types differ. Currencies, dates and all other types without a comparison here always differ,
/// also a value from itself: a restore writes them every time.
Status cmpVariants(const VARIANT& a, const VARIANT& b);

/// The same for two arrays, which are the same if their bounds are equal and each two elements are the same.
Status cmpSafeArrays(const VARIANT& a, const VARIANT& b);

/// Prints a value in readable form, without a line end. Returns 0 or a negative status: E_UNEXPECTED as in
/// cmpVariants.
Status printVariant(OutStream& stream, const VARIANT& value);

/// Prints a string as the text of an element: with references for `&`, `<`, `>`, not for quotes, and for the
/// characters from U+0100 up (U+FFFD for a unit that no document can hold), and a blank for NUL. Null prints
/// nothing. Always returns 0.
Status printXmlEscaped(OutStream& stream, BSTR text);

/// A text as the value of an attribute, for %S: with references for `&`, `<`, `"` and the characters from
/// U+0100 up, as in printXmlEscaped. Borrows the text, which ends at its first NUL; null is the empty text.
class XmlAttributeText {
public:
    explicit XmlAttributeText(const OLECHAR* text) : text_(text) {}
    void print(OutStream& stream) const;

private:
    const OLECHAR* text_;
};

/// Converts narrow text to a wide string through the thread's ANSI code page. Returns 0, or E_UNEXPECTED if
/// it is too long or can't be converted. Reports nothing.
Status ansiToWide(std::string_view text, Bstr& wide);

/// The lowest and the highest index of a one-dimensional array; an empty one has the highest below the
/// lowest.
struct ArrayBounds {
    LONG lower = 0;
    LONG upper = -1;
};

/// Reads the bounds of an array's first dimension. Returns 0, E_UNEXPECTED for a value that is no array, or
/// the status of the array service. Reports nothing.
Status getArrayBounds(const VARIANT& array, ArrayBounds& bounds);

/// Copies the element at an index of a one-dimensional array; a byte becomes a VT_UI1. Returns 0,
/// E_UNEXPECTED for an array of several dimensions, or the status of the array service. Reports nothing.
Status getArrayElement(const VARIANT& array, LONG index, Variant& element);

/// Calls `visit(element, index)`, which returns a Status, for each element of a one-dimensional array. Ends
/// at the first status other than 0 and returns it. An element that can't be fetched is reported at the
/// caller's place; a failed visit has reported itself.
template <class Visit>
Status visitElements(const VARIANT& array, ArrayBounds bounds, Visit visit,
                     SourcePlace place = SourcePlace::current()) {
    // No array has the highest index of all.
    for (LONG i = bounds.lower; i <= bounds.upper; ++i) {
        Variant element;
        if (Status status = getArrayElement(array, i, element); status < 0) return reported(status, place);
        if (Status status = visit(element, i); status != S_OK) return status;
    }
    return S_OK;
}

/// Moves values into a new one-dimensional array of VARIANTs with lower bound 0. Returns 0, or E_UNEXPECTED
/// if the array can't be created; the values stay where they are. Reports nothing.
Status moveIntoArray(std::span<Variant> values, Variant& array);

/// Queries the object in a value for the interface T. Returns the status of the query, or E_UNEXPECTED for a
/// value without an object. Reports nothing.
template <class T> Status queryObject(const VARIANT& value, ComPtr<T>& object) {
    const bool holdsObject = (value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN) && value.punkVal != nullptr;
    return holdsObject ? query(*value.punkVal, object) : E_UNEXPECTED;
}
