// Results of interface methods: what most methods that return or take a string or a value do.
#pragma once

#include "automation/variant.h"

/// Returns a copy of `text` in `*result`, which the caller of the method owns. S_OK.
inline HRESULT returnCopy(std::u16string_view text, BSTR* result) {
    *result = Bstr(text).detach();
    return S_OK;
}

/// Returns a copy of `value` in `*result`, which the caller of the method owns. Statuses as of VariantCopy.
inline HRESULT returnCopy(const Variant& value, VARIANT* result) {
    VariantInit(result);
    return VariantCopy(result, &value.get());
}

/// Returns null: E_NOTIMPL.
inline HRESULT returnNotImplemented(BSTR* result) {
    *result = nullptr;
    return E_NOTIMPL;
}

/// Returns VT_EMPTY: E_NOTIMPL.
inline HRESULT returnNotImplemented(VARIANT* result) {
    VariantInit(result);
    return E_NOTIMPL;
}

/// Makes `target` a copy of `text`, which stays the caller's. S_OK.
inline HRESULT assignCopy(BSTR text, Bstr& target) {
    target = Bstr(view(text));
    return S_OK;
}

/// Makes `target` a copy of `value`, which stays the caller's. Statuses as of VariantCopy.
inline HRESULT assignCopy(const VARIANT& value, Variant& target) {
    return VariantCopy(&target.get(), &value);
}
