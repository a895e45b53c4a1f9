// The component runtime: joining and leaving it, and the registry of classes.
#pragma once

#include "com/unknown.h"

constexpr DWORD CLSCTX_ALL = 23;

extern "C" {

/// Joins the runtime: S_OK, or S_FALSE if the process has joined it before. Each call needs one
/// CoUninitialize.
HRESULT CoInitializeEx(void* reserved, DWORD flags);

/// Leaves the runtime. The call that balances the first CoInitializeEx runs the atUninitialize callbacks.
void CoUninitialize();

/// Returns the class object of `classId`. REGDB_E_CLASSNOTREG for a class that isn't registered,
/// CO_E_NOTINITIALIZED outside of the runtime.
HRESULT CoGetClassObject(const CLSID& classId, DWORD context, void* serverInfo, const IID& wanted,
                         void** out);

/// Returns a new object of the class `classId`, made by its class object. Statuses as of CoGetClassObject and
/// of IClassFactory::CreateInstance.
HRESULT CoCreateInstance(const CLSID& classId, IUnknown* outer, DWORD context, const IID& wanted, void** out);
}

/// Registers the class object of a class, instead of one registered before. The registry adds a reference of
/// its own.
void registerClass(const CLSID& classId, IUnknown& classObject);

/// Registers a callback that runs when the runtime is left for the last time. Callbacks run in the order of
/// their registration.
void atUninitialize(void (*callback)());

/// A class object whose new objects are default-constructed Objects.
template <class Object> class ClassFactory final : public ComObject<IClassFactory> {
public:
    HRESULT CreateInstance(IUnknown* outer, const IID& wanted, void** out) override {
        *out = nullptr;
        if (outer != nullptr) return CLASS_E_NOAGGREGATION;
        return makeObject<Object>()->QueryInterface(wanted, out);
    }
};
