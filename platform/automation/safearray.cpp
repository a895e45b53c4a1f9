#include "automation/safearray.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <string>

namespace {

// Header, bounds and elements are one block. A VARIANT has the strictest alignment of the three.
constexpr std::size_t headerSize(UINT dimensions) {
    const std::size_t size = sizeof(SAFEARRAY) + dimensions * sizeof(SAFEARRAYBOUND);
    return (size + alignof(VARIANT) - 1) / alignof(VARIANT) * alignof(VARIANT);
}

/// The largest size of all elements, in bytes.
constexpr std::uint64_t largestSize =
    sizeof(VARIANT) * std::uint64_t{std::numeric_limits<std::int32_t>::max()};

std::size_t elementCount(const SAFEARRAY& array) {
    std::size_t count = 1;
    for (UINT i = 0; i < array.cDims; ++i) count *= array.rgsabound[i].cElements;
    return count;
}

void explainBadIndex(std::string_view reason) {
    setStatusDetail(DISP_E_BADINDEX, "Invalid index: " + std::string(reason));
}

} // namespace

SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds) {
    ULONG elementSize = 0;
    if (type == VT_VARIANT) elementSize = sizeof(VARIANT);
    if (type == VT_UI1) elementSize = sizeof(BYTE);
    if (elementSize == 0 || dimensions == 0 || dimensions > std::numeric_limits<WORD>::max()) return nullptr;
    std::uint64_t dataSize = elementSize;
    for (UINT i = 0; i < dimensions; ++i) {
        const std::int64_t upper = std::int64_t{bounds[i].lLbound} + bounds[i].cElements - 1;
        if (upper < std::numeric_limits<LONG>::min() || upper >= std::numeric_limits<LONG>::max())
            return nullptr;
        if (bounds[i].cElements != 0 && dataSize > largestSize / bounds[i].cElements) return nullptr;
        dataSize *= bounds[i].cElements;
    }

    auto* block = static_cast<char*>(memory::allocate(headerSize(dimensions) + dataSize));
    auto* array = new (block) SAFEARRAY{};
    array->cDims = static_cast<WORD>(dimensions);
    array->vt = type;
    array->cbElements = elementSize;
    array->pvData = block + headerSize(dimensions);
    array->rgsabound = reinterpret_cast<SAFEARRAYBOUND*>(block + sizeof(SAFEARRAY));
    std::memcpy(array->rgsabound, bounds, dimensions * sizeof(SAFEARRAYBOUND));
    std::memset(array->pvData, 0, dataSize);
    return array;
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) {
    if (array == nullptr) return S_OK;
    const std::size_t count = elementCount(*array);
    if (array->vt == VT_VARIANT) {
        auto* elements = static_cast<VARIANT*>(array->pvData);
        for (std::size_t i = 0; i < count; ++i) (void)VariantClear(&elements[i]);
    }
    memory::free(array, headerSize(array->cDims) + count * array->cbElements);
    return S_OK;
}

HRESULT SafeArrayCopy(const SAFEARRAY* array, SAFEARRAY** copy) {
    *copy = nullptr;
    if (array == nullptr) return S_OK;
    SAFEARRAY* made = SafeArrayCreate(array->vt, array->cDims, array->rgsabound);
    const std::size_t count = elementCount(*array);
    if (array->vt != VT_VARIANT) {
        std::memcpy(made->pvData, array->pvData, count * array->cbElements);
    } else {
        for (std::size_t i = 0; i < count; ++i) {
            const HRESULT status = VariantCopy(static_cast<VARIANT*>(made->pvData) + i,
                                               static_cast<const VARIANT*>(array->pvData) + i);
            if (status < 0) {
                (void)SafeArrayDestroy(made);
                return status;
            }
        }
    }
    *copy = made;
    return S_OK;
}

UINT SafeArrayGetDim(const SAFEARRAY* array) { return array == nullptr ? 0 : array->cDims; }

HRESULT SafeArrayGetVartype(const SAFEARRAY* array, VARTYPE* type) {
    if (array == nullptr) return E_INVALIDARG;
    *type = array->vt;
    return S_OK;
}

HRESULT SafeArrayGetLBound(const SAFEARRAY* array, UINT dimension, LONG* bound) {
    if (array == nullptr) return E_INVALIDARG;
    if (dimension == 0 || dimension > array->cDims) {
        explainBadIndex("the list has no such dimension");
        return DISP_E_BADINDEX;
    }
    *bound = array->rgsabound[dimension - 1].lLbound;
    return S_OK;
}

HRESULT SafeArrayGetUBound(const SAFEARRAY* array, UINT dimension, LONG* bound) {
    if (HRESULT status = SafeArrayGetLBound(array, dimension, bound); status < 0) return status;
    *bound = static_cast<LONG>(std::int64_t{*bound} + array->rgsabound[dimension - 1].cElements - 1);
    return S_OK;
}

HRESULT SafeArrayGetElement(const SAFEARRAY* array, const LONG* indices, void* element) {
    if (array == nullptr) return E_INVALIDARG;
    std::size_t offset = 0;
    std::size_t stride = 1;
    for (UINT i = 0; i < array->cDims; ++i) {
        const SAFEARRAYBOUND& bound = array->rgsabound[i];
        const std::int64_t index = static_cast<std::int64_t>(indices[i]) - bound.lLbound;
        if (index < 0 || index >= bound.cElements) {
            explainBadIndex(bound.cElements == 0 ? "the list is empty" : "the list has fewer elements");
            return DISP_E_BADINDEX;
        }
        offset += static_cast<std::size_t>(index) * stride;
        stride *= bound.cElements;
    }
    const char* source = static_cast<const char*>(array->pvData) + offset * array->cbElements;
    if (array->vt != VT_VARIANT) {
        std::memcpy(element, source, array->cbElements);
        return S_OK;
    }
    VariantInit(static_cast<VARIANT*>(element));
    return VariantCopy(static_cast<VARIANT*>(element), reinterpret_cast<const VARIANT*>(source));
}
