#include "restoreProp.h"

#include "pairing.h"
#include "schemaCache.h"
#include "xmlUtils.h"

#include <vector>

namespace {

/// The object's path for the warnings of one pass, read at the first warning.
class WarningPath {
public:
    explicit WarningPath(IADs& object) : object_(object) {}

    BSTR get() {
        if (path_) return path_;
        (void)object_.get_ADsPath(path_.out()); // The warning is printed all the same.
        if (!path_) path_ = Bstr(u"<unknown name: get_ADsPath failed>");
        return path_;
    }

private:
    IADs& object_;
    Bstr path_;
};

/// A property name of the object's class.
struct SchemaName {
    BSTR name;
    /// Whether a property of the file has been paired with this name.
    bool seen = false;

    std::u16string_view key() const { return view(name); }
    bool hasKey(std::u16string_view other) const { return equal(name, other); }
};

/// Prints a warning for each name that the file lacks.
void warnOfUnseen(std::span<const SchemaName> names, WarningPath& path) {
    for (const SchemaName& entry : names) {
        if (entry.seen) continue;
        errPrintf("WARNING - property \"%S\" is not in backup for object \"%S\"\n", entry.name, path.get());
    }
}

/// Returns whether a restore skips the property by its flags; if so, prints a log line.
bool isSkipped(const PropInfo& info, BSTR name) {
    if ((info.flags & propFlagUnsupported) != 0) {
        logPrintf(5, "Skipping unsupported property \"%S\"\n", name);
    } else if ((info.flags & propFlagIgnored) != 0) {
        logPrintf(5, "Skipping ignored property \"%S\"\n", name);
    } else if ((info.flags & propFlagReadOnly) != 0) {
        logPrintf(5, "Skipping ReadOnly property \"%S\"\n", name);
    } else {
        return false;
    }
    return true;
}

} // namespace

Status reconcileProperties(IADs& object, IXMLDOMNode& propsNode) {
    std::span<const BSTR> names;
    if (Status status = getClassSchema(*runSettings.schemaCache, object, names); status < 0)
        return reported(status, "Getting schema info from schema cache");
    std::vector<SchemaName> schemaNames;
    schemaNames.reserve(names.size());
    for (BSTR name : names) schemaNames.push_back({name});
    Pairing<SchemaName, &SchemaName::seen> pairing(schemaNames);
    WarningPath path(object);
    ComPtr<IXMLDOMNodeList> nodes;
    if (Status status = xmlGetChildNodes(propsNode, nodes); status < 0) return reported(status);
    std::size_t length = 0;
    if (Status status = xmlGetLength(*nodes, length); status < 0) return reported(status);
    std::vector<BackupProp> records;
    records.reserve(length);
    for (;;) {
        ComPtr<IXMLDOMNode> node;
        if (Status status = nodes->nextNode(node.out()); status < 0) return reported(status);
        if (!node) break;
        BackupProp& prop = records.emplace_back();
        if (Status status = backupPropBind(prop, *node); status < 0) return reported(status);
        if (pairing.pair(view(prop.name))) {
            if (Status status = reconcileProperty(object, prop); status < 0) return reported(status);
        } else {
            errPrintf("WARNING - property \"%S\" listed in backup but not in schema for object \"%S\"\n",
                      prop.name, path.get());
        }
    }
    warnOfUnseen(schemaNames, path);
    return S_OK;
}

Status reconcileProperty(IADs& object, BackupProp& prop) {
    const PropInfo& info = findPropInfo(prop.name);
    if (isSkipped(info, prop.name)) return S_OK;
    Variant live;
    if (Status status = object.GetEx(prop.name, live.out()); status < 0) return reported(status);
    Status status = info.cmpFn(live.get(), prop);
    if (status == comparedDifferent) status = info.setFn(object, prop);
    return status < 0 ? reported(status) : S_OK;
}
