#include "liveMetabase.h"

#include "text/codePage.h"

namespace metabase {

std::u16string adsPathOf(const ObjectNode& node) {
    return std::u16string(adsRoot) + ObjectTree::pathOf(node);
}

std::u16string adsPathOf(const ClassDefinition& definition) {
    return std::u16string(adsSchemaRoot) + definition.name;
}

HRESULT failWithDetail(HRESULT status, std::u16string_view text) {
    std::string narrow;
    for (const char16_t unit : text) narrow.push_back(narrowed(unit));
    setStatusDetail(status, narrow);
    return status;
}

HRESULT LiveMetabase::open(ComPtr<LiveMetabase>& opened) {
    const auto metabase = makeObject<LiveMetabase>();
    if (HRESULT status = metabase->file_.readSnapshot(metabase->snapshot_); status < 0) return status;
    const std::string_view text = metabase->snapshot_.text();
    std::string error;
    if (!readMetabase(text, metabase->tree_, metabase->text_, error)) {
        constexpr HRESULT invalid = HRESULT_FROM_WIN32(ERROR_INVALID_DATA);
        setStatusDetail(invalid, std::string(fileName) + ", " + error);
        return invalid;
    }
    metabase->file_.setValidText(text.substr(0, metabase->text_.size));
    opened = metabase;
    return S_OK;
}

HRESULT LiveMetabase::set(ObjectNode& node, std::span<const PendingValue> values) {
    if (HRESULT status = file_.append(setLine(tree_, node, values)); status < 0) return status;
    for (const PendingValue& value : values)
        ObjectTree::setValue(node, value.property, tree_.keepText(value.text));
    return S_OK;
}

HRESULT LiveMetabase::create(ObjectNode& parent, std::u16string_view className, std::u16string_view name,
                             ObjectNode*& created) {
    const ClassDefinition* definition = tree_.findClass(className);
    if (definition == nullptr) {
        return failWithDetail(E_ADS_SCHEMA_VIOLATION,
                              u"The schema has no class " + std::u16string(className));
    }
    const std::u16string path = ObjectTree::pathOf(parent) + u"/" + std::u16string(name);
    if (const std::string_view reason = tree_.whyNotAddable(parent, name); !reason.empty()) {
        std::u16string wideReason(reason.size(), u'\0');
        widen(reason, wideReason.data());
        const bool exists = ObjectTree::findChild(parent, name) != nullptr;
        return failWithDetail(exists ? E_ADS_OBJECT_EXISTS : E_ADS_BAD_PATHNAME,
                              std::u16string(adsRoot) + path + u": " + wideReason);
    }
    if (HRESULT status = file_.append(createLine(path, *definition)); status < 0) return status;
    created = &tree_.addObject(parent, name, *definition);
    tree_.setKeyType(*created);
    return S_OK;
}

HRESULT LiveMetabase::remove(ObjectNode& node) {
    if (&node == tree_.root())
        return failWithDetail(E_ADS_BAD_PATHNAME, u"The topmost object can't be deleted");
    if (HRESULT status = file_.append(deleteLine(node)); status < 0) return status;
    ObjectTree::remove(node);
    return S_OK;
}

bool LiveMetabase::close() {
    if (!file_.isChanged()) return true;
    return file_.replaceContents(
        [this](const WritePiece& write) { writeMetabase(tree_, text_.preamble, write); });
}

} // namespace metabase
