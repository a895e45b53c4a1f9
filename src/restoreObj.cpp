#include "restoreObj.h"

#include "childWalk.h"
#include "objInfo.h"
#include "restore.h"
#include "xmlUtils.h"

#include <map>
#include <vector>

namespace {

/// One live child, read before anything is changed.
struct ChildEntry {
    Bstr name;
    Bstr className;
    ComPtr<IADs> object;
    const ObjInfo* info = nullptr;
    /// Whether an `obj` element of the file has been reconciled with this child; if not, it is deleted at the
    /// end.
    bool matched = false;
};

/// The live children by their names, which they keep.
using ChildMap = std::map<std::u16string_view, ChildEntry*>;

/// One `obj` element of the file.
struct FileObject {
    IXMLDOMNode& node;
    Bstr name;
    Bstr className;
    Bstr path;
};

/// Prints a warning if the file has children for an object that isn't a container.
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

/// The first of two enumerations: the entries are allocated once, since the walk keeps pointers to them.
Status countChildren(IADsContainer& container, std::size_t& count) {
    ChildEnumerator children;
    if (Status status = children.build(container); status < 0) return reported(status);
    count = 0;
    const auto countChild = [&count](const Variant&) {
        ++count;
        return S_OK;
    };
    if (Status status = visitChildren(children, countChild); status < 0) return status;
    if (Status status = children.free(); status < 0) return reported(status);
    return S_OK;
}

Status readChild(const Variant& element, ChildEntry& entry) {
    if (Status status = queryChild(element, entry.object); status < 0) return status;
    if (Status status = entry.object->get_Name(entry.name.out()); status < 0) return reported(status);
    if (Status status = entry.object->get_Class(entry.className.out()); status < 0) return reported(status);
    if (findObjInfo(view(entry.className), entry.info) == S_FALSE)
        return reported(E_UNEXPECTED, "Unknown object class: %S", entry.className);
    return S_OK;
}

Status reportOtherChildren(SourcePlace place = SourcePlace::current()) {
    return reported(E_UNEXPECTED, place,
                    "The live children changed while they were read; run the restore again");
}

/// Reads the live children into the entries. E_UNEXPECTED if there are now fewer or more children than
/// entries.
Status readChildren(IADsContainer& container, std::vector<ChildEntry>& entries) {
    ChildEnumerator children;
    if (Status status = children.build(container); status < 0) return reported(status);
    std::size_t count = 0;
    const auto readNext = [&](const Variant& element) {
        if (count == entries.size()) return reportOtherChildren();
        return readChild(element, entries[count++]);
    };
    if (Status status = visitChildren(children, readNext); status < 0) return status;
    if (count != entries.size()) return reportOtherChildren();
    if (Status status = children.free(); status < 0) return reported(status);
    return S_OK;
}

/// Reads the three attributes of `object.node`. E_FAIL if one is missing.
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
    // A failed read of the tag is reported after this failure, so this takes two steps.
    (void)reported(E_FAIL);
    errPrintf("Object node %S lacks one of the attributes name, class, path", xmlTagForMessage(object.node));
    return E_FAIL;
}

// A refusal has no line end: what is printed next continues its line, as users' scripts expect.
void printCreateRefusal(const FileObject& object) {
    errPrintf("[Can't create object %S (%S) -- creates not supported]", object.path, object.className);
}

void printDeleteRefusal(const ChildEntry& entry) {
    errPrintf("[Can't delete object %S (%S) -- deletes not supported]", entry.name, entry.className);
}

/// Finds the class row of an object of the file.
const ObjInfo& infoOf(const FileObject& object) {
    const ObjInfo* info = nullptr;
    (void)findObjInfo(view(object.className), info); // An unknown class has the default row.
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

/// Creates an object of the file that the live tree lacks. Only a real run prints a refusal; where an object
/// is replaced, a dry run does, too.
Status createMissing(IADs& parent, const FileObject& object) {
    if (logCreateObject(object.path, object.className) != 0) return S_OK;
    const ObjInfo& info = infoOf(object);
    if (info.isCreatable()) return createAndRestore(parent, object, info);
    printCreateRefusal(object);
    return S_OK;
}

/// Replaces a live child that has another class in the file.
Status replaceChild(IADs& parent, const FileObject& object, ChildEntry& entry) {
    const bool dryRun = logDeleteObject(*entry.object) != 0;
    if (!entry.info->isDeletable()) {
        printDeleteRefusal(entry);
        return S_OK; // Not matched: deleteLeftovers prints both lines once more.
    }
    if (!dryRun) {
        if (Status status = entry.info->deleteFn(*entry.object); status < 0) return reported(status);
    }
    logCreateObject(object.name, object.className); // The bare name; of a missing object the path.
    const ObjInfo& info = infoOf(object);
    if (!info.isCreatable()) {
        printCreateRefusal(object);
    } else if (!dryRun) {
        if (Status status = createAndRestore(parent, object, info); status < 0) return status;
    }
    entry.matched = true;
    return S_OK;
}

Status reconcileChild(IADs& parent, const FileObject& object, const ChildMap& children) {
    const auto found = children.find(view(object.name));
    if (found == children.end()) return createMissing(parent, object);
    ChildEntry& entry = *found->second;
    if (entry.matched) {
        return reported(E_UNEXPECTED, "ERROR: object \"%S\" appears more than once in the backup file",
                        object.name);
    }
    if (!equal(entry.className, view(object.className))) return replaceChild(parent, object, entry);
    if (Status status = restoreObject(object.node, entry.object.get()); status < 0) return reported(status);
    entry.matched = true;
    return S_OK;
}

/// Reconciles the `obj` elements of the file in document order.
Status reconcileFileObjects(IADs& object, IXMLDOMNode& childrenNode, const ChildMap& children) {
    ComPtr<IXMLDOMNodeList> nodes;
    if (Status status = xmlGetChildNodes(childrenNode, nodes); status < 0) return reported(status);
    for (;;) {
        ComPtr<IXMLDOMNode> node;
        if (Status status = nodes->nextNode(node.out()); status < 0) return reported(status);
        if (!node) return S_OK;
        FileObject fileObject{*node, {}, {}, {}};
        if (Status status = readFileObject(fileObject); status < 0) return status;
        if (Status status = reconcileChild(object, fileObject, children); status < 0) return status;
    }
}

/// Deletes the live children that the file lacks.
Status deleteLeftovers(const std::vector<ChildEntry>& entries) {
    for (const ChildEntry& entry : entries) {
        if (entry.matched) continue;
        const bool dryRun = logDeleteObject(*entry.object) != 0;
        if (!entry.info->isDeletable()) {
            printDeleteRefusal(entry); // For the second time after a class change.
        } else if (!dryRun) {
            if (Status status = entry.info->deleteFn(*entry.object); status < 0) return reported(status);
        }
    }
    return S_OK;
}

} // namespace

Status reconcileChildren(IADs& object, IXMLDOMNode& childrenNode) {
    ComPtr<IADsContainer> container;
    if (Status status = query(object, container); status < 0)
        return status == E_NOINTERFACE ? warnOfIgnoredChildren(object, childrenNode) : reported(status);
    std::size_t count = 0;
    if (Status status = countChildren(*container, count); status < 0) return status;
    std::vector<ChildEntry> entries(count);
    if (Status status = readChildren(*container, entries); status < 0) return status;
    ChildMap children;
    for (ChildEntry& entry : entries)
        children.emplace(view(entry.name), &entry); // The first of a name; others are leftovers.
    if (Status status = reconcileFileObjects(object, childrenNode, children); status < 0) return status;
    return deleteLeftovers(entries);
}
