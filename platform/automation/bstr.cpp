#include "platform/automation/bstr.h"

#include <cstring>
#include <new>
#include <string>

namespace {

// The length in bytes stands right ahead of the first unit.
constexpr std::size_t headSize = 8;

char* blockOf(BSTR text) { return reinterpret_cast<char*>(text) - headSize; }

} // namespace

BSTR SysAllocString(const OLECHAR* text) {
    if (text == nullptr) return nullptr;
    return SysAllocStringLen(text, static_cast<UINT>(std::char_traits<OLECHAR>::length(text)));
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
    const UINT byteLength = length * static_cast<UINT>(sizeof(OLECHAR));
    if (byteLength / sizeof(OLECHAR) != length) throw std::bad_alloc();
    auto* block = static_cast<char*>(::operator new(headSize + byteLength + sizeof(OLECHAR)));
    std::memcpy(block + headSize - sizeof byteLength, &byteLength, sizeof byteLength);
    auto* units = reinterpret_cast<BSTR>(block + headSize);
    if (text != nullptr) std::memcpy(units, text, byteLength);
    units[length] = u'\0';
    return units;
}

void SysFreeString(BSTR text) {
    if (text != nullptr) ::operator delete(blockOf(text));
}

UINT SysStringLen(BSTR text) { return SysStringByteLen(text) / static_cast<UINT>(sizeof(OLECHAR)); }

UINT SysStringByteLen(BSTR text) {
    UINT byteLength = 0;
    if (text != nullptr)
        std::memcpy(&byteLength, blockOf(text) + headSize - sizeof byteLength, sizeof byteLength);
    return byteLength;
}

HRESULT VarBstrCmp(BSTR left, BSTR right, LCID, ULONG flags) {
    if (flags != 0) return E_INVALIDARG;
    const int order = view(left).compare(view(right));
    return order < 0 ? VARCMP_LT : order > 0 ? VARCMP_GT : VARCMP_EQ;
}
