#include "propIPSec.h"

#include "directory/iis.h"
#include "dispUtils.h"
#include "propDefault.h"
#include "propPrint.h"

#include <string>

namespace {

constexpr const OLECHAR* grantByDefaultName = u"GrantByDefault";

/// One of the four lists: its name, its field of IpSecValues and its calls.
struct SubList {
    const OLECHAR* name;
    Variant IpSecValues::*field;
    HRESULT (IISIPSecurity::*get)(VARIANT*);
    HRESULT (IISIPSecurity::*put)(const VARIANT&);
};

constexpr SubList ipGrant = {u"IPGrant", &IpSecValues::ipGrant, &IISIPSecurity::get_IPGrant,
                             &IISIPSecurity::put_IPGrant};
constexpr SubList ipDeny = {u"IPDeny", &IpSecValues::ipDeny, &IISIPSecurity::get_IPDeny,
                            &IISIPSecurity::put_IPDeny};
constexpr SubList domainGrant = {u"DomainGrant", &IpSecValues::domainGrant, &IISIPSecurity::get_DomainGrant,
                                 &IISIPSecurity::put_DomainGrant};
constexpr SubList domainDeny = {u"DomainDeny", &IpSecValues::domainDeny, &IISIPSecurity::get_DomainDeny,
                                &IISIPSecurity::put_DomainDeny};

/// The order of reads of the live object, and that of reads of a file and of writes to the object. They
/// differ on purpose: other providers rely on both.
constexpr SubList readOrder[] = {ipGrant, ipDeny, domainGrant, domainDeny};
constexpr SubList writeOrder[] = {ipDeny, ipGrant, domainDeny, domainGrant};

/// Queries the live value of the property `name` for its rules.
Status queryRules(const OLECHAR* name, const VARIANT& value, ComPtr<IISIPSecurity>& rules) {
    if (value.vt != VT_DISPATCH)
        return reported(E_UNEXPECTED, "%S property should be of type VT_DISPATCH", name);
    if (Status status = queryObject(value, rules); status < 0)
        return reported(status, "QI for IISIPSecurity on %S property", name);
    return S_OK;
}

/// Parses the child element with the name of a sub-property.
Status parseSubProperty(IXMLDOMNode& node, const OLECHAR* name, Variant& out) {
    const Bstr queryText(u"./*[@name=\"" + std::u16string(name) + u"\"]");
    ComPtr<IXMLDOMNode> child;
    if (Status status = node.selectSingleNode(queryText, child.out()); status < 0)
        return reported(status, "selectSingleNode ( %S )", name);
    if (!child) return reported(E_FAIL, "IPSecurity property has no %S element", name);
    bool inherited = false;
    const Status status = parsePropNode(*child, out, inherited);
    return status < 0 ? reported(status) : S_OK;
}

/// Converts the first element of a parsed value to a boolean.
Status parseFirstAsBool(const Variant& array, VARIANT_BOOL& truth) {
    LONG first = 0;
    if (Status status = SafeArrayGetLBound(array->parray, 1, &first); status < 0) return reported(status);
    Variant element;
    if (Status status = getArrayElement(array.get(), first, element); status < 0) return reported(status);
    if (Status status = VariantChangeType(&element.get(), &element.get(), 0, VT_BOOL); status < 0) {
        return reported(status);
    }
    truth = element->boolVal;
    return S_OK;
}

Status dumpSubProperties(IISIPSecurity& rules, OutStream& stream, int level) {
    VARIANT_BOOL grant = VARIANT_FALSE;
    if (Status status = rules.get_GrantByDefault(&grant); status < 0) return reported(status);
    Variant truth = Variant::ofBool(grant == VARIANT_TRUE);
    if (Status status = defaultPropDump(grantByDefaultName, truth.get(), stream, level, false); status < 0) {
        return reported(status);
    }
    for (const SubList& part : readOrder) {
        Variant list;
        if (Status status = (rules.*part.get)(list.out()); status < 0) return reported(status);
        if (Status status = defaultPropDump(part.name, list.get(), stream, level, false); status < 0) {
            return reported(status);
        }
    }
    return S_OK;
}

Status putSubProperties(IISIPSecurity& rules, const IpSecValues& values) {
    if (Status status = rules.put_GrantByDefault(values.grantByDefault); status < 0) return reported(status);
    for (const SubList& part : writeOrder) {
        if (Status status = (rules.*part.put)((values.*part.field).get()); status < 0)
            return reported(status);
    }
    return S_OK;
}

} // namespace

Status ipSecParse(IXMLDOMNode& node, IpSecValues& values) {
    Variant grant;
    if (Status status = parseSubProperty(node, grantByDefaultName, grant); status < 0) return status;
    if (Status status = parseFirstAsBool(grant, values.grantByDefault); status < 0) return status;
    for (const SubList& part : writeOrder) {
        if (Status status = parseSubProperty(node, part.name, values.*part.field); status < 0) return status;
    }
    return S_OK;
}

Status ipSecPropCmp(const VARIANT& value, BackupProp& prop) {
    ComPtr<IISIPSecurity> rules;
    if (Status status = queryRules(prop.name, value, rules); status < 0) return status;
    IpSecValues values;
    if (Status status = ipSecParse(*prop.element, values); status < 0) return reported(status);

    VARIANT_BOOL grant = VARIANT_FALSE;
    if (Status status = rules->get_GrantByDefault(&grant); status < 0) return reported(status);
    if (grant != values.grantByDefault) return comparedDifferent;
    for (const SubList& part : readOrder) {
        Variant live;
        if (Status status = (rules.get()->*part.get)(live.out()); status < 0) return reported(status);
        if (Status status = cmpVariants(live.get(), (values.*part.field).get()); status != 0)
            return status < 0 ? reported(status) : comparedDifferent;
    }
    return comparedSame;
}

Status ipSecPropSet(IADs& object, BackupProp& prop) {
    Bstr path;
    if (Status status = object.get_ADsPath(path.out()); status < 0) return reported(status);
    errPrintf("Setting %S:%S property to <array>\n", path, prop.name);
    if (runSettings.dryRun) return S_OK;

    IpSecValues values;
    if (Status status = ipSecParse(*prop.element, values); status < 0) return reported(status);
    Variant live;
    if (Status status = object.Get(prop.name, live.out()); status < 0)
        return reported(status, "Getting %S property", prop.name);
    ComPtr<IISIPSecurity> rules;
    if (Status status = queryRules(prop.name, live.get(), rules); status < 0) return status;
    if (Status status = putSubProperties(*rules, values); status < 0) return status;
    if (Status status = object.Put(prop.name, live.get()); status < 0) return reported(status);
    if (Status status = object.SetInfo(); status < 0) return reported(status);
    return S_OK;
}

Status ipSecPropPrint(bool, BackupProp&, const VARIANT&) { return S_OK; }

Status ipSecPropDump(const OLECHAR* name, VARIANT& value, OutStream& stream, int level, bool inherited) {
    printPropStart(stream, level, propTag, name, inherited);
    ComPtr<IISIPSecurity> rules;
    if (Status status = queryRules(name, value, rules); status < 0) return status;
    if (Status status = dumpSubProperties(*rules, stream, level + 1); status < 0) return status;
    printPropEnd(stream, level, propTag);
    return S_OK;
}
