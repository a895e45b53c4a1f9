// SAFEARRAY: the automation array, of any number of dimensions, each with its own bounds.
#pragma once

#include "automation/variant.h"

#include <cassert>
#include <cstdint>
#include <limits>

struct SAFEARRAYBOUND {
    ULONG cElements;
    LONG lLbound;
};

/// The array's header. `pvData` has its elements, which the array owns; the index of the first dimension
/// varies fastest.
struct SAFEARRAY {
    WORD cDims;
    VARTYPE vt;
    ULONG cbElements;
    void* pvData;
    SAFEARRAYBOUND* rgsabound;
};

extern "C" {

/// Allocates an array of VT_VARIANT or VT_UI1 elements, all of them empty or 0. `bounds` has one entry for
/// each dimension. The caller frees the array with SafeArrayDestroy. Null for another element type, for 0
/// dimensions, for bounds beyond 32 bits, and for more bytes than 2^31 VARIANTs have.
SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds);

/// Clears all elements and frees the array, which may be null.
HRESULT SafeArrayDestroy(SAFEARRAY* array);
/// Returns a copy of the array and of all its elements in `copy`, null for null. If an element can't be
/// copied, returns VariantCopy's status, with null.
HRESULT SafeArrayCopy(const SAFEARRAY* array, SAFEARRAY** copy);

/// The number of dimensions, 0 for null.
UINT SafeArrayGetDim(const SAFEARRAY* array);
/// Returns the type of the elements. E_INVALIDARG for a null array, here and in the calls below.
HRESULT SafeArrayGetVartype(const SAFEARRAY* array, VARTYPE* type);

/// Return the lower and the upper bound of a dimension, counted from 1. DISP_E_BADINDEX for a dimension that
/// the array lacks. The upper bound of an empty dimension is one less than the lower one.
HRESULT SafeArrayGetLBound(const SAFEARRAY* array, UINT dimension, LONG* bound);
HRESULT SafeArrayGetUBound(const SAFEARRAY* array, UINT dimension, LONG* bound);

/// Copies the element at `indices`, one for each dimension, to `element`: a VARIANT, whose former contents
/// aren't freed and which the caller clears, or a byte. DISP_E_BADINDEX if an index is out of bounds.
HRESULT SafeArrayGetElement(const SAFEARRAY* array, const LONG* indices, void* element);
}

/// Owns one SAFEARRAY, or null.
class SafeArray {
public:
    /// Allocates a one-dimensional array of `count` empty VARIANTs, from lower bound 0; null if `count` is
    /// too large for an array.
    explicit SafeArray(std::size_t count) : array_(nullptr) {
        if (count > std::numeric_limits<std::int32_t>::max()) return;
        const SAFEARRAYBOUND bound{static_cast<ULONG>(count), 0};
        array_ = SafeArrayCreate(VT_VARIANT, 1, &bound);
    }
    SafeArray(SafeArray&& other) noexcept : array_(std::exchange(other.array_, nullptr)) {}
    SafeArray& operator=(SafeArray&&) = delete;
    ~SafeArray() { (void)SafeArrayDestroy(array_); } // An owned array can be freed.

    SAFEARRAY* get() const { return array_; }
    /// Whether there is an array.
    explicit operator bool() const { return array_ != nullptr; }
    /// Returns the array, which the caller now owns, and keeps none.
    SAFEARRAY* detach() { return std::exchange(array_, nullptr); }
    /// The element at `index`, counted from 0, which must be below the count. There must be an array.
    VARIANT& operator[](std::size_t index) const {
        assert(array_ != nullptr && index < array_->rgsabound[0].cElements);
        return static_cast<VARIANT*>(array_->pvData)[index];
    }

private:
    SAFEARRAY* array_;
};
