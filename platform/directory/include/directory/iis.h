// The interfaces that the provider of the server's metabase offers beyond those of the directory.
#pragma once

#include "directory/adsi.h"

/// The class of new MIME map entries.
constexpr CLSID CLSID_MimeMap{0x9036B028, 0xA780, 0x11D0, {0x9B, 0x3D, 0x00, 0x80, 0xC7, 0x10, 0xEF, 0x95}};

/// An object of the metabase.
struct IISBaseObject : IDispatch {
    static constexpr IID iid{0x4B42E390, 0x0E96, 0x11D1, {0x9C, 0x3F, 0x00, 0xA0, 0xC9, 0x22, 0xE7, 0x03}};

    /// Returns the attributes of a property on this object, to be queried for IISPropertyAttribute.
    virtual HRESULT GetPropertyAttribObj(BSTR name, IDispatch** attributes) = 0;

protected:
    ~IISBaseObject() = default;
};

/// The attributes of a property on one object.
struct IISPropertyAttribute : IDispatch {
    static constexpr IID iid{0x50E21930, 0xA247, 0x11D1, {0xB7, 0x9C, 0x00, 0xA0, 0xC9, 0x0A, 0x57, 0x0A}};

    /// Whether the object inherits the value from one above it.
    virtual HRESULT get_Isinherited(VARIANT_BOOL* inherited) = 0;

protected:
    ~IISPropertyAttribute() = default;
};

/// Access rules by address and domain. Each list is an array of VARIANTs. The value of a property is a copy:
/// only IADs::Put and SetInfo change the metabase.
struct IISIPSecurity : IDispatch {
    static constexpr IID iid{0xF3287521, 0xBBA3, 0x11D0, {0x9B, 0x42, 0x00, 0xA0, 0xC9, 0x22, 0xE7, 0x03}};

    virtual HRESULT get_GrantByDefault(VARIANT_BOOL* grant) = 0;
    virtual HRESULT put_GrantByDefault(VARIANT_BOOL grant) = 0;
    virtual HRESULT get_IPGrant(VARIANT* list) = 0;
    virtual HRESULT put_IPGrant(const VARIANT& list) = 0;
    virtual HRESULT get_IPDeny(VARIANT* list) = 0;
    virtual HRESULT put_IPDeny(const VARIANT& list) = 0;
    virtual HRESULT get_DomainGrant(VARIANT* list) = 0;
    virtual HRESULT put_DomainGrant(const VARIANT& list) = 0;
    virtual HRESULT get_DomainDeny(VARIANT* list) = 0;
    virtual HRESULT put_DomainDeny(const VARIANT& list) = 0;

protected:
    ~IISIPSecurity() = default;
};

/// One entry of a MIME map.
struct IISMimeType : IDispatch {
    static constexpr IID iid{0x9036B027, 0xA780, 0x11D0, {0x9B, 0x3D, 0x00, 0x80, 0xC7, 0x10, 0xEF, 0x95}};

    virtual HRESULT get_MimeType(BSTR* type) = 0;
    virtual HRESULT put_MimeType(BSTR type) = 0;
    virtual HRESULT get_Extension(BSTR* extension) = 0;
    virtual HRESULT put_Extension(BSTR extension) = 0;

protected:
    ~IISMimeType() = default;
};
