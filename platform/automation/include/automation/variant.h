// VARIANT: an automation value, that is, a type and its data.
#pragma once

#include "automation/bstr.h"

#include <cstdint>

using VARTYPE = std::uint16_t;
using VARIANT_BOOL = std::int16_t;
/// Days since 1899-12-30; the absolute value of the fraction is the time of day, also for negative dates.
using DATE = double;

constexpr VARIANT_BOOL VARIANT_TRUE = -1;
constexpr VARIANT_BOOL VARIANT_FALSE = 0;

constexpr VARTYPE VT_EMPTY = 0;
constexpr VARTYPE VT_NULL = 1;
constexpr VARTYPE VT_I2 = 2;
constexpr VARTYPE VT_I4 = 3;
constexpr VARTYPE VT_R4 = 4;
constexpr VARTYPE VT_R8 = 5;
constexpr VARTYPE VT_CY = 6;
constexpr VARTYPE VT_DATE = 7;
constexpr VARTYPE VT_BSTR = 8;
constexpr VARTYPE VT_DISPATCH = 9;
constexpr VARTYPE VT_ERROR = 10;
constexpr VARTYPE VT_BOOL = 11;
constexpr VARTYPE VT_VARIANT = 12;
constexpr VARTYPE VT_UNKNOWN = 13;
constexpr VARTYPE VT_DECIMAL = 14;
constexpr VARTYPE VT_I1 = 16;
constexpr VARTYPE VT_UI1 = 17;
constexpr VARTYPE VT_UI2 = 18;
constexpr VARTYPE VT_UI4 = 19;
constexpr VARTYPE VT_I8 = 20;
constexpr VARTYPE VT_UI8 = 21;
constexpr VARTYPE VT_INT = 22;
constexpr VARTYPE VT_UINT = 23;
constexpr VARTYPE VT_HRESULT = 25;
constexpr VARTYPE VT_CLSID = 72;

constexpr VARTYPE VT_VECTOR = 0x1000;
constexpr VARTYPE VT_ARRAY = 0x2000;
constexpr VARTYPE VT_BYREF = 0x4000;
constexpr VARTYPE VT_RESERVED = 0x8000;

/// The bits of a type below its flags.
constexpr VARTYPE VT_TYPEMASK = 0xFFF;

struct SAFEARRAY;

/// An amount of money, in units of 1/10000.
struct CY {
    std::int64_t int64;
};

/// A 96-bit whole number, divided by ten to the power of `scale` (0 to 28). `sign` is 0 or DECIMAL_NEG.
struct DECIMAL {
    WORD wReserved;
    BYTE scale;
    BYTE sign;
    ULONG Hi32;
    std::uint64_t Lo64;
};

constexpr BYTE DECIMAL_NEG = 0x80;

/// `vt` determines which member holds the data; VT_EMPTY and VT_NULL have none. A VT_DECIMAL uses the whole
/// VARIANT, see decimalOf.
struct VARIANT {
    VARTYPE vt;
    WORD wReserved1;
    ULONG wReserved2;
    union {
        std::int64_t llVal;
        std::uint64_t ullVal;
        std::int32_t lVal;
        std::uint32_t ulVal;
        std::int16_t iVal;
        std::uint16_t uiVal;
        std::int8_t cVal;
        std::uint8_t bVal;
        std::int32_t intVal;
        std::uint32_t uintVal;
        float fltVal;
        double dblVal;
        VARIANT_BOOL boolVal;
        LONG scode;
        CY cyVal;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        SAFEARRAY* parray;
        void* byref;
    };
};

/// The number in a VT_DECIMAL.
DECIMAL decimalOf(const VARIANT& value);
/// Makes `value` a VT_DECIMAL of `number`, without freeing its former contents.
void setDecimal(VARIANT& value, DECIMAL number);

extern "C" {

/// Makes `value` VT_EMPTY, without freeing its former contents.
void VariantInit(VARIANT* value);

/// Frees what the value owns and makes it VT_EMPTY. DISP_E_BADVARTYPE, with the value unchanged, for a type
/// that a VARIANT can't hold.
HRESULT VariantClear(VARIANT* value);

/// Clears `target` and makes it a copy of `source`: strings and arrays are copied, references counted.
/// On a failure, DISP_E_BADVARTYPE as of VariantClear, `target` is unchanged.
HRESULT VariantCopy(VARIANT* target, const VARIANT* source);

/// Converts `source` to `type` and puts the result into `target`, which is cleared first and may be `source`
/// itself. On a failure `target` is unchanged. `flags` must be 0, else E_INVALIDARG.
///
/// Conversions: every type to itself, every type with a text to VT_BSTR and back, numbers to VT_BOOL. A value
/// converted to text and back is the same to the bit, except a NaN.
///
/// Integers are decimal text, floats the shortest text that reads back the same, VT_CY and VT_DECIMAL decimal
/// fractions, VT_BOOL "true" or "false", VT_DATE "1998-07-14T08:30:00" or, where no such text is exact, the
/// number itself. VT_EMPTY and VT_NULL are the empty text.
///
/// DISP_E_OVERFLOW: a number out of the type's range. DISP_E_TYPEMISMATCH: a text that isn't a value of the
/// type, and types that have no text. DISP_E_BADVARTYPE: VT_VARIANT, VT_CLSID and numbers that aren't a type
/// of a VARIANT. Each of the three sets a text (setStatusDetail) that quotes a string and the type as a
/// backup file has them.
HRESULT VariantChangeType(VARIANT* target, const VARIANT* source, WORD flags, VARTYPE type);
}

/// Owns the contents of a VARIANT.
class Variant {
public:
    Variant() = default;
    Variant(Variant&& other) noexcept : value_(other.detach()) {}
    Variant& operator=(Variant&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Variant() {
        if (value_.vt != VT_EMPTY) (void)VariantClear(&value_); // An owned value can be freed.
    }

    /// An owner of the contents of `value`.
    static Variant adopt(const VARIANT& value) {
        Variant owner;
        owner.value_ = value;
        return owner;
    }
    static Variant ofString(Bstr text) {
        Variant made;
        made.value_.vt = VT_BSTR;
        made.value_.bstrVal = text.detach();
        return made;
    }
    static Variant ofBool(bool truth) {
        Variant made;
        made.value_.vt = VT_BOOL;
        made.value_.boolVal = truth ? VARIANT_TRUE : VARIANT_FALSE;
        return made;
    }
    /// An owner of an array of VARIANTs.
    static Variant ofArray(SAFEARRAY* array) {
        Variant made;
        made.value_.vt = VT_ARRAY | VT_VARIANT;
        made.value_.parray = array;
        return made;
    }
    static Variant ofDispatch(ComPtr<IDispatch> object) {
        Variant made;
        made.value_.vt = VT_DISPATCH;
        made.value_.pdispVal = object.detach();
        return made;
    }

    VARTYPE type() const { return value_.vt; }
    const VARIANT* operator->() const { return &value_; }
    VARIANT& get() { return value_; }
    const VARIANT& get() const { return value_; }

    void reset() {
        if (value_.vt != VT_EMPTY) (void)VariantClear(&value_);
    }
    /// Returns the value, whose contents the caller now owns, and becomes VT_EMPTY.
    VARIANT detach() { return std::exchange(value_, VARIANT{}); }
    /// Clears the value, and returns the address where a call puts another one.
    VARIANT* out() {
        reset();
        return &value_;
    }

private:
    VARIANT value_{};
};
