#include "automation/scalarText.h"
#include "text/codePage.h"
#include "text/excerpt.h"

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

HRESULT convertToString(const VARIANT& value, Variant& result) {
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

/// The text without the white space around it.
std::u16string_view trimmed(std::u16string_view text) {
    constexpr std::u16string_view blanks = u" \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::u16string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The text as bytes. A unit beyond ASCII, which is in no scalar's text, becomes a question mark.
std::string asciiOf(std::u16string_view text) {
    std::string ascii;
    ascii.reserve(text.size());
    for (const char16_t unit : text) ascii.push_back(unit < 0x80 ? static_cast<char>(unit) : '?');
    return ascii;
}

HRESULT convertFromString(std::u16string_view text, VARTYPE type, Variant& result) {
    VARIANT value{};
    if (isNothing(type)) {
        if (!text.empty()) return DISP_E_TYPEMISMATCH;
        value.vt = type;
    } else if (!isScalar(type)) {
        return DISP_E_TYPEMISMATCH;
    } else if (HRESULT status = parseScalar(asciiOf(trimmed(text)), type, value); status < 0) {
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

HRESULT convert(const VARIANT& source, VARTYPE type, Variant& result) {
    if (!isType(source.vt)) return DISP_E_BADVARTYPE;
    if ((type & ~VT_TYPEMASK) == VT_ARRAY) return DISP_E_TYPEMISMATCH;
    if (!isType(type)) return DISP_E_BADVARTYPE;
    if (type == VT_BSTR) return convertToString(source, result);
    if (source.vt == VT_BSTR) return convertFromString(view(source.bstrVal), type, result);
    const std::optional<bool> truth = type == VT_BOOL ? truthOf(source) : std::nullopt;
    if (!truth) return DISP_E_TYPEMISMATCH;
    result = Variant::ofBool(*truth);
    return S_OK;
}

/// A string in double quotes, as a document has it between two tags.
std::string quoted(std::u16string_view text) {
    std::string out = "\"";
    for (const char c : excerpt(text)) {
        if (c == '&') {
            out += "&amp;";
        } else if (c == '<' || c == '>') {
            out += c == '<' ? "&lt;" : "&gt;";
        } else {
            out.push_back(c);
        }
    }
    return out + '"';
}

/// The type as an attribute of a document has it.
std::string typeAttribute(VARTYPE type) { return "type=\"" + std::to_string(type) + '"'; }

/// What a conversion of `source` to `type` failed at.
std::string reasonOf(HRESULT status, const VARIANT& source, VARTYPE type) {
    const std::string wanted = typeAttribute(type);
    if (source.vt != VT_BSTR)
        return "a value of " + typeAttribute(source.vt) + " can't become one of " + wanted;
    const std::u16string_view text = view(source.bstrVal);
    if (isNothing(type)) return quoted(text) + " isn't empty, as " + wanted + " requires";
    const std::string value = quoted(trimmed(text));
    if (status == DISP_E_OVERFLOW) return value + " is out of the range of " + wanted;
    if (!isScalar(type)) return value + " can't become a value of " + wanted;
    if (type == VT_BOOL) return value + " isn't true or false, as " + wanted + " requires";
    if (type == VT_DATE)
        return value + " isn't a date such as 1998-07-14T08:30:00, as " + wanted + " requires";
    return value + " isn't a number of " + wanted;
}

std::string_view beginningOf(HRESULT status) {
    if (status == DISP_E_OVERFLOW) return "Out of present range: ";
    return status == DISP_E_BADVARTYPE ? "Bad variable type: " : "Type mismatch: ";
}

} // namespace

HRESULT VariantChangeType(VARIANT* target, const VARIANT* source, WORD flags, VARTYPE type) {
    if (flags != 0) return E_INVALIDARG;
    if (source->vt == type && isType(type)) return VariantCopy(target, source);
    Variant result;
    if (HRESULT status = convert(*source, type, result); status < 0) {
        setStatusDetail(status, std::string(beginningOf(status)) + reasonOf(status, *source, type));
        return status;
    }
    (void)VariantClear(target);
    *target = result.detach();
    return S_OK;
}
