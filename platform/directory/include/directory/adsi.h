// The directory's interfaces, the calls that bind and enumerate its objects, and the registry of providers.
//
// The caller owns the strings, values and references that a call returns through a parameter (Bstr::out,
// Variant::out, ComPtr::out). It also keeps the strings and values that it passes in.
#pragma once

#include "automation/variant.h"

/// An object of a directory. After it is deleted every call returns E_ADS_OBJECT_UNBOUND. Calls with a
/// property's name return E_ADS_PROPERTY_NOT_FOUND if the object's class doesn't list it, Put also
/// E_ADS_CANT_CONVERT_DATATYPE for a value that the property can't hold. A change that the metabase's file
/// doesn't allow is E_ACCESSDENIED or HRESULT_FROM_WIN32(ERROR_...).
struct IADs : IDispatch {
    static constexpr IID iid{0xFD8256D0, 0xFD15, 0x11CE, {0xAB, 0xC4, 0x02, 0x60, 0x8C, 0x9E, 0x75, 0x53}};

    /// The relative name.
    virtual HRESULT get_Name(BSTR* name) = 0;
    virtual HRESULT get_Class(BSTR* className) = 0;
    /// The full path, which ADsGetObject opens.
    virtual HRESULT get_ADsPath(BSTR* path) = 0;
    /// The full path of the parent. The topmost object has none, and fails.
    virtual HRESULT get_Parent(BSTR* path) = 0;
    /// A path that ADsGetObject opens as IADsClass, the same for all objects of a class.
    virtual HRESULT get_Schema(BSTR* path) = 0;

    /// Commits the values that were put since the last commit: all of them or none.
    virtual HRESULT SetInfo() = 0;
    /// Returns a property's value in the form for Put: a single value for a property with one value, else an
    /// array.
    virtual HRESULT Get(BSTR name, VARIANT* value) = 0;
    /// Keeps a value for the next SetInfo.
    virtual HRESULT Put(BSTR name, const VARIANT& value) = 0;
    /// Returns a property's value as a one-dimensional array of VARIANTs, also for one value; the value of a
    /// property that is an object as a single VT_DISPATCH.
    virtual HRESULT GetEx(BSTR name, VARIANT* value) = 0;

protected:
    ~IADs() = default;
};

/// An object that can have children. Create and Delete take effect at once.
struct IADsContainer : IDispatch {
    static constexpr IID iid{0x001677D0, 0xFD16, 0x11CE, {0xAB, 0xC4, 0x02, 0x60, 0x8C, 0x9E, 0x75, 0x53}};

    /// Returns an enumerator (IEnumVARIANT) of the present children.
    virtual HRESULT get__NewEnum(IUnknown** enumerator) = 0;
    /// Creates a child. E_ADS_OBJECT_EXISTS; E_ADS_BAD_PATHNAME for a name that a child can't have;
    /// E_ADS_SCHEMA_VIOLATION for an unknown class.
    virtual HRESULT Create(BSTR className, BSTR name, IDispatch** created) = 0;
    /// Deletes a child and all below it. E_ADS_UNKNOWN_OBJECT if no child has both the name and the class.
    virtual HRESULT Delete(BSTR className, BSTR name) = 0;

protected:
    ~IADsContainer() = default;
};

/// A class of the schema. The lists are one-dimensional arrays of names.
struct IADsClass : IADs {
    static constexpr IID iid{0xC8F93DD0, 0x4AE0, 0x11CF, {0x9E, 0x73, 0x00, 0xAA, 0x00, 0x4A, 0x56, 0x91}};

    virtual HRESULT get_MandatoryProperties(VARIANT* names) = 0;
    virtual HRESULT get_OptionalProperties(VARIANT* names) = 0;

protected:
    ~IADsClass() = default;
};

/// An object that can be deleted in one call.
struct IADsDeleteOps : IDispatch {
    static constexpr IID iid{0xB2BD0902, 0x8878, 0x11D1, {0x8C, 0x21, 0x00, 0xC0, 0x4F, 0xD8, 0xD5, 0x03}};

    /// Deletes the object and all below it. `flags` is 0.
    virtual HRESULT DeleteObject(LONG flags) = 0;

protected:
    ~IADsDeleteOps() = default;
};

/// An enumerator of VARIANTs.
struct IEnumVARIANT : IUnknown {
    static constexpr IID iid{0x00020404, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

    /// Returns up to `count` elements in `elements`, which the caller clears, and their number in `fetched`.
    /// S_FALSE if there are fewer than `count`.
    virtual HRESULT Next(ULONG count, VARIANT* elements, ULONG* fetched) = 0;

protected:
    ~IEnumVARIANT() = default;
};

/// The provider of all paths with one prefix.
struct IADsProvider : IUnknown {
    static constexpr IID iid{0x5B6F0B10, 0x2C4E, 0x4D7A, {0x9A, 0x11, 0x3E, 0x70, 0x5C, 0x62, 0x8D, 0x01}};

    /// Returns the object at a path, which includes the prefix, as the interface `wanted`. Negative, with
    /// null, if there is none.
    virtual HRESULT GetObject(const OLECHAR* path, const IID& wanted, void** object) = 0;

protected:
    ~IADsProvider() = default;
};

/// Registers the provider of the paths that begin with `prefix`, such as u"IIS:", instead of one registered
/// before. The registry adds a reference of its own. `prefix` must live as long as the process.
void registerProvider(const OLECHAR* prefix, IADsProvider& provider);

extern "C" {

/// Returns the object at `path` from the provider of its prefix. MK_E_SYNTAX if no provider has the prefix.
HRESULT ADsGetObject(const OLECHAR* path, const IID& wanted, void** object);

/// Returns an enumerator that starts at the first child. The caller frees it with ADsFreeEnumerator.
HRESULT ADsBuildEnumerator(IADsContainer* container, IEnumVARIANT** enumerator);
/// IEnumVARIANT::Next. The last element may be returned with S_FALSE, or with S_OK, in which case the next
/// call returns S_FALSE without one.
HRESULT ADsEnumerateNext(IEnumVARIANT* enumerator, ULONG count, VARIANT* elements, ULONG* fetched);
/// Frees an enumerator, which may be null.
HRESULT ADsFreeEnumerator(IEnumVARIANT* enumerator);
}

/// ADsGetObject for the interface T.
template <class T> HRESULT bindObject(const OLECHAR* path, ComPtr<T>& object) {
    return receive(object, [path](void** found) { return ADsGetObject(path, T::iid, found); });
}
