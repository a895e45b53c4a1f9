#include "valueObjects.h"

namespace {

HRESULT give(const Bstr& text, BSTR* out) {
    *out = SysAllocStringLen(text.get(), SysStringLen(text));
    return S_OK;
}

HRESULT take(BSTR text, Bstr& into) {
    into = Bstr(view(text));
    return S_OK;
}

HRESULT give(const Variant& list, VARIANT* out) {
    VariantInit(out);
    return VariantCopy(out, &list.get());
}

HRESULT take(const VARIANT& list, Variant& into) { return VariantCopy(&into.get(), &list); }

} // namespace

HRESULT MimeType::get_MimeType(BSTR* type) { return give(type_, type); }
HRESULT MimeType::put_MimeType(BSTR type) { return take(type, type_); }
HRESULT MimeType::get_Extension(BSTR* extension) { return give(extension_, extension); }
HRESULT MimeType::put_Extension(BSTR extension) { return take(extension, extension_); }

HRESULT IpSecurity::get_GrantByDefault(VARIANT_BOOL* grant) {
    *grant = grantByDefault_;
    return S_OK;
}
HRESULT IpSecurity::put_GrantByDefault(VARIANT_BOOL grant) {
    grantByDefault_ = grant;
    return S_OK;
}
HRESULT IpSecurity::get_IPGrant(VARIANT* list) { return give(ipGrant_, list); }
HRESULT IpSecurity::put_IPGrant(const VARIANT& list) { return take(list, ipGrant_); }
HRESULT IpSecurity::get_IPDeny(VARIANT* list) { return give(ipDeny_, list); }
HRESULT IpSecurity::put_IPDeny(const VARIANT& list) { return take(list, ipDeny_); }
HRESULT IpSecurity::get_DomainGrant(VARIANT* list) { return give(domainGrant_, list); }
HRESULT IpSecurity::put_DomainGrant(const VARIANT& list) { return take(list, domainGrant_); }
HRESULT IpSecurity::get_DomainDeny(VARIANT* list) { return give(domainDeny_, list); }
HRESULT IpSecurity::put_DomainDeny(const VARIANT& list) { return take(list, domainDeny_); }

HRESULT Opaque::get_Text(BSTR* text) { return give(text_, text); }

HRESULT PropertyAttribute::get_Isinherited(VARIANT_BOOL* inherited) {
    *inherited = inherited_;
    return S_OK;
}
