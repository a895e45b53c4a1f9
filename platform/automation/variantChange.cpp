#include "automation/scalarText.h"
#include "com/characters.h"

#include <optional>
#include <string>

namespace {

bool isReference(VARTYPE type) { return type == VT_DISPATCH || type == VT_UNKNOWN; }
bool isNothing(VARTYPE type) { return type == VT_EMPTY || type == VT_NULL; }

/// Whether a VARIANT can have the type.
bool isType(VARTYPE type) {
    if (type == VT_BSTR) return true;
    if ((type & VT_ARRAY) != 0) return (type & ~VT_ARRAY) == VT_VARIANT || (type & ~VT_ARRAY) == VT_UI1;
    return isNothing(type) || isReference(type) || isScalar(type);
}

/// A VT_BSTR of an ASCII text.
Variant stringOf(std::string_view ascii) {
    Bstr text = Bstr::adopt(SysAllocStringLen(nullptr, static_cast<UINT>(ascii.size())));
    widen(ascii, text);
    return Variant::ofString(std::move(text));
}

HRESULT formatString(const VARIANT& value, Variant& result) {
    if (isNothing(value.vt)) {
        result = stringOf("");
        return S_OK;
    }
    if (!isScalar(value.vt)) return DISP_E_TYPEMISMATCH;
    char buffer[scalarTextSize];
    const std::string_view text = formatScalar(value, buffer);
    if (text.empty()) return DISP_E_BADVARTYPE;
    result = stringOf(text);
    return S_OK;
}

/// The text without the white space around it, as bytes. A unit beyond ASCII, which is in no scalar's text,
/// becomes a question mark.
std::string trimmedAscii(std::u16string_view text) {
    constexpr std::u16string_view blanks = u" \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::u16string_view::npos) return {};
    text = text.substr(first, text.find_last_not_of(blanks) - first + 1);
    std::string ascii;
    ascii.reserve(text.size());
    for (const char16_t unit : text) ascii.push_back(unit < 0x80 ? static_cast<char>(unit) : '?');
    return ascii;
}

HRESULT parseString(std::u16string_view text, VARTYPE type, Variant& result) {
    VARIANT value{};
    if (isNothing(type)) {
        if (!text.empty()) return DISP_E_TYPEMISMATCH;
        value.vt = type;
    } else if (!isScalar(type)) {
        return DISP_E_TYPEMISMATCH;
    } else if (HRESULT status = parseScalar(trimmedAscii(text), type, value); status < 0) {
        return status;
    }
    result = Variant::adopt(value);
    return S_OK;
}

/// Whether a number differs from zero; std::nullopt for a value that isn't a number.
std::optional<bool> truthOf(const VARIANT& value) {
    switch (value.vt) {
    case VT_I1:
    case VT_UI1: return value.bVal != 0;
    case VT_I2:
    case VT_UI2: return value.uiVal != 0;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT: return value.ulVal != 0;
    case VT_I8:
    case VT_UI8:
    case VT_CY: return value.ullVal != 0;
    case VT_R4: return value.fltVal != 0;
    case VT_R8:
    case VT_DATE: return value.dblVal != 0;
    case VT_DECIMAL: return decimalOf(value).Hi32 != 0 || decimalOf(value).Lo64 != 0;
    default: return std::nullopt;
    }
}

} // namespace

HRESULT VariantChangeType(VARIANT* target, const VARIANT* source, WORD flags, VARTYPE type) {
    if (flags != 0) return E_INVALIDARG;
    if (!isType(source->vt)) return DISP_E_BADVARTYPE;
    if (source->vt == type) return VariantCopy(target, source);
    if ((type & ~VT_TYPEMASK) == VT_ARRAY) return DISP_E_TYPEMISMATCH;
    if (!isType(type)) return DISP_E_BADVARTYPE;

    Variant result;
    HRESULT status = DISP_E_TYPEMISMATCH;
    if (type == VT_BSTR) {
        status = formatString(*source, result);
    } else if (source->vt == VT_BSTR) {
        status = parseString(view(source->bstrVal), type, result);
    } else if (type == VT_BOOL) {
        if (const std::optional<bool> truth = truthOf(*source)) {
            result = Variant::ofBool(*truth);
            status = S_OK;
        }
    }
    if (status < 0) return status;
    (void)VariantClear(target);
    *target = result.detach();
    return S_OK;
}
