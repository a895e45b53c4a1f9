// The faults in front of the free functions of the platform. The linker has every call of them come here.

#include "automation/safearray.h"
#include "com/runtime.h"
#include "com/text.h"
#include "directory/adsi.h"
#include "tests/fronts.h"

/// The wrapper of a function, behind whose name stand what it returns when it fails, its parameters and its
/// arguments.
#define WRAP(Result, function, failure, parameters, ...)                                                     \
    Result real_##function parameters asm("__real_" #function);                                              \
    Result wrapped_##function parameters asm("__wrap_" #function);                                           \
    Result wrapped_##function parameters {                                                                   \
        return guard(                                                                                        \
            #function, [&] { return real_##function(__VA_ARGS__); }, static_cast<Result>(failure));          \
    }

extern "C" {

WRAP(HRESULT, CoInitializeEx, plan.status, (void* reserved, DWORD flags), reserved, flags)
WRAP(HRESULT, CoCreateInstance, plan.status,
     (const CLSID& classId, IUnknown* outer, DWORD context, const IID& wanted, void** out), classId, outer,
     context, wanted, out)
WRAP(HRESULT, CoGetClassObject, plan.status,
     (const CLSID& classId, DWORD context, void* server, const IID& wanted, void** out), classId, context,
     server, wanted, out)
WRAP(HRESULT, ADsGetObject, plan.status, (const OLECHAR* path, const IID& wanted, void** object), path,
     wanted, object)
WRAP(HRESULT, ADsBuildEnumerator, plan.status, (IADsContainer * container, IEnumVARIANT** made), container,
     made)
WRAP(HRESULT, ADsEnumerateNext, plan.status,
     (IEnumVARIANT * enumerator, ULONG count, VARIANT* elements, ULONG* fetched), enumerator, count, elements,
     fetched)
WRAP(HRESULT, VariantChangeType, plan.status,
     (VARIANT * target, const VARIANT* source, WORD flags, VARTYPE type), target, source, flags, type)
WRAP(HRESULT, SafeArrayGetVartype, plan.status, (const SAFEARRAY* array, VARTYPE* type), array, type)
WRAP(HRESULT, SafeArrayGetLBound, plan.status, (const SAFEARRAY* array, UINT dimension, LONG* bound), array,
     dimension, bound)
WRAP(HRESULT, SafeArrayGetUBound, plan.status, (const SAFEARRAY* array, UINT dimension, LONG* bound), array,
     dimension, bound)
WRAP(HRESULT, SafeArrayGetElement, plan.status, (const SAFEARRAY* array, const LONG* indices, void* element),
     array, indices, element)
WRAP(HRESULT, VarBstrCmp, plan.made ? VARCMP_LT : plan.status,
     (BSTR left, BSTR right, LCID locale, ULONG flags), left, right, locale, flags)
WRAP(DWORD, FormatMessageA, 0,
     (DWORD flags, const void* source, DWORD status, DWORD language, char** buffer, DWORD size,
      void* arguments),
     flags, source, status, language, buffer, size, arguments)
WRAP(int, MultiByteToWideChar, 0,
     (UINT codePage, DWORD flags, const char* bytes, int length, OLECHAR* wide, int wideLength), codePage,
     flags, bytes, length, wide, wideLength)
WRAP(SAFEARRAY*, SafeArrayCreate, nullptr, (VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds),
     type, dimensions, bounds)

// An enumerator goes, whatever the call says of it.
HRESULT realFreeEnumerator(IEnumVARIANT* enumerator) asm("__real_ADsFreeEnumerator");
HRESULT wrappedFreeEnumerator(IEnumVARIANT* enumerator) asm("__wrap_ADsFreeEnumerator");
HRESULT wrappedFreeEnumerator(IEnumVARIANT* enumerator) {
    const HRESULT status = realFreeEnumerator(enumerator);
    return guard("ADsFreeEnumerator", [&] { return status; });
}
}
