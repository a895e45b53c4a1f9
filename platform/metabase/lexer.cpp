#include "lexer.h"

#include "automation/safearray.h"
#include "automation/scalarText.h"
#include "automation/utf8.h"
#include "valueObjects.h"
#include "valueSyntax.h"

#include <algorithm>
#include <array>

namespace {

enum CharClass : std::uint8_t {
    blank = 1,
    /// Ends a word.
    wordEnd = 2,
    /// Stands for itself in a string, one byte and one unit.
    plain = 4,
    /// In a bare name, and at its start.
    nameMore = 8,
    nameStart = 16,
};

/// The classes of each character.
constexpr std::array<std::uint8_t, 256> charClasses = [] {
    std::array<std::uint8_t, 256> classes{};
    const auto change = [&classes](std::string_view characters, unsigned changed) {
        for (const char c : characters)
            classes[static_cast<unsigned char>(c)] ^= static_cast<std::uint8_t>(changed);
    };
    for (std::size_t c = 0x20; c < 0x7F; ++c) classes[c] = plain;
    change("\"\\", plain);
    change(" \t", blank | wordEnd);
    change(",\"()[]", wordEnd);
    change("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_", nameStart | nameMore);
    change("0123456789-.", nameMore);
    return classes;
}();

bool is(char c, unsigned classes) { return (charClasses[static_cast<unsigned char>(c)] & classes) != 0; }

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

/// Reads one character of a string, escaped or not, which may be half of a surrogate pair only if it is
/// escaped.
bool readCharacter(const char*& at, const char* end, char32_t& character) {
    if (*at != '\\') {
        if (!utf8::read(at, end, character)) return false;
        return character >= 0x20 && (character < 0x7F || character >= 0xA0);
    }
    if (end - at < 2) return false;
    constexpr std::string_view escapes = "\"\\nrt";
    constexpr std::string_view meanings = "\"\\\n\r\t";
    if (const std::size_t found = escapes.find(at[1]); found != std::string_view::npos) {
        character = static_cast<unsigned char>(meanings[found]);
        at += 2;
        return true;
    }
    if (at[1] != 'u' || end - at < 6) return false;
    character = 0;
    for (int i = 2; i < 6; ++i) {
        const int digit = hexDigit(at[i]);
        if (digit < 0) return false;
        character = character << 4 | static_cast<char32_t>(digit);
    }
    at += 6;
    return true;
}

/// Makes the units of a string that was scanned without a fault.
void decode(const char* at, const char* end, std::size_t units, char16_t* out) {
    if (static_cast<std::size_t>(end - at) == units) {
        std::transform(at, end, out, [](char c) { return static_cast<unsigned char>(c); });
        return;
    }
    while (at != end) {
        if (is(*at, plain)) {
            *out++ = static_cast<unsigned char>(*at++);
            continue;
        }
        char32_t character = 0;
        readCharacter(at, end, character);
        if (character >= 0x10000) {
            *out++ = highHalfOf(character);
            *out++ = lowHalfOf(character);
        } else {
            *out++ = static_cast<char16_t>(character);
        }
    }
}

} // namespace

bool isBareName(std::u16string_view name) {
    const auto isOf = [](unsigned classes) {
        return [classes](char16_t unit) { return unit < 0x80 && is(static_cast<char>(unit), classes); };
    };
    return !name.empty() && isOf(nameStart)(name.front()) && std::ranges::all_of(name, isOf(nameMore));
}

Variant arrayOf(std::vector<Variant>& elements) {
    SafeArray array(elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) array[i] = elements[i].detach();
    return Variant::ofArray(array.detach());
}

void LineReader::passBlanks() {
    while (at_ != end_ && is(*at_, blank)) ++at_;
}

bool LineReader::atEnd() {
    passBlanks();
    return at_ == end_;
}

std::string_view LineReader::rest() {
    passBlanks();
    return {at_, static_cast<std::size_t>(end_ - at_)};
}

std::string_view LineReader::word() {
    passBlanks();
    const char* begin = at_;
    while (at_ != end_ && !is(*at_, wordEnd)) ++at_;
    return {begin, static_cast<std::size_t>(at_ - begin)};
}

bool LineReader::optional(char expected) {
    passBlanks();
    if (at_ == end_ || *at_ != expected) return false;
    ++at_;
    return true;
}

bool LineReader::optionalWord(std::string_view text) {
    const std::string_view next = rest();
    if (next.size() <= text.size() || !is(next[text.size()], blank) || !next.starts_with(text)) return false;
    at_ += text.size();
    return true;
}

bool LineReader::symbol(char expected) {
    return optional(expected) || fail(std::string("expected '") + expected + "'");
}

bool LineReader::name(std::u16string_view& name) {
    passBlanks();
    if (at_ != end_ && *at_ == '"') return string(name);
    const char* at = at_;
    if (at == end_ || !is(*at, nameStart)) return fail("expected a name");
    while (at != end_ && is(*at, nameMore)) ++at;
    if (at != end_ && !is(*at, wordEnd)) return fail("expected a name");
    decoded_.assign(static_cast<std::size_t>(at - at_), u'\0');
    decode(at_, at, decoded_.size(), decoded_.data());
    name = decoded_;
    at_ = at;
    return true;
}

bool LineReader::string(std::u16string_view& text) {
    StringSpan span{};
    if (!scanString(span)) return false;
    decoded_.resize(span.units);
    decode(span.begin, span.end, span.units, decoded_.data());
    text = decoded_;
    return true;
}

bool LineReader::scanString(StringSpan& span) {
    if (!optional('"')) return fail("expected a string in double quotes");
    span.begin = at_;
    span.units = 0;
    for (;;) {
        const char* start = at_;
        while (at_ != end_ && is(*at_, plain)) ++at_;
        span.units += static_cast<std::size_t>(at_ - start);
        if (at_ == end_) return fail("a string without its closing quote");
        if (*at_ == '"') break;
        char32_t character = 0;
        if (!readCharacter(at_, end_, character)) {
            return fail("a string with a wrong escape, a control character or no valid UTF-8");
        }
        span.units += character >= 0x10000 ? 2 : 1;
    }
    span.end = at_++;
    return true;
}

bool LineReader::bstr(Bstr* out) {
    StringSpan span{};
    if (!scanString(span)) return false;
    if (out == nullptr) return true;
    *out = Bstr::adopt(SysAllocStringLen(nullptr, static_cast<UINT>(span.units)));
    decode(span.begin, span.end, span.units, out->get());
    return true;
}

bool LineReader::scalar(Variant* out) {
    passBlanks();
    if (at_ != end_ && *at_ == '"') {
        Bstr text;
        if (!bstr(out == nullptr ? nullptr : &text)) return false;
        if (out != nullptr) *out = Variant::ofString(std::move(text));
        return true;
    }
    const std::string_view token = word();
    const std::size_t colon = token.find(':');
    const std::string_view type = token.substr(0, colon == std::string_view::npos ? 0 : colon);
    const std::string_view text = token.substr(colon == std::string_view::npos ? 0 : colon + 1);
    if (type == "bytes") return bytes(text, out);

    VARIANT value{};
    HRESULT status = DISP_E_TYPEMISMATCH;
    if (type == "bool") {
        status = parseScalar(text, VT_I2, value);
        value.vt = VT_BOOL;
    } else if (!type.empty()) {
        const auto words = typeWords();
        const auto found = std::ranges::find(words, type, &TypeWord::word);
        if (found != words.end()) status = parseScalar(text, found->type, value);
    } else if (colon == std::string_view::npos && (text == "true" || text == "false")) {
        status = parseScalar(text, VT_BOOL, value);
    } else if (colon == std::string_view::npos && (text == "empty" || text == "null")) {
        status = S_OK;
        value.vt = text == "empty" ? VT_EMPTY : VT_NULL;
    } else if (colon == std::string_view::npos) {
        status = parseScalar(text, VT_I4, value);
    }
    if (status == DISP_E_OVERFLOW) return fail("a number out of its type's range");
    if (status < 0) return fail("expected a value");
    if (out != nullptr) *out = Variant::adopt(value);
    return true;
}

bool LineReader::bytes(std::string_view digits, Variant* out) {
    if (digits.size() % 2 != 0 || !std::ranges::all_of(digits, [](char c) { return hexDigit(c) >= 0; })) {
        return fail("bytes are pairs of hexadecimal digits");
    }
    if (out == nullptr) return true;
    const SAFEARRAYBOUND bound{static_cast<ULONG>(digits.size() / 2), 0};
    VARIANT value{};
    value.vt = VT_ARRAY | VT_UI1;
    value.parray = SafeArrayCreate(VT_UI1, 1, &bound);
    auto* data = static_cast<BYTE*>(value.parray->pvData);
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        *data++ = static_cast<BYTE>(hexDigit(digits[i]) << 4 | hexDigit(digits[i + 1]));
    }
    *out = Variant::adopt(value);
    return true;
}

/// Items with commas between them, up to the closing bracket.
template <class Item> bool LineReader::items(char close, Item item) {
    if (optional(close)) return true;
    do {
        if (!item()) return false;
    } while (optional(','));
    return symbol(close);
}

bool LineReader::list(Variant* out) {
    if (!symbol('[')) return false;
    const char* first = at_;
    std::size_t count = 0;
    if (!items(']', [&] { return ++count, scalar(nullptr); })) return false;
    if (out == nullptr) return true;

    at_ = first;
    SafeArray array(count);
    std::size_t index = 0;
    items(']', [&] {
        Variant element;
        scalar(&element);
        array[index++] = element.detach();
        return true;
    });
    *out = Variant::ofArray(array.detach());
    return true;
}

bool LineReader::bracket(char open, std::string_view head) {
    if (word() != head)
        return fail("expected " + std::string(head) + open + ", the form of this property's values");
    return symbol(open);
}

bool LineReader::mimeMap(Variant* out) {
    if (!bracket('(', "mime")) return false;
    std::vector<Variant> entries;
    const auto entry = [&] {
        Bstr extension;
        Bstr type;
        if (!bstr(out == nullptr ? nullptr : &extension) || !bstr(out == nullptr ? nullptr : &type))
            return false;
        if (out != nullptr) {
            const auto object = makeObject<MimeType>(std::move(extension), std::move(type));
            entries.push_back(Variant::ofDispatch(ComPtr<IDispatch>(object.get())));
        }
        return true;
    };
    if (!items(')', entry)) return false;
    if (out != nullptr) *out = arrayOf(entries);
    return true;
}

bool LineReader::ipSecurity(Variant* out) {
    if (!bracket('(', "ipsec")) return false;
    const auto rules = makeObject<IpSecurity>();

    Variant grant;
    if (word() != "GrantByDefault") return fail("expected GrantByDefault");
    if (!scalar(&grant)) return false;
    if (grant.type() != VT_BOOL) return fail("GrantByDefault is true or false");
    rules->put_GrantByDefault(grant->boolVal);
    for (const IpSecurityList& part : ipSecurityLists) {
        Variant values;
        if (!symbol(',')) return false;
        if (word() != part.name) return fail("expected " + std::string(part.name));
        if (!list(&values)) return false;
        (rules.get()->*part.put)(values.get());
    }
    if (!symbol(')')) return false;
    if (out != nullptr) *out = Variant::ofDispatch(ComPtr<IDispatch>(rules.get()));
    return true;
}

bool LineReader::opaque(Variant* out) {
    Bstr text;
    if (!bracket('(', "opaque") || !bstr(&text) || !symbol(')')) return false;
    if (out != nullptr) {
        const auto object = makeObject<Opaque>(std::move(text));
        *out = Variant::ofDispatch(ComPtr<IDispatch>(object.get()));
    }
    return true;
}

bool LineReader::value(ValueForm form, Variant* out) {
    if (form == ValueForm::mimeMap) return mimeMap(out);
    if (form == ValueForm::ipSecurity) return ipSecurity(out);
    if (form == ValueForm::opaque) return opaque(out);
    passBlanks();
    if (at_ != end_ && *at_ == '[') return list(out);
    if (out == nullptr) return scalar(nullptr);
    SafeArray array(1);
    Variant element;
    if (!scalar(&element)) return false;
    array[0] = element.detach();
    *out = Variant::ofArray(array.detach());
    return true;
}
