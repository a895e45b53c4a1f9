// Wrappers of the platform's free functions; see faults.h.

#include "automation/safearray.h"
#include "com/runtime.h"
#include "com/statusText.h"
#include "directory/adsi.h"
#include "tests/support/fronts.h"

/// Defines the wrapper of a function; the last argument is its result where it fails, if that isn't the
/// status.
#define WRAP_CALL(Result, function, parameters, arguments, ...)                                              \
    WRAP(Result, function, parameters) {                                                                     \
        return intercept(#function, [&] { return real_##function arguments; } __VA_OPT__(, ) __VA_ARGS__);   \
    }

/// The same for a function that hands out an object.
#define WRAP_MAKER(function, parameters, arguments)                                                          \
    WRAP(HRESULT, function, parameters) {                                                                    \
        return intercept(#function, [&] { return fronted(real_##function arguments, wanted, out); });        \
    }

extern "C" {

WRAP_MAKER(CoCreateInstance,
           (const CLSID& classId, IUnknown* outer, DWORD context, const IID& wanted, void** out),
           (classId, outer, context, wanted, out))
WRAP_MAKER(CoGetClassObject,
           (const CLSID& classId, DWORD context, void* server, const IID& wanted, void** out),
           (classId, context, server, wanted, out))
WRAP_MAKER(ADsGetObject, (const OLECHAR* path, const IID& wanted, void** out), (path, wanted, out))

WRAP_CALL(HRESULT, CoInitializeEx, (void* reserved, DWORD flags), (reserved, flags))
WRAP_CALL(HRESULT, ADsBuildEnumerator, (IADsContainer * container, IEnumVARIANT** out), (container, out))
WRAP_CALL(HRESULT, ADsEnumerateNext,
          (IEnumVARIANT * enumerator, ULONG count, VARIANT* elements, ULONG* fetched),
          (enumerator, count, elements, fetched))
WRAP_CALL(HRESULT, VariantChangeType, (VARIANT * target, const VARIANT* source, WORD flags, VARTYPE type),
          (target, source, flags, type))
WRAP_CALL(HRESULT, SafeArrayGetVartype, (const SAFEARRAY* array, VARTYPE* type), (array, type))
WRAP_CALL(HRESULT, SafeArrayGetLBound, (const SAFEARRAY* array, UINT number, LONG* out), (array, number, out))
WRAP_CALL(HRESULT, SafeArrayGetUBound, (const SAFEARRAY* array, UINT number, LONG* out), (array, number, out))
WRAP_CALL(HRESULT, SafeArrayGetElement, (const SAFEARRAY* array, const LONG* indices, void* out),
          (array, indices, out))
WRAP_CALL(HRESULT, VarBstrCmp, (BSTR left, BSTR right, LCID locale, ULONG flags),
          (left, right, locale, flags), faultPlan().made ? VARCMP_LT : faultPlan().status)
WRAP_CALL(SAFEARRAY*, SafeArrayCreate, (VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds),
          (type, dimensions, bounds), nullptr)
WRAP_CALL(DWORD, FormatMessageA,
          (DWORD flags, const void* source, DWORD status, DWORD language, char** buffer, DWORD size,
           void* rest),
          (flags, source, status, language, buffer, size, rest), 0)
WRAP_CALL(int, MultiByteToWideChar,
          (UINT codePage, DWORD flags, const char* bytes, int length, OLECHAR* wide, int wideLength),
          (codePage, flags, bytes, length, wide, wideLength), 0)

// The enumerator is freed in any case.
WRAP(HRESULT, ADsFreeEnumerator, (IEnumVARIANT * enumerator)) {
    const HRESULT status = real_ADsFreeEnumerator(enumerator);
    return intercept("ADsFreeEnumerator", [&] { return status; });
}
}
