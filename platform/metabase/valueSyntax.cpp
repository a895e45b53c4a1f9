#include "valueSyntax.h"

#include "automation/safearray.h"
#include "automation/scalarText.h"
#include "automation/utf8.h"
#include "valueObjects.h"

#include <algorithm>

namespace {

constexpr TypeWord words[] = {
    {"i1", VT_I1},           {"i2", VT_I2},     {"i8", VT_I8},       {"int", VT_INT},
    {"ui1", VT_UI1},         {"ui2", VT_UI2},   {"ui4", VT_UI4},     {"ui8", VT_UI8},
    {"uint", VT_UINT},       {"r4", VT_R4},     {"r8", VT_R8},       {"cy", VT_CY},
    {"decimal", VT_DECIMAL}, {"date", VT_DATE}, {"error", VT_ERROR}, {"hresult", VT_HRESULT},
};

constexpr std::string_view bareTypes[] = {"string", "i4", "bool", "bytes"};

constexpr HRESULT unwritable = E_ADS_CANT_CONVERT_DATATYPE;

void writeHex(std::string& out, unsigned value, int digits) {
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
        out.push_back("0123456789ABCDEF"[value >> shift & 0xF]);
}

void appendUtf8(std::string& out, char32_t character) {
    char bytes[utf8::maxBytesOfCharacter];
    out.append(bytes, utf8::encode(character, bytes));
}

bool needsEscape(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029 || c == 0xFEFF || c >= 0xFFFE;
}

/// A walk over the elements of a one-dimensional array of VARIANTs, in place.
struct Elements {
    const VARIANT* begin = nullptr;
    std::size_t count = 0;

    bool of(const VARIANT& value) {
        if (value.vt != (VT_ARRAY | VT_VARIANT) || SafeArrayGetDim(value.parray) != 1) return false;
        begin = static_cast<const VARIANT*>(value.parray->pvData);
        count = value.parray->rgsabound[0].cElements;
        return true;
    }
};

HRESULT writeScalar(std::string& out, const VARIANT& value) {
    if (value.vt == VT_BSTR) {
        writeString(out, view(value.bstrVal));
        return S_OK;
    }
    if (value.vt == VT_EMPTY || value.vt == VT_NULL) {
        out += value.vt == VT_EMPTY ? "empty" : "null";
        return S_OK;
    }
    if (value.vt == (VT_ARRAY | VT_UI1) && SafeArrayGetDim(value.parray) == 1) {
        out += "bytes:";
        const auto* bytes = static_cast<const BYTE*>(value.parray->pvData);
        for (ULONG i = 0; i < value.parray->rgsabound[0].cElements; ++i) writeHex(out, bytes[i], 2);
        return S_OK;
    }
    if (value.vt == VT_BOOL && value.boolVal != VARIANT_TRUE && value.boolVal != VARIANT_FALSE) {
        out += "bool:" + std::to_string(value.boolVal);
        return S_OK;
    }
    if (!isScalar(value.vt)) return unwritable;
    const auto* word = std::ranges::find(words, value.vt, &TypeWord::type);
    if (word != std::end(words)) out.append(word->word).push_back(':');
    char buffer[scalarTextSize];
    const std::string_view text = formatScalar(value, buffer);
    out += text;
    return text.empty() ? unwritable : S_OK;
}

/// Writes `elements` between two brackets, with commas.
template <class Write>
HRESULT writeItems(std::string& out, char open, const Elements& elements, char close, Write write) {
    out.push_back(open);
    for (std::size_t i = 0; i < elements.count; ++i) {
        if (i > 0) out += ", ";
        if (HRESULT status = write(elements.begin[i]); status < 0) return status;
    }
    out.push_back(close);
    return S_OK;
}

HRESULT writeList(std::string& out, const VARIANT& value) {
    Elements elements;
    if (!elements.of(value)) return unwritable;
    return writeItems(out, '[', elements, ']',
                      [&out](const VARIANT& item) { return writeScalar(out, item); });
}

/// The object in a value, as Interface; also where it is the only element of an array.
template <class Interface> HRESULT objectOf(const VARIANT& value, ComPtr<Interface>& object) {
    Elements elements;
    const VARIANT* single = elements.of(value) && elements.count == 1 ? elements.begin : &value;
    if (single->vt != VT_DISPATCH || single->pdispVal == nullptr) return unwritable;
    return query(*single->pdispVal, object) < 0 ? unwritable : S_OK;
}

HRESULT writeMimeType(std::string& out, const VARIANT& entry) {
    ComPtr<IISMimeType> mimeType;
    if (HRESULT status = objectOf(entry, mimeType); status < 0) return status;
    Bstr extension;
    if (HRESULT status = mimeType->get_Extension(extension.out()); status < 0) return status;
    Bstr type;
    if (HRESULT status = mimeType->get_MimeType(type.out()); status < 0) return status;
    writeString(out, view(extension));
    out.push_back(' ');
    writeString(out, view(type));
    return S_OK;
}

HRESULT writeMimeMap(std::string& out, const VARIANT& value) {
    Elements elements;
    if (!elements.of(value)) return unwritable;
    out += "mime";
    return writeItems(out, '(', elements, ')',
                      [&out](const VARIANT& entry) { return writeMimeType(out, entry); });
}

HRESULT writeIpSecurity(std::string& out, const VARIANT& value) {
    ComPtr<IISIPSecurity> rules;
    if (HRESULT status = objectOf(value, rules); status < 0) return status;
    VARIANT grant{};
    grant.vt = VT_BOOL;
    if (HRESULT status = rules->get_GrantByDefault(&grant.boolVal); status < 0) return status;
    out += "ipsec(GrantByDefault ";
    if (HRESULT status = writeScalar(out, grant); status < 0) return status;

    for (const IpSecurityList& part : ipSecurityLists) {
        Variant list;
        if (HRESULT status = (rules.get()->*part.get)(list.out()); status < 0) return status;
        out.append(", ").append(part.name).push_back(' ');
        if (HRESULT status = writeList(out, list.get()); status < 0) return status;
    }
    out.push_back(')');
    return S_OK;
}

HRESULT writeOpaque(std::string& out, const VARIANT& value) {
    ComPtr<IOpaque> object;
    if (HRESULT status = objectOf(value, object); status < 0) return status;
    Bstr text;
    if (HRESULT status = object->get_Text(text.out()); status < 0) return status;
    out += "opaque(";
    writeString(out, view(text));
    out.push_back(')');
    return S_OK;
}

} // namespace

std::span<const TypeWord> typeWords() { return words; }

bool findForm(std::string_view word, ValueForm& form) {
    form = word == "mime"     ? ValueForm::mimeMap
           : word == "ipsec"  ? ValueForm::ipSecurity
           : word == "opaque" ? ValueForm::opaque
                              : ValueForm::plain;
    return form != ValueForm::plain || std::ranges::find(bareTypes, word) != std::end(bareTypes) ||
           std::ranges::find(words, word, &TypeWord::word) != std::end(words);
}

void writeName(std::string& out, std::u16string_view name) {
    if (!isBareName(name)) return writeString(out, name);
    for (const char16_t unit : name) out.push_back(static_cast<char>(unit));
}

void writeString(std::string& out, std::u16string_view text) {
    out.push_back('"');
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (unit >= 0x20 && unit < 0x7F && unit != u'"' && unit != u'\\') {
            out.push_back(static_cast<char>(unit));
        } else if (unit == u'"' || unit == u'\\') {
            out.push_back('\\');
            out.push_back(static_cast<char>(unit));
        } else if (unit == u'\n' || unit == u'\r' || unit == u'\t') {
            out.push_back('\\');
            out.push_back(unit == u'\n' ? 'n' : unit == u'\r' ? 'r' : 't');
        } else if (isHighHalf(unit) && i + 1 < text.size() && isLowHalf(text[i + 1])) {
            appendUtf8(out, characterOf(unit, text[++i]));
        } else if (isHighHalf(unit) || isLowHalf(unit) || needsEscape(unit)) {
            out += "\\u";
            writeHex(out, unit, 4);
        } else {
            appendUtf8(out, unit);
        }
    }
    out.push_back('"');
}

HRESULT writeValue(std::string& out, ValueForm form, const VARIANT& value) {
    if (form == ValueForm::mimeMap) return writeMimeMap(out, value);
    if (form == ValueForm::ipSecurity) return writeIpSecurity(out, value);
    if (form == ValueForm::opaque) return writeOpaque(out, value);
    Elements elements;
    if (!elements.of(value)) return writeScalar(out, value);
    return elements.count == 1 ? writeScalar(out, *elements.begin) : writeList(out, value);
}
