// SAFEARRAY: the automation array, of any number of dimensions, each with bounds of its own.
#pragma once

#include "automation/variant.h"

struct SAFEARRAYBOUND {
    ULONG cElements;
    LONG lLbound;
};

/// The array's header; its elements stand in `pvData`, the first dimension's index varying fastest. The array
/// owns them.
struct SAFEARRAY {
    WORD cDims;
    VARTYPE vt;
    ULONG cbElements;
    void* pvData;
    SAFEARRAYBOUND* rgsabound;
};

extern "C" {

/// A new array of VT_VARIANT or VT_UI1 elements, all of them empty or 0; `bounds` has one entry for each
/// dimension. Null for another element type, for no dimension, and for a size that can't be.
SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds);

/// Clears and frees all elements and the array. Null is passed over.
HRESULT SafeArrayDestroy(SAFEARRAY* array);
/// A copy of the array and of all its elements, null for null. On a failure to copy an element `copy` is
/// null.
HRESULT SafeArrayCopy(const SAFEARRAY* array, SAFEARRAY** copy);

/// The number of dimensions, 0 for null.
UINT SafeArrayGetDim(const SAFEARRAY* array);
/// The type of the elements. E_INVALIDARG for a null array, here and in the calls below.
HRESULT SafeArrayGetVartype(const SAFEARRAY* array, VARTYPE* type);

/// The bounds of a dimension, counted from 1; DISP_E_BADINDEX for one that the array lacks. An empty
/// dimension has its upper bound one below its lower one.
HRESULT SafeArrayGetLBound(const SAFEARRAY* array, UINT dimension, LONG* bound);
HRESULT SafeArrayGetUBound(const SAFEARRAY* array, UINT dimension, LONG* bound);

/// Copies the element at `indices` (one for each dimension) to `element`, storage of the element's type whose
/// former contents are not looked at: a VARIANT, or a byte. The caller clears it. DISP_E_BADINDEX if an index
/// is out of bounds.
HRESULT SafeArrayGetElement(const SAFEARRAY* array, const LONG* indices, void* element);
}

/// The one owner of a SAFEARRAY.
class SafeArray {
public:
    /// A one-dimensional array of `count` empty VARIANTs, from lower bound 0.
    explicit SafeArray(std::size_t count);
    SafeArray(SafeArray&& other) noexcept : array_(std::exchange(other.array_, nullptr)) {}
    SafeArray& operator=(SafeArray&&) = delete;
    ~SafeArray() { SafeArrayDestroy(array_); }

    SAFEARRAY* get() const { return array_; }
    /// False if there can be no array of that size.
    explicit operator bool() const { return array_ != nullptr; }
    /// Gives the array away.
    SAFEARRAY* detach() { return std::exchange(array_, nullptr); }
    /// The element at `index`, counted from 0, in its place.
    VARIANT& operator[](std::size_t index) const { return static_cast<VARIANT*>(array_->pvData)[index]; }

private:
    SAFEARRAY* array_;
};
