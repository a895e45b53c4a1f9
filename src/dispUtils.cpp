#include "dispUtils.h"

#include "text/codePage.h"
#include "text/utf16.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

constexpr VARTYPE typeFlags = 0xF000;
constexpr VARTYPE extendedFlags = VT_VECTOR | VT_BYREF | VT_RESERVED;

/// Reports a type that neither comparison nor printing supports.
Status reportExtendedType(VARTYPE type, SourcePlace place = SourcePlace::current()) {
    return reported(E_UNEXPECTED, place, "Can't handle variant with extended type 0x%X (full type 0x%X)",
                    type & typeFlags, type);
}

Status reportMultidimensional(SourcePlace place = SourcePlace::current()) {
    return reported(E_UNEXPECTED, place, "Multidimensional SAFEARRAYs not supported");
}

Status comparisonResult(bool same) { return same ? comparedSame : comparedDifferent; }

bool sameBytes(BSTR a, BSTR b) {
    const UINT length = SysStringByteLen(a);
    return length == SysStringByteLen(b) && (length == 0 || std::memcmp(a, b, length) == 0);
}

Status printArray(OutStream& stream, const VARIANT& value) {
    if (SafeArrayGetDim(value.parray) != 1) return reportMultidimensional();
    ArrayBounds bounds;
    if (Status status = getArrayBounds(value, bounds); status < 0) return reported(status);
    const bool single = bounds.lower == bounds.upper;
    if (!single) outPrintf(stream, "SAFEARRAY: %d elements: ", std::int64_t{bounds.upper} - bounds.lower + 1);
    return visitElements(value, bounds, [&](const Variant& element, LONG index) {
        if (index != bounds.lower) outPrintf(stream, ", ");
        const Status status = printVariant(stream, element.get());
        return status < 0 ? reported(status) : S_OK;
    });
}

/// Decodes the character at `at`, after which there is at least a NUL, and moves `at` past it. Returns U+FFFD
/// for units that no document can hold.
char32_t documentCharacter(const OLECHAR*& at) {
    const char32_t character = utf16::decodeCharacter(at);
    return utf16::isHalf(character) || character == 0xFFFE || character == 0xFFFF ? 0xFFFD : character;
}

/// Whether a unit is printed as it is; quotes are in the text of an element. NUL isn't: each text ends with
/// one, so that a search for a unit that isn't plain needs no other bound.
template <OLECHAR special> bool isPlain(OLECHAR unit) {
    switch (unit) {
    case u'\0':
    case u'&':
    case u'<':
    case special: return false;
    default: return unit < 0x100;
    }
}

/// Prints the units from `at` up to the first one that isn't plain, and moves `at` to it.
template <OLECHAR special> void printPlainUnits(OutStream& stream, const OLECHAR*& at) {
    std::size_t count = 0;
    do {
        char* out = stream.reserve(OutStream::maxReserve);
        for (count = 0; count < OutStream::maxReserve && isPlain<special>(at[count]); ++count)
            out[count] = static_cast<char>(at[count]);
        stream.commit(count);
        at += count;
    } while (count == OutStream::maxReserve);
}

/// Prints the character at `at` as a reference, a NUL as a blank, and moves `at` past it.
void printReference(OutStream& stream, const OLECHAR*& at) {
    switch (const char32_t character = documentCharacter(at); character) {
    case u'&': outPrintf(stream, "&amp;"); break;
    case u'<': outPrintf(stream, "&lt;"); break;
    case u'>': outPrintf(stream, "&gt;"); break;
    case u'"': outPrintf(stream, "&quot;"); break;
    case u'\0': outPrintf(stream, " "); break;
    default: outPrintf(stream, "&#%d;", static_cast<std::int32_t>(character)); break;
    }
}

} // namespace

Status cmpVariants(const VARIANT& a, const VARIANT& b) {
    if (a.vt != b.vt) return comparedDifferent;
    if ((a.vt & extendedFlags) != 0) return reportExtendedType(a.vt);
    if ((a.vt & VT_ARRAY) != 0) return cmpSafeArrays(a, b);
    switch (a.vt) {
    case VT_EMPTY:
    case VT_NULL: return comparedSame;
    case VT_I2:
    case VT_BOOL: return comparisonResult(a.iVal == b.iVal);
    case VT_I4:
    case VT_ERROR: return comparisonResult(a.lVal == b.lVal);
    case VT_R4: return comparisonResult(a.fltVal == b.fltVal);
    case VT_R8: return comparisonResult(a.dblVal == b.dblVal);
    case VT_BSTR: return comparisonResult(sameBytes(a.bstrVal, b.bstrVal));
    case VT_DISPATCH:
    case VT_UNKNOWN: return comparisonResult(a.punkVal == b.punkVal);
    case VT_UI1: return comparisonResult(a.bVal == b.bVal);
    default: return comparedDifferent; // Also for equal ones: a restore writes them every time.
    }
}

Status cmpSafeArrays(const VARIANT& a, const VARIANT& b) {
    if (SafeArrayGetDim(a.parray) != 1 || SafeArrayGetDim(b.parray) != 1) return reportMultidimensional();
    ArrayBounds boundsA;
    if (Status status = getArrayBounds(a, boundsA); status < 0) return reported(status);
    ArrayBounds boundsB;
    if (Status status = getArrayBounds(b, boundsB); status < 0) return reported(status);
    if (boundsA.lower != boundsB.lower || boundsA.upper != boundsB.upper) return comparedDifferent;
    return visitElements(a, boundsA, [&](const Variant& elementA, LONG index) {
        Variant elementB;
        if (Status status = getArrayElement(b, index, elementB); status < 0) return reported(status);
        const Status status = cmpVariants(elementA.get(), elementB.get());
        return status < 0 ? reported(status) : status;
    });
}

Status printVariant(OutStream& stream, const VARIANT& value) {
    if ((value.vt & extendedFlags) != 0) return reportExtendedType(value.vt);
    if ((value.vt & VT_ARRAY) != 0) return printArray(stream, value);
    switch (value.vt) {
    case VT_EMPTY: outPrintf(stream, "<empty>"); break;
    case VT_NULL: outPrintf(stream, "<null>"); break;
    case VT_I2: outPrintf(stream, "%d", value.iVal); break;
    case VT_I4: outPrintf(stream, "%d", value.lVal); break;
    case VT_R4: outPrintf(stream, "%f", value.fltVal); break;
    case VT_R8: outPrintf(stream, "%f", value.dblVal); break;
    case VT_BSTR: outPrintf(stream, "%S", value.bstrVal); break;
    case VT_DISPATCH: outPrintf(stream, "[VT_DISPATCH]"); break;
    case VT_ERROR: outPrintf(stream, "[VT_ERROR] %d", value.scode); break;
    case VT_BOOL: outPrintf(stream, "%s", value.boolVal == VARIANT_TRUE ? "true" : "false"); break;
    case VT_UNKNOWN: outPrintf(stream, "[VT_UNKNOWN]"); break;
    case VT_UI1: outPrintf(stream, "%d", value.bVal); break;
    default: outPrintf(stream, "[unknown variant type %d]", value.vt); break; // A backup has a text.
    }
    return S_OK;
}

Status printXmlEscaped(OutStream& stream, BSTR text) {
    if (text == nullptr) return S_OK;
    const OLECHAR* at = text;
    const OLECHAR* const end = at + SysStringLen(text);
    for (;;) {
        printPlainUnits<u'>'>(stream, at);
        if (at == end) return S_OK;
        printReference(stream, at);
    }
}

void XmlAttributeText::print(OutStream& stream) const {
    if (text_ == nullptr) return;
    const OLECHAR* at = text_;
    for (;;) {
        printPlainUnits<u'"'>(stream, at);
        if (*at == u'\0') return;
        printReference(stream, at);
    }
}

Status ansiToWide(std::string_view text, Bstr& wide) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return E_UNEXPECTED;
    const int length = static_cast<int>(text.size());
    wide = Bstr::adopt(SysAllocStringLen(nullptr, static_cast<UINT>(length)));
    if (length == 0) return S_OK;
    return MultiByteToWideChar(CP_THREAD_ACP, 0, text.data(), length, wide, length) == length ? S_OK
                                                                                              : E_UNEXPECTED;
}

Status getArrayBounds(const VARIANT& array, ArrayBounds& bounds) {
    if ((array.vt & VT_ARRAY) == 0 || (array.vt & extendedFlags) != 0) return E_UNEXPECTED;
    if (Status status = SafeArrayGetLBound(array.parray, 1, &bounds.lower); status < 0) return status;
    return SafeArrayGetUBound(array.parray, 1, &bounds.upper);
}

Status moveIntoArray(std::span<Variant> values, Variant& array) {
    SafeArray made(values.size());
    if (!made) return E_UNEXPECTED;
    for (std::size_t i = 0; i < values.size(); ++i) made[i] = values[i].detach();
    array = Variant::ofArray(made.detach());
    return S_OK;
}

Status getArrayElement(const VARIANT& array, LONG index, Variant& element) {
    if (SafeArrayGetDim(array.parray) > 1) return E_UNEXPECTED;
    VARTYPE type = VT_EMPTY;
    if (Status status = SafeArrayGetVartype(array.parray, &type); status < 0) return status;
    if (type == VT_EMPTY) return E_UNEXPECTED;
    if (type == VT_VARIANT) return SafeArrayGetElement(array.parray, &index, element.out());
    VARIANT plain{};
    plain.vt = type;
    const Status status = SafeArrayGetElement(array.parray, &index, &plain.llVal);
    if (status >= 0) element = Variant::adopt(plain);
    return status;
}
