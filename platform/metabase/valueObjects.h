// The objects that a property's value can be: access rules, entries of a MIME map, and opaque objects.
#pragma once

#include "directory/iis.h"

namespace metabase {

class MimeTypeObject final : public NamelessObject<IISMimeType> {
public:
    /// An entry of two empty texts.
    MimeTypeObject() : MimeTypeObject(Bstr(u""), Bstr(u"")) {}
    MimeTypeObject(Bstr extension, Bstr type) : extension_(std::move(extension)), type_(std::move(type)) {}

    HRESULT get_MimeType(BSTR* type) override;
    HRESULT put_MimeType(BSTR type) override;
    HRESULT get_Extension(BSTR* extension) override;
    HRESULT put_Extension(BSTR extension) override;

private:
    Bstr extension_;
    Bstr type_;
};

class IpSecurityObject final : public NamelessObject<IISIPSecurity> {
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

/// The interface of an opaque object, for the formatting of its value only.
struct IOpaque : IDispatch {
    static constexpr IID iid{0x5B6F0B11, 0x2C4E, 0x4D7A, {0x9A, 0x11, 0x3E, 0x70, 0x5C, 0x62, 0x8D, 0x01}};

    virtual HRESULT get_Text(BSTR* text) = 0;

protected:
    ~IOpaque() = default;
};

/// An object of which the metabase keeps a text and offers nothing else.
class OpaqueObject final : public NamelessObject<IOpaque> {
public:
    explicit OpaqueObject(Bstr text) : text_(std::move(text)) {}

    HRESULT get_Text(BSTR* text) override;

private:
    Bstr text_;
};

} // namespace metabase
