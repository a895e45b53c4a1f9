#include "directory/adsi.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace {

struct RegisteredProvider {
    std::u16string_view prefix;
    ComPtr<IADsProvider> provider;
};

std::vector<RegisteredProvider>& providers() {
    static std::vector<RegisteredProvider> registry;
    return registry;
}

} // namespace

void registerProvider(const OLECHAR* prefix, IADsProvider& provider) {
    std::erase_if(providers(), [prefix](const auto& entry) { return entry.prefix == prefix; });
    providers().push_back({prefix, ComPtr<IADsProvider>(&provider)});
}

HRESULT ADsGetObject(const OLECHAR* path, const IID& wanted, void** object) {
    *object = nullptr;
    const std::u16string_view text = path == nullptr ? std::u16string_view() : path;
    for (const RegisteredProvider& entry : providers()) {
        if (text.starts_with(entry.prefix)) return entry.provider->GetObject(path, wanted, object);
    }
    return MK_E_SYNTAX;
}

HRESULT ADsBuildEnumerator(IADsContainer* container, IEnumVARIANT** enumerator) {
    *enumerator = nullptr;
    ComPtr<IUnknown> made;
    if (HRESULT status = container->get__NewEnum(made.out()); status < 0) return status;
    if (!made) return E_UNEXPECTED;
    ComPtr<IEnumVARIANT> typed;
    const HRESULT status = query(*made, typed);
    *enumerator = typed.detach();
    return status;
}

HRESULT ADsEnumerateNext(IEnumVARIANT* enumerator, ULONG count, VARIANT* elements, ULONG* fetched) {
    return enumerator->Next(count, elements, fetched);
}

HRESULT ADsFreeEnumerator(IEnumVARIANT* enumerator) {
    if (enumerator != nullptr) enumerator->Release();
    return S_OK;
}
