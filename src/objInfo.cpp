#include "objInfo.h"

#include "childWalk.h"

#include <algorithm>
#include <array>

namespace {

Status defaultObjCreate(IADs& parent, BSTR className, BSTR objectName, ComPtr<IADs>& newObject) {
    ComPtr<IADsContainer> container;
    if (Status status = query(parent, container); status < 0)
        return reported(status, "Getting IADsContainer interface");
    ComPtr<IDispatch> created;
    if (Status status = container->Create(className, objectName, created.out()); status < 0)
        return reported(status, "Error creating object %S (%S)\n", objectName, className);
    (void)parent.SetInfo(); // The object exists already.
    if (!created) return reported(E_UNEXPECTED);
    ComPtr<IADs> object;
    if (Status status = query(*created, object); status < 0) return reported(status);
    newObject = std::move(object);
    return S_OK;
}

/// Deletes a child with the function of its own class.
Status deleteChild(const Variant& element) {
    ComPtr<IADs> child;
    if (Status status = queryChild(element, child); status < 0) return status;
    Bstr className;
    if (Status status = child->get_Class(className.out()); status < 0) return reported(status);
    const ObjInfo* info = nullptr;
    if (findObjInfo(view(className), info) == S_FALSE)
        return reported(E_UNEXPECTED, "Unknown object class: %S", className);
    if (!info->isDeletable()) return reported(E_UNEXPECTED, "Can't delete objects of class: %S", className);
    if (Status status = info->deleteFn(*child); status < 0) return reported(status);
    return S_OK;
}

Status deleteChildren(IADs& object) {
    ComPtr<IADsContainer> container;
    if (Status status = query(object, container); status < 0)
        return status == E_NOINTERFACE ? S_OK : reported(status);
    ChildEnumerator children;
    if (Status status = children.build(*container); status < 0) return reported(status);
    return visitChildren(children, deleteChild);
}

/// Deletes an object without children through its parent.
Status deleteFromParent(IADs& object) {
    Bstr parentPath;
    if (Status status = object.get_Parent(parentPath.out()); status < 0) return reported(status);
    ComPtr<IADsContainer> parent;
    if (Status status = bindObject(parentPath, parent); status < 0) return reported(status);
    Bstr name;
    if (Status status = object.get_Name(name.out()); status < 0) return reported(status);
    Bstr className;
    if (Status status = object.get_Class(className.out()); status < 0) return reported(status);
    if (Status status = parent->Delete(className, name); status < 0)
        return reported(status, "Deleting %S %S from %S", className, name, parentPath);
    (void)object.SetInfo(); // The object is deleted already.
    return S_OK;
}

/// Deletes an object that can't delete itself: first its children, then the object through its parent.
Status deleteStepByStep(IADs& object) {
    if (Status status = deleteChildren(object); status < 0) return status;
    return deleteFromParent(object);
}

Status deleteAtOnce(IADs& object, IADsDeleteOps& deleteOps) {
    const Status status = deleteOps.DeleteObject(0);
    (void)object.SetInfo(); // Only the result of the deletion counts.
    return status < 0 ? reported(status) : S_OK;
}

Status defaultObjDelete(IADs& object) {
    ComPtr<IADsDeleteOps> deleteOps;
    if (Status status = query(object, deleteOps); status < 0)
        return status == E_NOINTERFACE ? deleteStepByStep(object) : reported(status);
    return deleteAtOnce(object, *deleteOps);
}

bool isWebService(BSTR className) { return equal(className, u"IIsWebService"); }

/// Creates a filters folder; not the default one, directly below the web service, which always exists.
Status filtersObjCreate(IADs& parent, BSTR className, BSTR objectName, ComPtr<IADs>& newObject) {
    Bstr parentClass;
    if (Status status = parent.get_Class(parentClass.out()); status < 0) return reported(status);
    if (isWebService(parentClass)) {
        return reported(E_UNEXPECTED,
                        "Can't create the default IIsFilters object!  It should already be there.");
    }
    return defaultObjCreate(parent, className, objectName, newObject);
}

Status filtersObjDelete(IADs& object) {
    Bstr parentPath;
    if (Status status = object.get_Parent(parentPath.out()); status < 0) return reported(status);
    ComPtr<IADs> parent;
    if (Status status = bindObject(parentPath, parent); status < 0) return reported(status);
    Bstr parentClass;
    if (Status status = parent->get_Class(parentClass.out()); status < 0) return reported(status);
    if (isWebService(parentClass))
        return reported(E_UNEXPECTED, "Can't delete the default IIsFilters object!  It must be present.");
    return defaultObjDelete(object);
}

constexpr ObjInfo ordinary(const OLECHAR* name) { return {name, 0, defaultObjCreate, defaultObjDelete}; }
constexpr ObjInfo fixed(const OLECHAR* name) {
    return {name, objFlagNoCreate | objFlagNoDelete, nullptr, nullptr};
}
constexpr ObjInfo deletable(const OLECHAR* name) {
    return {name, objFlagNoCreate, nullptr, defaultObjDelete};
}
constexpr ObjInfo unsupported(const OLECHAR* name) { return {name, objFlagUnsupported, nullptr, nullptr}; }

constexpr std::array objInfoTable = {
    ordinary(u"IIsFtpInfo"),
    ordinary(u"IIsFtpServer"),
    ordinary(u"IIsFtpService"),
    ordinary(u"IIsFtpVirtualDir"),
    ordinary(u"IIsWebDirectory"),
    ordinary(u"IIsWebFile"),
    ordinary(u"IIsWebInfo"),
    ordinary(u"IIsWebServer"),
    ordinary(u"IIsWebService"),
    ordinary(u"IIsWebVirtualDir"),
    ordinary(u"IIsCompressionScheme"),
    ordinary(u"IIsCustomLogModule"),
    ordinary(u"IIsLogModule"),
    ordinary(u"IIsFilter"),
    ordinary(u"IIsACE"),
    ordinary(u"IIsAdminACL"),
    ordinary(u"IIsApplicationPool"),
    ordinary(u"IIsApplicationPools"),
    ordinary(u"IIsImapInfo"),
    ordinary(u"IIsImapRoutingSource"),
    ordinary(u"IIsImapServer"),
    ordinary(u"IIsImapService"),
    ordinary(u"IIsImapSessions"),
    ordinary(u"IIsImapVirtualDir"),
    ordinary(u"IIsNntpExpiration"),
    ordinary(u"IIsNntpExpire"),
    ordinary(u"IIsNntpFeed"),
    ordinary(u"IIsNntpFeeds"),
    ordinary(u"IIsNntpGroups"),
    ordinary(u"IIsNntpInfo"),
    ordinary(u"IIsNntpRebuild"),
    ordinary(u"IIsNntpServer"),
    ordinary(u"IIsNntpService"),
    ordinary(u"IIsNntpSessions"),
    ordinary(u"IIsNntpVirtualDir"),
    ordinary(u"IIsPop3Info"),
    ordinary(u"IIsPop3RoutingSource"),
    ordinary(u"IIsPop3Server"),
    ordinary(u"IIsPop3Service"),
    ordinary(u"IIsPop3Sessions"),
    ordinary(u"IIsPop3VirtualDir"),
    ordinary(u"IIsSmtpAlias"),
    ordinary(u"IIsSmtpDL"),
    ordinary(u"IIsSmtpDomain"),
    ordinary(u"IIsSmtpInfo"),
    ordinary(u"IIsSmtpRoutingSource"),
    ordinary(u"IIsSmtpServer"),
    ordinary(u"IIsSmtpService"),
    ordinary(u"IIsSmtpSessions"),
    ordinary(u"IIsSmtpUser"),
    ordinary(u"IIsSmtpVirtualDir"),
    ObjInfo{u"IIsFilters", 0, filtersObjCreate, filtersObjDelete},
    fixed(u"IIsComputer"),
    fixed(u"IIsCompressionSchemes"),
    fixed(u"IIsLogModules"),
    fixed(u"IIsMimeMap"),
    deletable(u"IIsObject"),
    deletable(u"IISCustomLogModule"),
    unsupported(u"IIsCertMapper"),
    unsupported(u"IIsIPSecurity"),
    unsupported(u"IIsMimeType"),
};
static_assert(objInfoTable.size() == 61);

constexpr ObjInfo defaultObjInfo = {u"<default>", objFlagNoCreate, nullptr, defaultObjDelete};

/// The rows sorted by name, unit by unit; built at the first lookup.
std::array<const ObjInfo*, objInfoTable.size()> objInfoIndex;
bool objInfoIndexReady = false;

std::u16string_view nameOf(const ObjInfo* row) { return row->name; }

} // namespace

Status findObjInfo(std::u16string_view className, const ObjInfo*& row) {
    if (!objInfoIndexReady) {
        std::ranges::transform(objInfoTable, objInfoIndex.begin(),
                               [](const ObjInfo& entry) { return &entry; });
        std::ranges::sort(objInfoIndex, {}, nameOf);
        objInfoIndexReady = true;
    }
    const auto* found = std::ranges::lower_bound(objInfoIndex, className, {}, nameOf);
    const bool isKnown = found != objInfoIndex.end() && nameOf(*found) == className;
    row = isKnown ? *found : &defaultObjInfo;
    return isKnown ? S_OK : S_FALSE;
}
