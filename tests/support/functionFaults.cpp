// Wrappers of the platform's free functions; see faults.h.

#include "automation/safearray.h"
#include "com/runtime.h"
#include "com/text.h"
#include "directory/adsi.h"
#include "tests/support/fronts.h"

extern "C" {

WRAP(HRESULT, CoInitializeEx, (void* reserved, DWORD flags)) {
    return intercept("CoInitializeEx", [&] { return real_CoInitializeEx(reserved, flags); });
}

WRAP(HRESULT, CoCreateInstance,
     (const CLSID& classId, IUnknown* outer, DWORD context, const IID& wanted, void** out)) {
    return intercept("CoCreateInstance",
                     [&] { return real_CoCreateInstance(classId, outer, context, wanted, out); });
}

WRAP(HRESULT, CoGetClassObject,
     (const CLSID& classId, DWORD context, void* server, const IID& wanted, void** out)) {
    return intercept("CoGetClassObject",
                     [&] { return real_CoGetClassObject(classId, context, server, wanted, out); });
}

WRAP(HRESULT, ADsGetObject, (const OLECHAR* path, const IID& wanted, void** object)) {
    return intercept("ADsGetObject", [&] { return real_ADsGetObject(path, wanted, object); });
}

WRAP(HRESULT, ADsBuildEnumerator, (IADsContainer * container, IEnumVARIANT** made)) {
    return intercept("ADsBuildEnumerator", [&] { return real_ADsBuildEnumerator(container, made); });
}

WRAP(HRESULT, ADsEnumerateNext, (IEnumVARIANT * enumerator, ULONG count, VARIANT* elements, ULONG* fetched)) {
    return intercept("ADsEnumerateNext",
                     [&] { return real_ADsEnumerateNext(enumerator, count, elements, fetched); });
}

// The enumerator is freed in any case.
WRAP(HRESULT, ADsFreeEnumerator, (IEnumVARIANT * enumerator)) {
    const HRESULT status = real_ADsFreeEnumerator(enumerator);
    return intercept("ADsFreeEnumerator", [&] { return status; });
}

WRAP(HRESULT, VariantChangeType, (VARIANT * target, const VARIANT* source, WORD flags, VARTYPE type)) {
    return intercept("VariantChangeType",
                     [&] { return real_VariantChangeType(target, source, flags, type); });
}

WRAP(HRESULT, SafeArrayGetVartype, (const SAFEARRAY* array, VARTYPE* type)) {
    return intercept("SafeArrayGetVartype", [&] { return real_SafeArrayGetVartype(array, type); });
}

WRAP(HRESULT, SafeArrayGetLBound, (const SAFEARRAY* array, UINT dimension, LONG* bound)) {
    return intercept("SafeArrayGetLBound", [&] { return real_SafeArrayGetLBound(array, dimension, bound); });
}

WRAP(HRESULT, SafeArrayGetUBound, (const SAFEARRAY* array, UINT dimension, LONG* bound)) {
    return intercept("SafeArrayGetUBound", [&] { return real_SafeArrayGetUBound(array, dimension, bound); });
}

WRAP(HRESULT, SafeArrayGetElement, (const SAFEARRAY* array, const LONG* indices, void* element)) {
    return intercept("SafeArrayGetElement",
                     [&] { return real_SafeArrayGetElement(array, indices, element); });
}

// The results of these four aren't statuses.

WRAP(HRESULT, VarBstrCmp, (BSTR left, BSTR right, LCID locale, ULONG flags)) {
    const HRESULT failure = faultPlan().made ? VARCMP_LT : faultPlan().status;
    return intercept(
        "VarBstrCmp", [&] { return real_VarBstrCmp(left, right, locale, flags); }, failure);
}

WRAP(SAFEARRAY*, SafeArrayCreate, (VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds)) {
    return intercept(
        "SafeArrayCreate", [&] { return real_SafeArrayCreate(type, dimensions, bounds); }, nullptr);
}

WRAP(DWORD, FormatMessageA,
     (DWORD flags, const void* source, DWORD status, DWORD language, char** buffer, DWORD size,
      void* arguments)) {
    return intercept(
        "FormatMessageA",
        [&] { return real_FormatMessageA(flags, source, status, language, buffer, size, arguments); }, 0);
}

WRAP(int, MultiByteToWideChar,
     (UINT codePage, DWORD flags, const char* bytes, int length, OLECHAR* wide, int wideLength)) {
    return intercept(
        "MultiByteToWideChar",
        [&] { return real_MultiByteToWideChar(codePage, flags, bytes, length, wide, wideLength); }, 0);
}
}
