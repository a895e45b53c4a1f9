#include "restoreObj.h"

#include "directory/childEnumerator.h"
#include "dispUtils.h"
#include "objInfo.h"
#include "restore.h"
#include "xmlUtils.h"

#include <algorithm>
#include <vector>

namespace {

/// A name's length and its last units as one number: most names differ in it.
std::uint64_t nameKey(std::u16string_view name) {
    std::uint64_t key = name.size();
    for (const OLECHAR unit : name.substr(name.size() - std::min<std::size_t>(name.size(), 3))) {
        key = key << 16 | unit;
    }
    return key;
}

/// One live child as it was when the pass began.
struct ChildEntry {
    /// Of the name. All children are searched for each `obj` element of the file, and a look at this is
    /// cheap.
    std::uint64_t key = 0;
    Bstr name;
    Bstr className;
    ComPtr<IADs> object;
    const ObjInfo* info = nullptr;
    /// A node of the file has been dealt with against this child: it is no leftover.
    bool matched = false;
};

/// One `obj` element of the file.
struct FileObject {
    IXMLDOMNode& node;
    Bstr name;
    Bstr className;
    Bstr path;
};

/// A leaf has no children to bring into line; that the file has some is a warning.
Status warnOfIgnoredChildren(IADs& object, IXMLDOMNode& childrenNode) {
    VARIANT_BOOL hasChildren = VARIANT_FALSE;
    if (Status status = childrenNode.hasChildNodes(&hasChildren); status < 0) return reported(status);
    if (hasChildren != VARIANT_TRUE) return S_OK;
    Bstr path;
    if (Status status = object.get_ADsPath(path.out()); status < 0) return reported(status);
    logPrintf(0, "WARNING: object \"%S\" can't have children, but the backup file says it does have them.\n",
              path);
    return S_OK;
}

Status countChildren(IADsContainer& container, std::size_t& count) {
    ChildEnumerator children;
    if (Status status = children.build(container); status < 0) return reported(status);
    for (count = 0;; ++count) {
        Variant element;
        const Status status = children.next(element);
        if (status < 0) return reported(status);
        if (status == S_FALSE) break;
    }
    const Status status = children.free();
    return status < 0 ? reported(status) : S_OK;
}

Status readChild(const Variant& element, ChildEntry& entry) {
    if (Status status = queryChild(element, entry.object); status < 0) return status;
    if (Status status = entry.object->get_Name(entry.name.out()); status < 0) return reported(status);
    entry.key = nameKey(view(entry.name));
    if (Status status = entry.object->get_Class(entry.className.out()); status < 0) return reported(status);
    if (findObjInfo(view(entry.className), entry.info) == S_FALSE) {
        reported(E_UNEXPECTED);
        errPrintf("Unknown object class: %S", entry.className);
        return E_UNEXPECTED;
    }
    return S_OK;
}

/// Reads the live children into entries, of which there must be as many as were counted.
Status readChildren(IADsContainer& container, std::vector<ChildEntry>& entries) {
    ChildEnumerator children;
    if (Status status = children.build(container); status < 0) return reported(status);
    for (std::size_t count = 0;; ++count) {
        Variant element;
        const Status status = children.next(element);
        if (status < 0) return reported(status);
        const bool ended = status == S_FALSE;
        if (ended != (count == entries.size())) return reported(E_UNEXPECTED);
        if (ended) break;
        if (Status read = readChild(element, entries[count]); read < 0) return read;
    }
    const Status status = children.free();
    return status < 0 ? reported(status) : S_OK;
}

Status readFileObject(FileObject& object) {
    bool complete = true;
    const auto read = [&](BSTR attribute, Bstr& value) {
        const Status status = xmlGetAttrOfNode(object.node, attribute, value);
        complete = complete && status != S_FALSE;
        return status;
    };
    if (Status status = read(nameAttribute, object.name); status < 0) return reported(status);
    if (Status status = read(classAttribute, object.className); status < 0) return reported(status);
    if (Status status = read(pathAttribute, object.path); status < 0) return reported(status);
    if (complete) return S_OK;
    reported(E_FAIL);
    errPrintf("Object node %S lacks one of the attributes name, class, path", xmlTagForMessage(object.node));
    return E_FAIL;
}

void refuseCreate(const FileObject& object) {
    errPrintf("[Can't create object %S (%S) -- creates not supported]", object.path, object.className);
}

void refuseDelete(const ChildEntry& entry) {
    errPrintf("[Can't delete object %S (%S) -- deletes not supported]", entry.name, entry.className);
}

const ObjInfo& infoOf(const FileObject& object) {
    const ObjInfo* info = nullptr;
    findObjInfo(view(object.className), info);
    return *info;
}

Status createAndRestore(IADs& parent, const FileObject& object, const ObjInfo& info) {
    ComPtr<IADs> created;
    if (Status status = info.createFn(parent, object.className, object.name, created); status < 0) {
        return reported(status);
    }
    if (Status status = restoreObject(object.node, created.get()); status < 0) return reported(status);
    return S_OK;
}

/// The file has an object that the live tree lacks.
Status addMissing(IADs& parent, const FileObject& object) {
    if (logCreateObject(object.path, object.className) != 0) return S_OK;
    const ObjInfo& info = infoOf(object);
    if (info.isCreatable()) return createAndRestore(parent, object, info);
    refuseCreate(object);
    return S_OK;
}

/// The file has another class for a live child.
Status replaceChild(IADs& parent, const FileObject& object, ChildEntry& entry) {
    const bool dryRun = logDeleteObject(*entry.object) != 0;
    if (!entry.info->isDeletable()) {
        refuseDelete(entry);
        return S_OK;
    }
    if (!dryRun) {
        if (Status status = entry.info->deleteFn(*entry.object); status < 0) return reported(status);
    }
    logCreateObject(object.name, object.className);
    const ObjInfo& info = infoOf(object);
    if (!info.isCreatable()) {
        refuseCreate(object);
    } else if (!dryRun) {
        if (Status status = createAndRestore(parent, object, info); status < 0) return status;
    }
    entry.matched = true;
    return S_OK;
}

Status reconcileChild(IADs& parent, const FileObject& object, std::vector<ChildEntry>& entries) {
    const std::u16string_view name = view(object.name);
    const auto entry = std::ranges::find_if(entries, [name, key = nameKey(name)](const ChildEntry& child) {
        return child.key == key && equal(child.name, name);
    });
    if (entry == entries.end()) return addMissing(parent, object);
    if (entry->matched) {
        reported(E_UNEXPECTED);
        errPrintf("ERROR: object \"%S\" appears more than once in the backup file", object.name);
        return E_UNEXPECTED;
    }
    if (!equal(entry->className, view(object.className))) return replaceChild(parent, object, *entry);
    if (Status status = restoreObject(object.node, entry->object.get()); status < 0) return reported(status);
    entry->matched = true;
    return S_OK;
}

Status walkFile(IADs& object, IXMLDOMNode& childrenNode, std::vector<ChildEntry>& entries) {
    ComPtr<IXMLDOMNodeList> nodes;
    if (Status status = xmlGetChildNodes(childrenNode, nodes); status < 0) return reported(status);
    for (;;) {
        ComPtr<IXMLDOMNode> node;
        if (Status status = nodes->nextNode(node.out()); status < 0) return reported(status);
        if (!node) return S_OK;
        FileObject fileObject{*node, {}, {}, {}};
        if (Status status = readFileObject(fileObject); status < 0) return status;
        if (Status status = reconcileChild(object, fileObject, entries); status < 0) return status;
    }
}

Status deleteLeftovers(const std::vector<ChildEntry>& entries) {
    for (const ChildEntry& entry : entries) {
        if (entry.matched) continue;
        const bool dryRun = logDeleteObject(*entry.object) != 0;
        if (!entry.info->isDeletable()) {
            refuseDelete(entry);
        } else if (!dryRun) {
            if (Status status = entry.info->deleteFn(*entry.object); status < 0) return reported(status);
        }
    }
    return S_OK;
}

} // namespace

Status reconcileChildren(IADs& object, IXMLDOMNode& childrenNode) {
    ComPtr<IADsContainer> container;
    const Status isContainer = query(object, container);
    if (isContainer == E_NOINTERFACE) return warnOfIgnoredChildren(object, childrenNode);
    if (isContainer < 0) return reported(isContainer);

    std::size_t count = 0;
    if (Status status = countChildren(*container, count); status < 0) return status;
    std::vector<ChildEntry> entries(count);
    if (Status status = readChildren(*container, entries); status < 0) return status;
    if (Status status = walkFile(object, childrenNode, entries); status < 0) return status;
    return deleteLeftovers(entries);
}
