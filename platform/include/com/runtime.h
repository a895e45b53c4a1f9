// The component runtime: joining and leaving it, and the registry of classes.
#pragma once

#include "com/unknown.h"

constexpr DWORD CLSCTX_ALL = 23;

extern "C" {

/// Joins the runtime. S_OK, or S_FALSE if it was joined already; each call needs its CoUninitialize.
HRESULT CoInitializeEx(void* reserved, DWORD flags);

/// Leaves the runtime. The last one out has the registered servers put their affairs in order.
void CoUninitialize();

/// The class object of `classId`. REGDB_E_CLASSNOTREG for an unknown class, CO_E_NOTINITIALIZED outside of
/// the runtime.
HRESULT CoGetClassObject(const CLSID& classId, DWORD context, void* serverInfo, const IID& wanted,
                         void** out);

/// A new object of the class `classId`, through its class object.
HRESULT CoCreateInstance(const CLSID& classId, IUnknown* outer, DWORD context, const IID& wanted, void** out);
}

/// Registers the class object of a class, in place of one registered before. The registry takes a reference
/// of its own.
void registerClass(const CLSID& classId, IUnknown& classObject);

/// Registers what a server does when the runtime is left for the last time.
void atUninitialize(void (*callback)());

/// A class object that makes default objects of one class.
template <class Object> class ClassFactory final : public ComObject<IClassFactory> {
public:
    HRESULT CreateInstance(IUnknown* outer, const IID& wanted, void** out) override {
        *out = nullptr;
        if (outer != nullptr) return CLASS_E_NOAGGREGATION;
        return makeObject<Object>()->QueryInterface(wanted, out);
    }
};
