#include "restoreProp.h"

#include "schemaCache.h"
#include "xmlUtils.h"

#include <map>
#include <optional>
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

/// The property names of the object's class, paired with those of the file.
class SchemaNames {
public:
    explicit SchemaNames(std::span<const BSTR> names) : names_(names), seen_(names.size()) {}

    /// Pairs a property of the file with the first name that equals its own and isn't paired yet. Returns
    /// whether there is one.
    bool pair(std::u16string_view name) {
        if (!later_ && inStep_ < names_.size() && equal(names_[inStep_], name))
            return seen_[inStep_++] = true;
        if (!later_) indexLater();
        const auto found = later_->lower_bound(name);
        if (found == later_->end() || found->first != name) return false;
        seen_[found->second] = true;
        later_->erase(found);
        return true;
    }
    /// Prints a warning for each name that the file lacks.
    void warnOfUnseen(WarningPath& path) const {
        for (std::size_t i = 0; i < names_.size(); ++i) {
            if (seen_[i]) continue;
            errPrintf("WARNING - property \"%S\" is not in backup for object \"%S\"\n", names_[i],
                      path.get());
        }
    }

private:
    void indexLater() {
        later_.emplace();
        for (std::size_t i = inStep_; i < names_.size(); ++i) later_->emplace(view(names_[i]), i);
    }

    std::span<const BSTR> names_;
    /// Whether a property of the file has been paired with each name.
    std::vector<bool> seen_;
    /// File and schema mostly run in step: the number of names before their first difference.
    std::size_t inStep_ = 0;
    /// The numbers of the names from that difference on that aren't paired yet, equal ones in their order.
    std::optional<std::multimap<std::u16string_view, std::size_t>> later_;
};

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
    SchemaNames schemaNames(names);
    WarningPath path(object);
    ComPtr<IXMLDOMNodeList> nodes;
    if (Status status = xmlGetChildNodes(propsNode, nodes); status < 0) return reported(status);
    std::size_t length = 0;
    if (Status status = xmlGetLength(*nodes, length); status < 0) return reported(status);
    std::vector<BackupProp> props;
    props.reserve(length);
    for (;;) {
        ComPtr<IXMLDOMNode> node;
        if (Status status = nodes->nextNode(node.out()); status < 0) return reported(status);
        if (!node) break;
        BackupProp& prop = props.emplace_back();
        if (Status status = backupPropBind(prop, *node); status < 0) return reported(status);
        // A property without a name is one that the schema lacks.
        if (schemaNames.pair(view(prop.name))) {
            if (Status status = reconcileProperty(object, prop); status < 0) return reported(status);
        } else {
            errPrintf("WARNING - property \"%S\" listed in backup but not in schema for object \"%S\"\n",
                      prop.name, path.get());
        }
    }
    schemaNames.warnOfUnseen(path);
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
