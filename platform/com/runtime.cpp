#include "com/runtime.h"

#include <vector>

namespace {

struct RegisteredClass {
    CLSID classId;
    ComPtr<IUnknown> classObject;
};

/// Calls of CoInitializeEx without their CoUninitialize.
unsigned joinCount = 0;

std::vector<RegisteredClass>& classes() {
    static std::vector<RegisteredClass> registry;
    return registry;
}

std::vector<void (*)()>& callbacks() {
    static std::vector<void (*)()> registry;
    return registry;
}

} // namespace

HRESULT CoInitializeEx(void*, DWORD) { return joinCount++ == 0 ? S_OK : S_FALSE; }

void CoUninitialize() {
    if (joinCount == 0 || --joinCount > 0) return;
    for (auto* callback : callbacks()) callback();
}

HRESULT CoGetClassObject(const CLSID& classId, DWORD, void*, const IID& wanted, void** out) {
    *out = nullptr;
    if (joinCount == 0) return CO_E_NOTINITIALIZED;
    for (const RegisteredClass& entry : classes()) {
        if (entry.classId == classId) return entry.classObject->QueryInterface(wanted, out);
    }
    return REGDB_E_CLASSNOTREG;
}

HRESULT CoCreateInstance(const CLSID& classId, IUnknown* outer, DWORD context, const IID& wanted,
                         void** out) {
    *out = nullptr;
    void* found = nullptr;
    const HRESULT status = CoGetClassObject(classId, context, nullptr, IClassFactory::iid, &found);
    if (status < 0) return status;
    return ComPtr<IClassFactory>::adopt(static_cast<IClassFactory*>(found))
        ->CreateInstance(outer, wanted, out);
}

void registerClass(const CLSID& classId, IUnknown& classObject) {
    for (RegisteredClass& entry : classes()) {
        if (entry.classId == classId) {
            entry.classObject = ComPtr<IUnknown>(&classObject);
            return;
        }
    }
    classes().push_back({classId, ComPtr<IUnknown>(&classObject)});
}

void atUninitialize(void (*callback)()) { callbacks().push_back(callback); }
