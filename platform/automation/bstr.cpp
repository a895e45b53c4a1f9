#include "automation/bstr.h"

namespace {

// The size of the block before the units. It ends with the length and keeps the alignment of the block.
constexpr std::size_t headerSize = 8;

std::size_t blockSize(UINT byteLength) { return headerSize + byteLength + sizeof(OLECHAR); }

} // namespace

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
    const UINT byteLength = length * static_cast<UINT>(sizeof(OLECHAR));
    if (byteLength / sizeof(OLECHAR) != length) memory::exhausted();
    auto* block = static_cast<char*>(memory::allocate(blockSize(byteLength)));
    std::memcpy(block + headerSize - sizeof byteLength, &byteLength, sizeof byteLength);
    auto* units = reinterpret_cast<BSTR>(block + headerSize);
    if (text != nullptr) std::memcpy(units, text, byteLength);
    units[length] = u'\0';
    return units;
}

void SysFreeString(BSTR text) {
    if (text == nullptr) return;
    memory::free(reinterpret_cast<char*>(text) - headerSize, blockSize(SysStringByteLen(text)));
}

UINT SysStringLen(BSTR text) { return static_cast<UINT>(view(text).size()); }

UINT SysStringByteLen(BSTR text) { return SysStringLen(text) * static_cast<UINT>(sizeof(OLECHAR)); }

HRESULT VarBstrCmp(BSTR left, BSTR right, LCID, ULONG flags) {
    if (flags != 0) return E_INVALIDARG;
    const int order = view(left).compare(view(right));
    return order < 0 ? VARCMP_LT : order > 0 ? VARCMP_GT : VARCMP_EQ;
}
