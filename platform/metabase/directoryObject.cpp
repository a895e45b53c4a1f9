#include "directoryObject.h"

#include "automation/callResults.h"
#include "automation/excerpt.h"
#include "automation/safearray.h"
#include "valueSyntax.h"

#include <algorithm>

namespace metabase {

namespace {

constexpr std::u16string_view dispatchName = u"GetPropertyAttribObj";
constexpr DISPID dispatchId = 1;

/// Enumerates the children that an object had when this was made.
class ChildList final : public ComObject<IEnumVARIANT> {
public:
    ChildList(const ComPtr<LiveMetabase>& metabase, const ObjectNode& parent)
        : metabase_(metabase), nodes_(parent.children().begin(), parent.children().end()) {}

    HRESULT Next(ULONG count, VARIANT* elements, ULONG* fetched) override {
        *fetched = 0;
        for (; *fetched < count && at_ < nodes_.size(); ++*fetched) {
            ComPtr<IADs> child = makeObject<DirectoryObject>(metabase_, *nodes_[at_++]);
            elements[*fetched] = Variant::ofDispatch(std::move(child)).detach();
        }
        return *fetched == count ? S_OK : S_FALSE;
    }

private:
    ComPtr<LiveMetabase> metabase_;
    std::vector<ObjectNode*> nodes_;
    std::size_t at_ = 0;
};

class PropertyAttribute final : public NamelessObject<IISPropertyAttribute> {
public:
    explicit PropertyAttribute(bool inherited) : inherited_(inherited ? VARIANT_TRUE : VARIANT_FALSE) {}

    HRESULT get_Isinherited(VARIANT_BOOL* inherited) override {
        *inherited = inherited_;
        return S_OK;
    }

private:
    VARIANT_BOOL inherited_;
};

/// Fails for a value that the property can't hold.
[[gnu::cold]] HRESULT failToStore(const PropertyDefinition& definition, const VARIANT& value) {
    constexpr HRESULT status = E_ADS_CANT_CONVERT_DATATYPE;
    std::string text;
    const bool hasText = formatValue(text, ValueForm::plain, value) == S_OK;
    setStatusDetail(status, "A value of this kind can't be stored in " + excerpt(definition.nameText) +
                                ", which has the type " + excerpt(definition.typeWord) +
                                (hasText ? ": " + excerpt(text) : ""));
    return status;
}

} // namespace

bool DirectoryObject::offers(const IID& wanted) const {
    if (wanted == IADsContainer::iid) return node_.definition->container;
    if (wanted == IADsDeleteOps::iid) return node_.definition->deleteOps;
    return true;
}

HRESULT DirectoryObject::failUnbound() const {
    return failWithDetail(E_ADS_OBJECT_UNBOUND, adsPathOf(node_) + u" has been deleted");
}

HRESULT DirectoryObject::findProperty(BSTR name, PropertyId& property) const {
    if (HRESULT status = checkBound(); status < 0) return status;
    const std::optional<PropertyId> found = metabase_->tree().findProperty(view(name));
    if (!found || !node_.definition->lists(*found)) {
        return failWithDetail(E_ADS_PROPERTY_NOT_FOUND, u"The class " + node_.definition->name +
                                                            u" has no property " +
                                                            std::u16string(view(name)));
    }
    property = *found;
    return S_OK;
}

HRESULT DirectoryObject::findShown(BSTR name) {
    const std::uint64_t revision = metabase_->revision();
    if (shownRevision_ == revision && equal(name, definitionOf(shownProperty_).name)) return S_OK;
    if (HRESULT status = findProperty(name, shownProperty_); status < 0) return status;
    shown_ = metabase_->tree().effectiveValue(node_, shownProperty_);
    shownRevision_ = revision;
    return S_OK;
}

HRESULT DirectoryObject::GetIDsOfNames(const IID&, const OLECHAR* const* names, UINT count, LCID,
                                       DISPID* ids) {
    if (HRESULT status = checkBound(); status < 0) return status;
    if (count != 1 || names[0] != dispatchName) return DISP_E_UNKNOWNNAME;
    *ids = dispatchId;
    return S_OK;
}

HRESULT DirectoryObject::get_Name(BSTR* name) {
    *name = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    return returnCopy(node_.name, name);
}

HRESULT DirectoryObject::get_Class(BSTR* className) {
    *className = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    return returnCopy(node_.definition->name, className);
}

HRESULT DirectoryObject::get_ADsPath(BSTR* path) {
    *path = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    return returnCopy(adsPathOf(node_), path);
}

HRESULT DirectoryObject::get_Parent(BSTR* path) {
    *path = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    if (&node_ == metabase_->tree().root())
        return failWithDetail(E_ADS_BAD_PATHNAME, u"The topmost object has no parent");
    return returnCopy(adsPathOf(*node_.parent), path);
}

HRESULT DirectoryObject::get_Schema(BSTR* path) {
    *path = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    return returnCopy(adsPathOf(*node_.definition), path);
}

HRESULT DirectoryObject::SetInfo() {
    if (HRESULT status = checkBound(); status < 0) return status;
    if (pending_.empty()) return S_OK;
    if (HRESULT status = metabase_->set(node_, pending_); status < 0) return status;
    pending_.clear();
    return S_OK;
}

HRESULT DirectoryObject::Put(BSTR name, const VARIANT& value) {
    PropertyId property = 0;
    if (HRESULT status = findProperty(name, property); status < 0) return status;
    const PropertyDefinition& definition = definitionOf(property);
    PendingValue pending{property, {}};
    if (HRESULT status = formatValue(pending.text, definition.form, value); status < 0)
        return status == E_ADS_CANT_CONVERT_DATATYPE ? failToStore(definition, value) : status;
    std::erase_if(pending_, [property](const PendingValue& earlier) { return earlier.property == property; });
    pending_.push_back(std::move(pending));
    return S_OK;
}

HRESULT DirectoryObject::GetEx(BSTR name, VARIANT* value) {
    VariantInit(value);
    if (HRESULT status = findShown(name); status < 0) return status;
    Lexer lexer(shown_.text);
    Variant parsed;
    // Every text in the tree was checked or formatted before.
    (void)parseValue(lexer, definitionOf(shownProperty_).form, parsed);
    *value = parsed.detach();
    return S_OK;
}

HRESULT DirectoryObject::Get(BSTR name, VARIANT* value) {
    if (HRESULT status = GetEx(name, value); status < 0) return status;
    const bool isArray = value->vt == (VT_ARRAY | VT_VARIANT);
    if (!isArray || !definitionOf(shownProperty_).single) return S_OK;
    if (value->parray->rgsabound[0].cElements != 1) return S_OK;
    const Variant array = Variant::adopt(*value);
    const LONG first = 0;
    return SafeArrayGetElement(array->parray, &first, value);
}

HRESULT DirectoryObject::get__NewEnum(IUnknown** enumerator) {
    *enumerator = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    *enumerator = makeObject<ChildList>(metabase_, node_).detach();
    return S_OK;
}

HRESULT DirectoryObject::Create(BSTR className, BSTR name, IDispatch** created) {
    *created = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    ObjectNode* node = nullptr;
    if (HRESULT status = metabase_->create(node_, view(className), view(name), node); status < 0)
        return status;
    ComPtr<IADs> object = makeObject<DirectoryObject>(metabase_, *node);
    *created = object.detach();
    return S_OK;
}

HRESULT DirectoryObject::Delete(BSTR className, BSTR name) {
    if (HRESULT status = checkBound(); status < 0) return status;
    ObjectNode* child = ObjectTree::findChild(node_, view(name));
    if (child == nullptr || child->definition->name != view(className)) {
        return failWithDetail(E_ADS_UNKNOWN_OBJECT, adsPathOf(node_) + u" has no child " +
                                                        std::u16string(view(name)) + u" of the class " +
                                                        std::u16string(view(className)));
    }
    return metabase_->remove(*child);
}

HRESULT DirectoryObject::DeleteObject(LONG) {
    if (HRESULT status = checkBound(); status < 0) return status;
    return metabase_->remove(node_);
}

HRESULT DirectoryObject::GetPropertyAttribObj(BSTR name, IDispatch** attributes) {
    *attributes = nullptr;
    if (HRESULT status = findShown(name); status < 0) return status;
    *attributes = makeObject<PropertyAttribute>(shown_.inherited).detach();
    return S_OK;
}

} // namespace metabase
