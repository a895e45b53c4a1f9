// Any text becomes a value of any type or is refused for a reason, and every value comes back from its text.

#include "platform/automation/scalarText.h"
#include "tests/fuzz/fuzz.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

bool isNan(const VARIANT& value) {
    return (value.vt == VT_R4 && std::isnan(value.fltVal)) ||
           ((value.vt == VT_R8 || value.vt == VT_DATE) && std::isnan(value.dblVal));
}

void requireSameThroughText(const VARIANT& value) {
    Variant text;
    require(VariantChangeType(text.out(), &value, 0, VT_BSTR) == S_OK);
    Variant back;
    require(VariantChangeType(back.out(), &text.get(), 0, value.vt) == S_OK && back.type() == value.vt);
    Variant again;
    require(VariantChangeType(again.out(), &back.get(), 0, VT_BSTR) == S_OK);
    require(equal(again->bstrVal, view(text->bstrVal)));
    if (value.vt == VT_BSTR || isNan(value)) return;
    require(std::memcmp(&back.get(), &value, sizeof value) == 0);
}

std::size_t widthOf(VARTYPE type) {
    switch (type) {
    case VT_I1:
    case VT_UI1: return 1;
    case VT_I2:
    case VT_UI2: return 2;
    case VT_I8:
    case VT_UI8:
    case VT_CY:
    case VT_DATE:
    case VT_R8: return 8;
    default: return 4;
    }
}

} // namespace

/// The first two bytes are the type; the others are a text, and where they fit, the bits of a value too.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const auto type = static_cast<VARTYPE>(data[0] | data[1] << 8);
    const Bstr text(std::u16string(data + 2, data + size));
    Variant value = Variant::ofString(Bstr(view(text)));
    const HRESULT status = VariantChangeType(&value.get(), &value.get(), 0, type);
    if (status == S_OK) {
        require(value.type() == type);
        requireSameThroughText(value.get());
    } else {
        require(status == DISP_E_TYPEMISMATCH || status == DISP_E_OVERFLOW || status == DISP_E_BADVARTYPE);
        require(value.type() == VT_BSTR && equal(value->bstrVal, view(text)));
    }
    if (!isScalar(type) || type == VT_BOOL || type == VT_DECIMAL) return 0;
    VARIANT bits{};
    bits.vt = type;
    std::memcpy(&bits.ullVal, data + 2, std::min(size - 2, widthOf(type)));
    requireSameThroughText(bits);
    return 0;
}
