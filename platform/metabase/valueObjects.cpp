#include "valueObjects.h"

#include "automation/callResults.h"

namespace metabase {

HRESULT MimeTypeObject::get_MimeType(BSTR* type) { return returnCopy(view(type_), type); }
HRESULT MimeTypeObject::put_MimeType(BSTR type) { return assignCopy(type, type_); }
HRESULT MimeTypeObject::get_Extension(BSTR* extension) { return returnCopy(view(extension_), extension); }
HRESULT MimeTypeObject::put_Extension(BSTR extension) { return assignCopy(extension, extension_); }

HRESULT IpSecurityObject::get_GrantByDefault(VARIANT_BOOL* grant) {
    *grant = grantByDefault_;
    return S_OK;
}
HRESULT IpSecurityObject::put_GrantByDefault(VARIANT_BOOL grant) {
    grantByDefault_ = grant;
    return S_OK;
}
HRESULT IpSecurityObject::get_IPGrant(VARIANT* list) { return returnCopy(ipGrant_, list); }
HRESULT IpSecurityObject::put_IPGrant(const VARIANT& list) { return assignCopy(list, ipGrant_); }
HRESULT IpSecurityObject::get_IPDeny(VARIANT* list) { return returnCopy(ipDeny_, list); }
HRESULT IpSecurityObject::put_IPDeny(const VARIANT& list) { return assignCopy(list, ipDeny_); }
HRESULT IpSecurityObject::get_DomainGrant(VARIANT* list) { return returnCopy(domainGrant_, list); }
HRESULT IpSecurityObject::put_DomainGrant(const VARIANT& list) { return assignCopy(list, domainGrant_); }
HRESULT IpSecurityObject::get_DomainDeny(VARIANT* list) { return returnCopy(domainDeny_, list); }
HRESULT IpSecurityObject::put_DomainDeny(const VARIANT& list) { return assignCopy(list, domainDeny_); }

HRESULT OpaqueObject::get_Text(BSTR* text) { return returnCopy(view(text_), text); }

} // namespace metabase
