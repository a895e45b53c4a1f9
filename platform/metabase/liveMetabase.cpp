#include "liveMetabase.h"

#include "com/text.h"
#include "os/print.h"

namespace {

std::u16string widened(std::string_view text) { return {text.begin(), text.end()}; }

} // namespace

std::u16string adsPathOf(const Node& node) { return std::u16string(adsRoot) + MetabaseTree::pathOf(node); }

std::u16string adsPathOf(const ClassDefinition& definition) {
    return std::u16string(adsSchemaRoot) + definition.name;
}

HRESULT failWith(HRESULT status, std::u16string_view text) {
    std::string narrow;
    for (const char16_t unit : text) narrow.push_back(narrowed(unit));
    setStatusDetail(status, narrow);
    return status;
}

HRESULT Metabase::open(ComPtr<Metabase>& metabase) {
    const auto opened = makeObject<Metabase>();
    std::string_view text;
    if (HRESULT status = opened->file_.read(text); status < 0) return status;
    std::string error;
    if (!readMetabase(text, opened->tree_, opened->text_, error)) {
        setStatusDetail(HRESULT_FROM_WIN32(ERROR_INVALID_DATA), std::string(fileName) + ", " + error);
        return HRESULT_FROM_WIN32(ERROR_INVALID_DATA);
    }
    opened->file_.keepOnly(opened->text_.size);
    metabase = opened;
    return S_OK;
}

HRESULT Metabase::set(Node& node, std::span<const PendingValue> values) {
    if (HRESULT status = file_.append(setLine(tree_, node, values)); status < 0) return status;
    ++revision_;
    for (const PendingValue& value : values)
        MetabaseTree::setValue(node, value.property, tree_.keep(value.text));
    return S_OK;
}

HRESULT Metabase::create(Node& parent, std::u16string_view className, std::u16string_view name,
                         Node*& created) {
    const ClassDefinition* definition = tree_.findClass(className);
    if (definition == nullptr) {
        return failWith(E_ADS_SCHEMA_VIOLATION, u"The schema has no class " + std::u16string(className));
    }
    const std::u16string path = MetabaseTree::pathOf(parent) + u"/" + std::u16string(name);
    if (const std::string_view refusal = tree_.refusalOf(parent, name); !refusal.empty()) {
        const bool exists = MetabaseTree::findChild(parent, name) != nullptr;
        return failWith(exists ? E_ADS_OBJECT_EXISTS : E_ADS_BAD_PATHNAME,
                        std::u16string(adsRoot) + path + u": " + widened(refusal));
    }
    if (HRESULT status = file_.append(createLine(path, *definition)); status < 0) return status;
    ++revision_;
    created = &tree_.add(parent, name, *definition);
    tree_.setKeyType(*created);
    return S_OK;
}

HRESULT Metabase::remove(Node& node) {
    if (&node == tree_.root()) return failWith(E_ADS_BAD_PATHNAME, u"The topmost object can't be deleted");
    if (HRESULT status = file_.append(deleteLine(node)); status < 0) return status;
    ++revision_;
    MetabaseTree::remove(node);
    return S_OK;
}

void Metabase::close() {
    if (!file_.isChanged()) return;
    file_.replace([this](const MetabaseFile::Put& put) { writeMetabase(tree_, text_.head, put); });
}
