#include "automation/variant.h"

#include "automation/safearray.h"

#include <bit>
#include <string>

static_assert(sizeof(VARIANT) == sizeof(DECIMAL));

namespace {

bool isHeld(VARTYPE type) { return (type & (VT_VECTOR | VT_RESERVED)) == 0; }

HRESULT failBadType(VARTYPE type) {
    setStatusDetail(DISP_E_BADVARTYPE,
                    "Bad variable type: no value can have type=\"" + std::to_string(type) + '"');
    return DISP_E_BADVARTYPE;
}

} // namespace

DECIMAL decimalOf(const VARIANT& value) { return std::bit_cast<DECIMAL>(value); }

void setDecimal(VARIANT& value, DECIMAL number) {
    number.wReserved = VT_DECIMAL;
    value = std::bit_cast<VARIANT>(number);
}

void VariantInit(VARIANT* value) { *value = VARIANT{}; }

HRESULT VariantClear(VARIANT* value) {
    if (!isHeld(value->vt)) return failBadType(value->vt);
    if ((value->vt & VT_BYREF) == 0) {
        if ((value->vt & VT_ARRAY) != 0) {
            (void)SafeArrayDestroy(value->parray);
        } else if (value->vt == VT_BSTR) {
            SysFreeString(value->bstrVal);
        } else if ((value->vt == VT_DISPATCH || value->vt == VT_UNKNOWN) && value->punkVal != nullptr) {
            value->punkVal->Release();
        }
    }
    VariantInit(value);
    return S_OK;
}

HRESULT VariantCopy(VARIANT* target, const VARIANT* source) {
    if (target == source) return S_OK;
    if (!isHeld(source->vt)) return failBadType(source->vt);
    VARIANT copy = *source;
    if ((source->vt & VT_BYREF) == 0) {
        if ((source->vt & VT_ARRAY) != 0) {
            if (HRESULT status = SafeArrayCopy(source->parray, &copy.parray); status < 0) return status;
        } else if (source->vt == VT_BSTR && source->bstrVal != nullptr) {
            copy.bstrVal = SysAllocStringLen(source->bstrVal, SysStringLen(source->bstrVal));
        } else if ((source->vt == VT_DISPATCH || source->vt == VT_UNKNOWN) && source->punkVal != nullptr) {
            source->punkVal->AddRef();
        }
    }
    if (target->vt != VT_EMPTY) (void)VariantClear(target);
    *target = copy;
    return S_OK;
}
