#include "restoreProp.h"

#include "schemaCache.h"
#include "xmlUtils.h"

#include <vector>

namespace {

/// The object's path for the warnings of one pass, read when the first one needs it.
class WarningPath {
public:
    explicit WarningPath(IADs& object) : object_(object) {}

    BSTR get() {
        if (path_) return path_;
        object_.get_ADsPath(path_.out());
        if (!path_) path_ = Bstr(u"<unknown name: get_ADsPath failed>");
        return path_;
    }

private:
    IADs& object_;
    Bstr path_;
};

/// The names of a class, and which of them the file has.
class NameMatcher {
public:
    explicit NameMatcher(std::span<const BSTR> names) : names_(names), seen_(names.size()) {}

    /// Marks the first name that equals this one and wasn't seen before; false if there is none. Null is no
    /// name.
    bool take(BSTR name) {
        // A file has the names in the order of the class, as a rule: those at the front are seen soon.
        while (firstUnseen_ < names_.size() && seen_[firstUnseen_] != 0) ++firstUnseen_;
        for (std::size_t i = firstUnseen_; name != nullptr && i < names_.size(); ++i) {
            if (seen_[i] != 0 || !equal(names_[i], view(name))) continue;
            seen_[i] = 1;
            return true;
        }
        return false;
    }
    void warnOfUnseen(WarningPath& path) const {
        for (std::size_t i = 0; i < names_.size(); ++i) {
            if (seen_[i] != 0) continue;
            errPrintf("WARNING - property \"%S\" is not in backup for object \"%S\"\n", names_[i],
                      path.get());
        }
    }

private:
    std::span<const BSTR> names_;
    std::vector<std::uint8_t> seen_;
    std::size_t firstUnseen_ = 0;
};

/// Says whether a restore skips the property, whatever its value, and why.
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
    if (Status status = getClassSchema(*runSettings.schemaCache, object, names); status < 0) {
        reported(status);
        errPrintf("Getting schema info from schema cache");
        return status;
    }
    NameMatcher matcher(names);
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
        if (matcher.take(prop.name)) {
            if (Status status = reconcileProperty(object, prop); status < 0) return reported(status);
        } else {
            errPrintf("WARNING - property \"%S\" listed in backup but not in schema for object \"%S\"\n",
                      prop.name, path.get());
        }
    }
    matcher.warnOfUnseen(path);
    return S_OK;
}

Status reconcileProperty(IADs& object, BackupProp& prop) {
    const PropInfo& info = findPropInfo(view(prop.name));
    if (isSkipped(info, prop.name)) return S_OK;
    Variant live;
    if (Status status = object.GetEx(prop.name, live.out()); status < 0) return reported(status);
    const Status result = info.cmpFn(live.get(), prop);
    if (result < 0) return reported(result);
    if (result != 1) return S_OK;
    if (Status status = info.setFn(object, prop); status < 0) return reported(status);
    return S_OK;
}
