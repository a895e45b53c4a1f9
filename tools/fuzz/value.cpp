// Any text becomes a value of any type, which comes back from its own text, or is refused for a reason.

#include "automation/variant.h"
#include "tools/fuzz/fuzz.h"

#include <array>
#include <bit>
#include <cmath>

namespace {

bool isNan(const VARIANT& value) {
    return (value.vt == VT_R4 && std::isnan(value.fltVal)) ||
           ((value.vt == VT_R8 || value.vt == VT_DATE) && std::isnan(value.dblVal));
}

} // namespace

/// The first two bytes are the type, the others the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const auto type = static_cast<VARTYPE>(data[0] | data[1] << 8);
    const std::u16string text(data + 2, data + size);
    Variant value = Variant::ofString(Bstr(text));
    const HRESULT status = VariantChangeType(&value.get(), &value.get(), 0, type);
    if (status != S_OK) {
        require(status == DISP_E_TYPEMISMATCH || status == DISP_E_OVERFLOW || status == DISP_E_BADVARTYPE);
        require(value.type() == VT_BSTR && equal(value->bstrVal, text));
        return 0;
    }
    Variant canonical;
    Variant back;
    require(VariantChangeType(canonical.out(), &value.get(), 0, VT_BSTR) == S_OK);
    require(VariantChangeType(back.out(), &canonical.get(), 0, type) == S_OK && back.type() == type);
    using Bits = std::array<std::uint64_t, 2>;
    require(type == VT_BSTR || isNan(value.get()) ||
            std::bit_cast<Bits>(back.get()) == std::bit_cast<Bits>(value.get()));
    return 0;
}
