#include "backup.h"

#include "childWalk.h"
#include "directory/iis.h"
#include "os/file.h"
#include "propInfo.h"
#include "schemaCache.h"

#include <cerrno>

namespace {

constexpr const char* backupVersion = "1.0.0";
constexpr std::u16string_view defaultRoot = u"IIS://localhost";

/// Looks up the call for the attributes of a property; its number isn't used. An object without it is backed
/// up all the same.
Status checkAttributeCall(IADs& object) {
    ComPtr<IDispatch> dispatch;
    if (Status status = query(object, dispatch); status < 0) return reported(status);
    const OLECHAR* name = u"GetPropertyAttribObj";
    DISPID id = 0;
    const Status status = dispatch->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_SYSTEM_DEFAULT, &id);
    return status < 0 && status != DISP_E_UNKNOWNNAME ? reported(status) : S_OK;
}

Status backupChild(OutStream& stream, const Variant& element, int level) {
    ComPtr<IADs> child;
    if (Status status = queryChild(element, child); status < 0) return status;
    if (Status status = backupObject(stream, *child, level); status < 0) return reported(status);
    return S_OK;
}

Status backupChildren(OutStream& stream, IADs& object, int level) {
    ComPtr<IADsContainer> container;
    if (Status status = query(object, container); status < 0)
        return status == E_NOINTERFACE ? S_OK : reported(status);
    ChildEnumerator children;
    if (Status status = children.build(*container); status < 0) return reported(status);
    return visitChildren(children,
                         [&](const Variant& element) { return backupChild(stream, element, level + 2); });
}

} // namespace

Status backupMain() {
    File file(runSettings.backupFile);
    if (!file.isOpen()) {
        const std::string reason = errorText(errno);
        outPrintf(standardError(), "Can't open output file \"%s\": %s\n", runSettings.backupFile, reason);
        return E_FAIL;
    }
    outPrintf(file.stream(), "<?xml version=\"1.0\" ?>\n");
    // Whether the file could be written and closed isn't looked at.
    const Status status = backupTree(file.stream(), runSettings.rootPath);
    return status < 0 ? reported(status) : S_OK;
}

Status backupTree(OutStream& stream, const char* rootPath) {
    Bstr path;
    if (Status status = ansiToWide(rootPath, path); status < 0) return reported(status);
    if (SysStringLen(path) == 0) path = Bstr(defaultRoot);
    outPrintf(stream, "<metabase version=\"%s\">\n", backupVersion);
    ComPtr<IADs> root;
    if (Status status = bindObject(path, root); status < 0)
        return reported(status, "Connecting to IIS via ADSI");
    if (Status status = backupObject(stream, *root, 1); status < 0) return reported(status);
    outPrintf(stream, "</metabase>\n");
    return S_OK;
}

Status backupObject(OutStream& stream, IADs& object, int level) {
    Bstr name;
    if (Status status = object.get_Name(name.out()); status < 0) return reported(status);
    Bstr className;
    if (Status status = object.get_Class(className.out()); status < 0) return reported(status);
    Bstr path;
    if (Status status = object.get_ADsPath(path.out()); status < 0) return reported(status);
    Bstr schemaPath; // Not used: without one the object's element isn't begun.
    if (Status status = object.get_Schema(schemaPath.out()); status < 0) return reported(status);

    const int indent = level * 2;
    outPrintf(stream, "%*s<obj name=\"%S\" class=\"%S\" path=\"%S\">\n", indent, "", XmlAttributeText(name),
              XmlAttributeText(className), XmlAttributeText(path));
    if (Status status = checkAttributeCall(object); status < 0) return status;
    outPrintf(stream, "%*s<props>\n", indent + 2, "");
    if (Status status = dumpObjectProperties(stream, object, level); status < 0) return reported(status);
    outPrintf(stream, "%*s</props>\n", indent + 2, "");
    outPrintf(stream, "%*s<children>\n", indent + 2, "");
    if (Status status = backupChildren(stream, object, level); status < 0) return status;
    outPrintf(stream, "%*s</children>\n", indent + 2, "");
    outPrintf(stream, "%*s</obj>\n", indent, "");
    return S_OK;
}

Status dumpObjectProperties(OutStream& stream, IADs& object, int level) {
    std::span<const BSTR> names;
    if (Status status = getClassSchema(*runSettings.schemaCache, object, names); status < 0)
        return reported(status);
    for (BSTR name : names) {
        if (Status status = dumpProperty(stream, object, level, name); status < 0) return reported(status);
    }
    return S_OK;
}

Status dumpProperty(OutStream& stream, IADs& object, int level, BSTR name) {
    const PropInfo& info = findPropInfo(name);
    const bool inherited = isPropertyInherited(object, name);
    if (inherited && runSettings.noInherit) {
        logPrintf(6, "Ignoring inherited property \"%S\"\n", name);
        return S_OK;
    }
    Variant value;
    if (Status status = object.GetEx(name, value.out()); status < 0) return reported(status);
    if (info.dumpFn == nullptr) {
        logPrintf(2, "No dump func for property %S\n", name);
        return S_OK;
    }
    if (Status status = info.dumpFn(name, value.get(), stream, level, inherited); status < 0)
        return reported(status, "Dumping property %S", name);
    return S_OK;
}

bool isPropertyInherited(IADs& object, BSTR name) {
    ComPtr<IISBaseObject> base;
    if (query(object, base) < 0) return false;
    ComPtr<IDispatch> attributeObject;
    if (base->GetPropertyAttribObj(name, attributeObject.out()) < 0 || !attributeObject) return false;
    ComPtr<IISPropertyAttribute> attribute;
    if (query(*attributeObject, attribute) < 0) return false;
    VARIANT_BOOL inherited = VARIANT_FALSE;
    return attribute->get_Isinherited(&inherited) >= 0 && inherited != VARIANT_FALSE;
}
