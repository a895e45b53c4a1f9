#include "valueSyntax.h"

#include "automation/scalarText.h"
#include "automation/variantArray.h"
#include "text/excerpt.h"
#include "text/hex.h"
#include "valueObjects.h"

#include <algorithm>

namespace metabase {

namespace {

/// A type whose values are written as its word, a colon and the text of the scalar.
struct ScalarType {
    std::string_view word;
    VARTYPE type;
};
constexpr ScalarType scalarTypes[] = {
    {"i1", VT_I1},           {"i2", VT_I2},     {"i8", VT_I8},       {"int", VT_INT},
    {"ui1", VT_UI1},         {"ui2", VT_UI2},   {"ui4", VT_UI4},     {"ui8", VT_UI8},
    {"uint", VT_UINT},       {"r4", VT_R4},     {"r8", VT_R8},       {"cy", VT_CY},
    {"decimal", VT_DECIMAL}, {"date", VT_DATE}, {"error", VT_ERROR}, {"hresult", VT_HRESULT},
};

/// The words of the other types of plain form.
constexpr std::string_view otherTypes[] = {"string", "i4", "bool", "bytes"};

/// One of the four lists of the access rules, in the order in which they are written.
struct IpSecurityList {
    std::string_view name;
    HRESULT (IISIPSecurity::*get)(VARIANT*);
    HRESULT (IISIPSecurity::*put)(const VARIANT&);
};
constexpr IpSecurityList ipSecurityLists[] = {
    {"IPGrant", &IISIPSecurity::get_IPGrant, &IISIPSecurity::put_IPGrant},
    {"IPDeny", &IISIPSecurity::get_IPDeny, &IISIPSecurity::put_IPDeny},
    {"DomainGrant", &IISIPSecurity::get_DomainGrant, &IISIPSecurity::put_DomainGrant},
    {"DomainDeny", &IISIPSecurity::get_DomainDeny, &IISIPSecurity::put_DomainDeny},
};

// ---- Parsing

/// Parses values. Each method makes the value of its name in `out`, or, if `out` is null, only checks its
/// text.
class ValueParser {
public:
    explicit ValueParser(Lexer& lexer) : lexer_(lexer) {}

    bool value(ValueForm form, Variant* out);

private:
    bool string(Bstr* out);
    bool scalar(Variant* out);
    bool scalarWord(Variant* out);
    bool failScalar(HRESULT status, std::string_view token);
    bool bytes(std::string_view digits, Variant* out);
    bool list(Variant* out);
    bool mimeMap(Variant* out);
    bool ipSecurity(Variant* out);
    bool opaque(Variant* out);
    bool opening(std::string_view word);

    Lexer& lexer_;
};

bool ValueParser::string(Bstr* out) {
    StringToken token{};
    if (!lexer_.stringToken(token)) return false;
    if (out == nullptr) return true;
    *out = Bstr::adopt(SysAllocStringLen(nullptr, static_cast<UINT>(token.units)));
    decodeString(token, out->get());
    return true;
}

bool ValueParser::scalar(Variant* out) {
    if (!lexer_.nextIs('"')) return scalarWord(out);
    if (out == nullptr) return string(nullptr);
    Bstr text;
    if (!string(&text)) return false;
    *out = Variant::ofString(std::move(text));
    return true;
}

/// A scalar other than a string: TYPE:TEXT, or a text whose type has no word.
bool ValueParser::scalarWord(Variant* out) {
    const std::string_view token = lexer_.word();
    const std::size_t colon = token.find(':');
    const bool hasType = colon != std::string_view::npos;
    const std::string_view type = token.substr(0, hasType ? colon : 0);
    const std::string_view text = token.substr(hasType ? colon + 1 : 0);
    if (type == "bytes") return bytes(text, out);

    VARIANT value{};
    HRESULT status = DISP_E_TYPEMISMATCH;
    if (type == "bool") {
        status = parseScalar(text, VT_I2, value);
        value.vt = VT_BOOL;
    } else if (hasType) {
        const auto* found = std::ranges::find(scalarTypes, type, &ScalarType::word);
        if (found != std::end(scalarTypes)) status = parseScalar(text, found->type, value);
    } else if (text == "true" || text == "false") {
        status = parseScalar(text, VT_BOOL, value);
    } else if (text == "empty" || text == "null") {
        status = S_OK;
        value.vt = text == "empty" ? VT_EMPTY : VT_NULL;
    } else {
        status = parseScalar(text, VT_I4, value);
    }
    if (status < 0) return failScalar(status, token);
    if (out != nullptr) *out = Variant::adopt(value);
    return true;
}

/// Advice for a word that isn't a scalar.
std::string adviceFor(std::string_view token) {
    VARIANT number{};
    if (token.starts_with("date:")) return "a date looks like date:1998-07-14T08:30:00";
    if (token.starts_with("0x")) return "write bytes as bytes:00FF, and a number in decimal";
    if (parseScalar(token, VT_R8, number) == S_OK) return "write such a number as r8:" + excerpt(token);
    return "a value looks like \"text\", 12, true or ui4:5";
}

/// Fails for a word that isn't a scalar.
bool ValueParser::failScalar(HRESULT status, std::string_view token) {
    if (status == DISP_E_OVERFLOW) {
        const std::size_t colon = token.find(':');
        const std::string type(colon == std::string_view::npos ? "i4" : token.substr(0, colon));
        return lexer_.fail(excerpt(token) + " is out of the range of " + type);
    }
    lexer_.failExpected("a value", token);
    return lexer_.fail(lexer_.error() + "; " + adviceFor(token));
}

bool ValueParser::bytes(std::string_view digits, Variant* out) {
    const auto valueOf = [](char c) { return hexDigitValue(static_cast<unsigned char>(c)); };
    if (digits.size() % 2 != 0 ||
        !std::ranges::all_of(digits, [&](char c) { return valueOf(c) != noHexDigit; })) {
        return lexer_.failExpected("pairs of hexadecimal digits", "bytes:" + std::string(digits));
    }
    if (out == nullptr) return true;
    const SAFEARRAYBOUND bound{static_cast<ULONG>(digits.size() / 2), 0};
    VARIANT value{};
    value.vt = VT_ARRAY | VT_UI1;
    value.parray = SafeArrayCreate(VT_UI1, 1, &bound);
    auto* data = static_cast<BYTE*>(value.parray->pvData);
    for (std::size_t i = 0; i < digits.size(); i += 2)
        *data++ = static_cast<BYTE>(valueOf(digits[i]) << 4 | valueOf(digits[i + 1]));
    *out = Variant::adopt(value);
    return true;
}

bool ValueParser::list(Variant* out) {
    if (!lexer_.symbol('[')) return false;
    if (out == nullptr) return lexer_.items(']', [this] { return scalar(nullptr); });
    std::vector<Variant> elements;
    if (!lexer_.items(']', [&] { return scalar(&elements.emplace_back()); })) return false;
    *out = arrayOf(std::move(elements));
    return true;
}

/// The word and the bracket at the beginning of an object.
bool ValueParser::opening(std::string_view word) {
    if (const std::string_view found = lexer_.word(); found != word)
        return lexer_.failExpected(std::string(word) + "(...), the form of this property's values", found);
    return lexer_.symbol('(');
}

bool ValueParser::mimeMap(Variant* out) {
    if (!opening("mime")) return false;
    if (out == nullptr) return lexer_.items(')', [this] { return string(nullptr) && string(nullptr); });
    std::vector<Variant> entries;
    const auto entry = [&] {
        Bstr extension;
        Bstr type;
        if (!string(&extension) || !string(&type)) return false;
        entries.push_back(
            Variant::ofDispatch(makeObject<MimeTypeObject>(std::move(extension), std::move(type))));
        return true;
    };
    if (!lexer_.items(')', entry)) return false;
    *out = arrayOf(std::move(entries));
    return true;
}

bool ValueParser::ipSecurity(Variant* out) {
    if (!opening("ipsec")) return false;
    const auto rules = makeObject<IpSecurityObject>();

    Variant grant;
    if (!lexer_.keyword("GrantByDefault")) return false;
    const char* const start = lexer_.tokenStart();
    if (!scalar(&grant) || grant.type() != VT_BOOL)
        return lexer_.failExpected("true or false", lexer_.textSince(start));
    (void)rules->put_GrantByDefault(grant->boolVal);
    for (const IpSecurityList& part : ipSecurityLists) {
        Variant values;
        if (!lexer_.symbol(',')) return false;
        if (!lexer_.keyword(part.name)) return false;
        if (!list(&values)) return false;
        (void)(rules.get()->*part.put)(values.get());
    }
    if (!lexer_.symbol(')')) return false;
    if (out != nullptr) *out = Variant::ofDispatch(rules);
    return true;
}

bool ValueParser::opaque(Variant* out) {
    Bstr text;
    if (!opening("opaque") || !string(&text) || !lexer_.symbol(')')) return false;
    if (out != nullptr) *out = Variant::ofDispatch(makeObject<OpaqueObject>(std::move(text)));
    return true;
}

bool ValueParser::value(ValueForm form, Variant* out) {
    switch (form) {
    case ValueForm::mimeMap: return mimeMap(out);
    case ValueForm::ipSecurity: return ipSecurity(out);
    case ValueForm::opaque: return opaque(out);
    case ValueForm::plain: break;
    }
    if (lexer_.nextIs('[')) return list(out);
    if (out == nullptr) return scalar(nullptr);
    Variant element;
    if (!scalar(&element)) return false;
    SafeArray array(1);
    array[0] = element.detach();
    *out = Variant::ofArray(array.detach());
    return true;
}

// ---- Formatting

constexpr HRESULT cannotConvert = E_ADS_CANT_CONVERT_DATATYPE;

HRESULT appendScalar(std::string& out, const VARIANT& value) {
    if (value.vt == VT_BSTR) {
        formatString(out, view(value.bstrVal));
        return S_OK;
    }
    if (value.vt == VT_EMPTY || value.vt == VT_NULL) {
        out += value.vt == VT_EMPTY ? "empty" : "null";
        return S_OK;
    }
    if (value.vt == (VT_ARRAY | VT_UI1) && SafeArrayGetDim(value.parray) == 1) {
        out += "bytes:";
        const auto* bytes = static_cast<const BYTE*>(value.parray->pvData);
        for (ULONG i = 0; i < value.parray->rgsabound[0].cElements; ++i) formatHex(out, bytes[i], 2);
        return S_OK;
    }
    if (value.vt == VT_BOOL && value.boolVal != VARIANT_TRUE && value.boolVal != VARIANT_FALSE) {
        out += "bool:" + std::to_string(value.boolVal);
        return S_OK;
    }
    if (!isScalar(value.vt)) return cannotConvert;
    const auto* found = std::ranges::find(scalarTypes, value.vt, &ScalarType::type);
    if (found != std::end(scalarTypes)) out.append(found->word).push_back(':');
    char buffer[scalarTextSize];
    const std::string_view text = formatScalar(value, buffer);
    out += text;
    return text.empty() ? cannotConvert : S_OK;
}

/// Appends `elements` between two brackets, with commas.
template <class Append>
HRESULT appendItems(std::string& out, char open, std::span<const VARIANT> elements, char close,
                    Append append) {
    out.push_back(open);
    std::string_view separator;
    for (const VARIANT& element : elements) {
        out += std::exchange(separator, ", ");
        if (HRESULT status = append(out, element); status < 0) return status;
    }
    out.push_back(close);
    return S_OK;
}

HRESULT appendList(std::string& out, const VARIANT& value) {
    const auto elements = elementsOf(value);
    return elements ? appendItems(out, '[', *elements, ']', appendScalar) : cannotConvert;
}

/// The object in a value, or in the only element of an array, as Interface.
template <class Interface> HRESULT objectIn(const VARIANT& value, ComPtr<Interface>& object) {
    const auto elements = elementsOf(value);
    const VARIANT& single = elements && elements->size() == 1 ? elements->front() : value;
    if (single.vt != VT_DISPATCH || single.pdispVal == nullptr) return cannotConvert;
    return query(*single.pdispVal, object) < 0 ? cannotConvert : S_OK;
}

HRESULT appendMimeType(std::string& out, const VARIANT& entry) {
    ComPtr<IISMimeType> mimeType;
    if (HRESULT status = objectIn(entry, mimeType); status < 0) return status;
    Bstr extension;
    if (HRESULT status = mimeType->get_Extension(extension.out()); status < 0) return status;
    Bstr type;
    if (HRESULT status = mimeType->get_MimeType(type.out()); status < 0) return status;
    formatString(out, view(extension));
    out.push_back(' ');
    formatString(out, view(type));
    return S_OK;
}

HRESULT appendMimeMap(std::string& out, const VARIANT& value) {
    const auto elements = elementsOf(value);
    if (!elements) return cannotConvert;
    out += "mime";
    return appendItems(out, '(', *elements, ')', appendMimeType);
}

HRESULT appendIpSecurity(std::string& out, const VARIANT& value) {
    ComPtr<IISIPSecurity> rules;
    if (HRESULT status = objectIn(value, rules); status < 0) return status;
    VARIANT grant{};
    grant.vt = VT_BOOL;
    if (HRESULT status = rules->get_GrantByDefault(&grant.boolVal); status < 0) return status;
    out += "ipsec(GrantByDefault ";
    if (HRESULT status = appendScalar(out, grant); status < 0) return status;

    for (const IpSecurityList& part : ipSecurityLists) {
        Variant list;
        if (HRESULT status = (rules.get()->*part.get)(list.out()); status < 0) return status;
        out.append(", ").append(part.name).push_back(' ');
        if (HRESULT status = appendList(out, list.get()); status < 0) return status;
    }
    out.push_back(')');
    return S_OK;
}

HRESULT appendOpaque(std::string& out, const VARIANT& value) {
    ComPtr<IOpaque> object;
    if (HRESULT status = objectIn(value, object); status < 0) return status;
    Bstr text;
    if (HRESULT status = object->get_Text(text.out()); status < 0) return status;
    out += "opaque(";
    formatString(out, view(text));
    out.push_back(')');
    return S_OK;
}

} // namespace

std::optional<ValueForm> formOfType(std::string_view typeWord) {
    if (typeWord == "mime") return ValueForm::mimeMap;
    if (typeWord == "ipsec") return ValueForm::ipSecurity;
    if (typeWord == "opaque") return ValueForm::opaque;
    const bool isPlain = std::ranges::find(otherTypes, typeWord) != std::end(otherTypes) ||
                         std::ranges::find(scalarTypes, typeWord, &ScalarType::word) != std::end(scalarTypes);
    return isPlain ? std::optional(ValueForm::plain) : std::nullopt;
}

std::string typeWords() {
    std::string words;
    for (const std::string_view word : otherTypes) words.append(word).append(", ");
    for (const ScalarType& type : scalarTypes) words.append(type.word).append(", ");
    return words + "mime, ipsec and opaque";
}

bool parseValue(Lexer& lexer, ValueForm form, Variant& value) {
    return ValueParser(lexer).value(form, &value);
}

bool checkValue(Lexer& lexer, ValueForm form) { return ValueParser(lexer).value(form, nullptr); }

HRESULT formatValue(std::string& out, ValueForm form, const VARIANT& value) {
    switch (form) {
    case ValueForm::mimeMap: return appendMimeMap(out, value);
    case ValueForm::ipSecurity: return appendIpSecurity(out, value);
    case ValueForm::opaque: return appendOpaque(out, value);
    case ValueForm::plain: break;
    }
    const auto elements = elementsOf(value);
    if (!elements) return appendScalar(out, value);
    return elements->size() == 1 ? appendScalar(out, elements->front()) : appendList(out, value);
}

} // namespace metabase
