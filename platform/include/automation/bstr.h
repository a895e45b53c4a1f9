// BSTR: a wide string of 16-bit units with a stored length, which may hold any unit, NUL included. A unit of
// 0 stands behind the last one. Null is a string of no units, though some callers tell it from an empty one.
#pragma once

#include "com/unknown.h"

#include <cstring>
#include <initializer_list>
#include <string_view>
#include <utility>

using BSTR = OLECHAR*;

constexpr HRESULT VARCMP_LT = 0;
constexpr HRESULT VARCMP_EQ = 1;
constexpr HRESULT VARCMP_GT = 2;

extern "C" {

/// A string of `length` units, copied from `text`; with a null `text` they are left for the caller to fill.
/// Out of memory is std::bad_alloc, here and in every other call of this folder.
BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
void SysFreeString(BSTR text);

/// Number of 16-bit units, 0 for null.
UINT SysStringLen(BSTR text);
UINT SysStringByteLen(BSTR text);

/// Compares two strings unit by unit, with case, whatever the locale: VARCMP_LT, VARCMP_EQ or VARCMP_GT. Null
/// and empty are equal. Flags other than 0 give E_INVALIDARG.
HRESULT VarBstrCmp(BSTR left, BSTR right, LCID locale, ULONG flags);
}

/// The units of a string. Their length in bytes stands right ahead of the first one.
inline std::u16string_view view(BSTR text) {
    if (text == nullptr) return {};
    UINT byteLength = 0;
    std::memcpy(&byteLength, reinterpret_cast<const char*>(text) - sizeof byteLength, sizeof byteLength);
    return {text, byteLength / sizeof(OLECHAR)};
}

// A character from U+10000 up is a pair of units, its two halves.
constexpr bool isHighHalf(OLECHAR unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool isLowHalf(OLECHAR unit) { return unit >= 0xDC00 && unit < 0xE000; }
constexpr char32_t characterOf(OLECHAR high, OLECHAR low) {
    return 0x10000 + ((char32_t{high} - 0xD800) << 10 | (char32_t{low} - 0xDC00));
}
constexpr OLECHAR highHalfOf(char32_t character) {
    return static_cast<OLECHAR>(0xD800 + ((character - 0x10000) >> 10));
}
constexpr OLECHAR lowHalfOf(char32_t character) {
    return static_cast<OLECHAR>(0xDC00 + ((character - 0x10000) & 0x3FF));
}

/// The one owner of a BSTR.
class Bstr {
public:
    Bstr() = default;
    explicit Bstr(std::u16string_view text)
        : text_(SysAllocStringLen(text.data() == nullptr ? u"" : text.data(),
                                  static_cast<UINT>(text.size()))) {}
    Bstr(Bstr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
    Bstr& operator=(Bstr&& other) noexcept {
        std::swap(text_, other.text_);
        return *this;
    }
    ~Bstr() {
        if (text_ != nullptr) SysFreeString(text_);
    }

    /// Takes over a string.
    static Bstr adopt(BSTR text) {
        Bstr owner;
        owner.text_ = text;
        return owner;
    }

    BSTR get() const { return text_; }
    /// Lends the string to a call.
    operator BSTR() const { return text_; }
    explicit operator bool() const { return text_ != nullptr; }

    void reset() { SysFreeString(std::exchange(text_, nullptr)); }
    /// Gives the string away; the caller frees it.
    BSTR detach() { return std::exchange(text_, nullptr); }
    /// The place where a call puts a string; what was held before is freed.
    BSTR* out() {
        reset();
        return &text_;
    }

private:
    BSTR text_ = nullptr;
};

/// Exact comparison, unit by unit, with case: the lengths, the first units, which tell most texts apart
/// without a call, then the bytes.
inline bool equal(std::u16string_view left, std::u16string_view right) {
    if (left.size() != right.size()) return false;
    return left.empty() || (left.front() == right.front() &&
                            std::memcmp(left.data(), right.data(), left.size() * sizeof(OLECHAR)) == 0);
}
/// Null equals the empty string.
inline bool equal(BSTR left, std::u16string_view right) { return equal(view(left), right); }

/// A place, below `slots`, for a name that isn't empty in a table of those that were looked up last: three of
/// its units and its length tell most names of one schema or document apart, for less than a hash of it all.
inline std::size_t slotOf(std::u16string_view name, std::size_t slots) {
    std::size_t mixed = name.size();
    for (const OLECHAR unit : {name.front(), name[name.size() / 2], name.back()}) mixed = 31 * mixed + unit;
    return mixed % slots;
}
