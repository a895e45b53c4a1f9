// The objects that a property's value can be: access rules, entries of a MIME map, objects that nobody looks
// into.
#pragma once

#include "directory/iis.h"

class MimeType final : public NamelessObject<IISMimeType> {
public:
    MimeType() : MimeType(Bstr(u""), Bstr(u"")) {}
    MimeType(Bstr extension, Bstr type) : extension_(std::move(extension)), type_(std::move(type)) {}

    HRESULT get_MimeType(BSTR* type) override;
    HRESULT put_MimeType(BSTR type) override;
    HRESULT get_Extension(BSTR* extension) override;
    HRESULT put_Extension(BSTR extension) override;

private:
    Bstr extension_;
    Bstr type_;
};

class IpSecurity final : public NamelessObject<IISIPSecurity> {
public:
    HRESULT get_GrantByDefault(VARIANT_BOOL* grant) override;
    HRESULT put_GrantByDefault(VARIANT_BOOL grant) override;
    HRESULT get_IPGrant(VARIANT* list) override;
    HRESULT put_IPGrant(const VARIANT& list) override;
    HRESULT get_IPDeny(VARIANT* list) override;
    HRESULT put_IPDeny(const VARIANT& list) override;
    HRESULT get_DomainGrant(VARIANT* list) override;
    HRESULT put_DomainGrant(const VARIANT& list) override;
    HRESULT get_DomainDeny(VARIANT* list) override;
    HRESULT put_DomainDeny(const VARIANT& list) override;

private:
    VARIANT_BOOL grantByDefault_ = VARIANT_TRUE;
    Variant ipGrant_;
    Variant ipDeny_;
    Variant domainGrant_;
    Variant domainDeny_;
};

/// One of the four lists of the access rules.
struct IpSecurityList {
    std::string_view name;
    HRESULT (IISIPSecurity::*get)(VARIANT*);
    HRESULT (IISIPSecurity::*put)(const VARIANT&);
};

constexpr IpSecurityList ipSecurityLists[] = {
    {"IPGrant", &IISIPSecurity::get_IPGrant, &IISIPSecurity::put_IPGrant},
    {"IPDeny", &IISIPSecurity::get_IPDeny, &IISIPSecurity::put_IPDeny},
    {"DomainGrant", &IISIPSecurity::get_DomainGrant, &IISIPSecurity::put_DomainGrant},
    {"DomainDeny", &IISIPSecurity::get_DomainDeny, &IISIPSecurity::put_DomainDeny},
};

/// The provider's own view of an opaque object.
struct IOpaque : IDispatch {
    static constexpr IID iid{0x5B6F0B11, 0x2C4E, 0x4D7A, {0x9A, 0x11, 0x3E, 0x70, 0x5C, 0x62, 0x8D, 0x01}};

    virtual HRESULT get_Text(BSTR* text) = 0;

protected:
    ~IOpaque() = default;
};

class Opaque final : public NamelessObject<IOpaque> {
public:
    explicit Opaque(Bstr text) : text_(std::move(text)) {}

    HRESULT get_Text(BSTR* text) override;

private:
    Bstr text_;
};

class PropertyAttribute final : public NamelessObject<IISPropertyAttribute> {
public:
    explicit PropertyAttribute(bool inherited) : inherited_(inherited ? VARIANT_TRUE : VARIANT_FALSE) {}

    HRESULT get_Isinherited(VARIANT_BOOL* inherited) override;

private:
    VARIANT_BOOL inherited_;
};
