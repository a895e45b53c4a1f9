// BSTR: a wide string of 16-bit units with a stored length. It may hold any unit, NUL included, and a unit of
// 0 follows the last one. Null is a string without units; some callers treat it differently from an empty
// one.
#pragma once

#include "com/unknown.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string_view>
#include <utility>

using BSTR = OLECHAR*;

constexpr HRESULT VARCMP_LT{0};
constexpr HRESULT VARCMP_EQ{1};
constexpr HRESULT VARCMP_GT{2};

extern "C" {

/// Allocates a string of `length` units, copied from `text`; if `text` is null the caller sets the units. The
/// caller frees it with SysFreeString.
BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
/// Frees a string, which may be null.
void SysFreeString(BSTR text);

/// The number of 16-bit units, 0 for null.
UINT SysStringLen(BSTR text);
/// The number of bytes of the units, 0 for null.
UINT SysStringByteLen(BSTR text);

/// Compares two strings unit by unit, with case, independent of the locale: VARCMP_LT, VARCMP_EQ or
/// VARCMP_GT. Null and empty are equal. E_INVALIDARG for flags other than 0.
HRESULT VarBstrCmp(BSTR left, BSTR right, LCID locale, ULONG flags);
}

/// The units of a string, none for null. The length in bytes is stored before the first unit.
inline std::u16string_view view(BSTR text) {
    if (text == nullptr) return {};
    UINT byteLength = 0;
    std::memcpy(&byteLength, reinterpret_cast<const char*>(text) - sizeof byteLength, sizeof byteLength);
    return {text, byteLength / sizeof(OLECHAR)};
}

/// Owns one BSTR, or null.
class Bstr {
public:
    Bstr() = default;
    /// A copy of `text`, never null.
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

    /// An owner of `text`, which may be null.
    static Bstr adopt(BSTR text) {
        Bstr owner;
        owner.text_ = text;
        return owner;
    }

    BSTR get() const { return text_; }
    /// Lets a call borrow the string.
    operator BSTR() const { return text_; }
    explicit operator bool() const { return text_ != nullptr; }

    void reset() { SysFreeString(std::exchange(text_, nullptr)); }
    /// Returns the string, which the caller now owns, and keeps none.
    BSTR detach() { return std::exchange(text_, nullptr); }
    /// Frees the string, and returns the address where a call puts another one.
    BSTR* out() {
        reset();
        return &text_;
    }

private:
    BSTR text_ = nullptr;
};

/// A BSTR in static memory, which nobody allocates, changes or frees: before main has a handler for a lack of
/// memory, nothing may be allocated.
template <std::size_t size> class StaticBstr {
public:
    consteval explicit StaticBstr(const OLECHAR (&text)[size]) {
        constexpr UINT byteLength{(size - 1) * sizeof(OLECHAR)};
        const auto length = std::bit_cast<std::array<OLECHAR, lengthUnits>>(byteLength);
        std::ranges::copy(text, std::ranges::copy(length, block_.begin()).out);
    }
    /// Lets a call borrow the string.
    operator BSTR() const { return const_cast<BSTR>(block_.data() + lengthUnits); }

private:
    static constexpr std::size_t lengthUnits = sizeof(UINT) / sizeof(OLECHAR);

    /// The length in bytes, the units and the NUL.
    std::array<OLECHAR, lengthUnits + size> block_{};
};

/// Whether two texts are the same, unit by unit, with case. Most texts differ in length or in the first unit,
/// which costs no call.
inline bool equal(std::u16string_view left, std::u16string_view right) {
    if (left.size() != right.size()) return false;
    return left.empty() || (left.front() == right.front() &&
                            std::memcmp(left.data(), right.data(), left.size() * sizeof(OLECHAR)) == 0);
}
/// The same for a BSTR; null equals the empty text.
inline bool equal(BSTR left, std::u16string_view right) { return equal(view(left), right); }
