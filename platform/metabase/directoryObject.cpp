#include "directoryObject.h"

#include "automation/safearray.h"
#include "valueObjects.h"
#include "valueSyntax.h"

#include <algorithm>

namespace {

constexpr std::u16string_view knownName = u"GetPropertyAttribObj";
constexpr DISPID knownId = 1;

HRESULT give(std::u16string_view text, BSTR* out) {
    *out = Bstr(text).detach();
    return S_OK;
}

/// The children as they stood when it was made.
class Children final : public ComObject<IEnumVARIANT> {
public:
    Children(const ComPtr<Metabase>& metabase, const Node& parent)
        : metabase_(metabase), nodes_(parent.children) {}

    HRESULT Next(ULONG count, VARIANT* elements, ULONG* fetched) override {
        *fetched = 0;
        for (; *fetched < count && at_ < nodes_.size(); ++*fetched) {
            ComPtr<IDispatch> child;
            query(static_cast<IADs&>(*makeObject<MetabaseObject>(metabase_, *nodes_[at_++])), child);
            elements[*fetched] = Variant::ofDispatch(std::move(child)).detach();
        }
        return *fetched == count ? S_OK : S_FALSE;
    }

private:
    ComPtr<Metabase> metabase_;
    std::vector<Node*> nodes_;
    std::size_t at_ = 0;
};

} // namespace

bool MetabaseObject::offers(const IID& wanted) const {
    if (wanted == IADsContainer::iid) return node_.definition->container;
    if (wanted == IADsDeleteOps::iid) return node_.definition->deleteOps;
    return true;
}

HRESULT MetabaseObject::failUnbound() const {
    return failWith(E_ADS_OBJECT_UNBOUND, adsPathOf(node_) + u" has been deleted");
}

HRESULT MetabaseObject::findProperty(BSTR name, PropertyId& property) const {
    if (HRESULT status = checkBound(); status < 0) return status;
    const std::optional<PropertyId> found = metabase_->tree().findProperty(view(name));
    if (!found || !node_.definition->lists(*found)) {
        return failWith(E_ADS_PROPERTY_NOT_FOUND, u"The class " + node_.definition->name +
                                                      u" has no property " + std::u16string(view(name)));
    }
    property = *found;
    return S_OK;
}

HRESULT MetabaseObject::show(BSTR name) {
    if (HRESULT status = checkBound(); status < 0) return status;
    const MetabaseTree& tree = metabase_->tree();
    if (shownRevision_ == metabase_->revision() && equal(name, tree.properties()[shownProperty_].name))
        return S_OK;
    if (HRESULT status = findProperty(name, shownProperty_); status < 0) return status;
    shown_ = tree.effectiveValue(node_, shownProperty_);
    shownRevision_ = metabase_->revision();
    return S_OK;
}

HRESULT MetabaseObject::GetIDsOfNames(const IID&, const OLECHAR* const* names, UINT count, LCID,
                                      DISPID* ids) {
    if (HRESULT status = checkBound(); status < 0) return status;
    if (count != 1 || names[0] != knownName) return DISP_E_UNKNOWNNAME;
    *ids = knownId;
    return S_OK;
}

HRESULT MetabaseObject::get_Name(BSTR* name) {
    *name = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    return give(node_.name, name);
}

HRESULT MetabaseObject::get_Class(BSTR* className) {
    *className = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    return give(node_.definition->name, className);
}

HRESULT MetabaseObject::get_ADsPath(BSTR* path) {
    *path = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    return give(adsPathOf(node_), path);
}

HRESULT MetabaseObject::get_Parent(BSTR* path) {
    *path = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    if (&node_ == metabase_->tree().root())
        return failWith(E_ADS_BAD_PATHNAME, u"The topmost object has no parent");
    return give(adsPathOf(*node_.parent), path);
}

HRESULT MetabaseObject::get_Schema(BSTR* path) {
    *path = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    return give(adsPathOf(*node_.definition), path);
}

HRESULT MetabaseObject::SetInfo() {
    if (HRESULT status = checkBound(); status < 0) return status;
    if (pending_.empty()) return S_OK;
    if (HRESULT status = metabase_->set(node_, pending_); status < 0) return status;
    pending_.clear();
    return S_OK;
}

HRESULT MetabaseObject::Put(BSTR name, const VARIANT& value) {
    PropertyId property = 0;
    if (HRESULT status = findProperty(name, property); status < 0) return status;
    PendingValue pending{property, {}};
    if (HRESULT status = writeValue(pending.text, metabase_->tree().properties()[property].form, value);
        status < 0) {
        return failWith(status, u"A value of this kind can't be stored in " + std::u16string(view(name)));
    }
    std::erase_if(pending_, [property](const PendingValue& earlier) { return earlier.property == property; });
    pending_.push_back(std::move(pending));
    return S_OK;
}

HRESULT MetabaseObject::GetEx(BSTR name, VARIANT* value) {
    VariantInit(value);
    if (HRESULT status = show(name); status < 0) return status;
    Variant made;
    LineReader(shown_.text).value(metabase_->tree().properties()[shownProperty_].form, &made);
    *value = made.detach();
    return S_OK;
}

HRESULT MetabaseObject::Get(BSTR name, VARIANT* value) {
    if (HRESULT status = GetEx(name, value); status < 0) return status;
    const bool isArray = value->vt == (VT_ARRAY | VT_VARIANT);
    const MetabaseTree& tree = metabase_->tree();
    if (!isArray || !tree.properties()[*tree.findProperty(view(name))].single) return S_OK;
    if (value->parray->rgsabound[0].cElements != 1) return S_OK;
    const Variant array = Variant::adopt(*value);
    const LONG first = 0;
    return SafeArrayGetElement(array->parray, &first, value);
}

HRESULT MetabaseObject::get__NewEnum(IUnknown** enumerator) {
    *enumerator = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    *enumerator = makeObject<Children>(metabase_, node_).detach();
    return S_OK;
}

HRESULT MetabaseObject::Create(BSTR className, BSTR name, IDispatch** created) {
    *created = nullptr;
    if (HRESULT status = checkBound(); status < 0) return status;
    Node* node = nullptr;
    if (HRESULT status = metabase_->create(node_, view(className), view(name), node); status < 0)
        return status;
    ComPtr<IADs> object(makeObject<MetabaseObject>(metabase_, *node).get());
    *created = object.detach();
    return S_OK;
}

HRESULT MetabaseObject::Delete(BSTR className, BSTR name) {
    if (HRESULT status = checkBound(); status < 0) return status;
    Node* child = MetabaseTree::findChild(node_, view(name));
    if (child == nullptr || child->definition->name != view(className)) {
        return failWith(E_ADS_UNKNOWN_OBJECT, adsPathOf(node_) + u" has no child " +
                                                  std::u16string(view(name)) + u" of the class " +
                                                  std::u16string(view(className)));
    }
    return metabase_->remove(*child);
}

HRESULT MetabaseObject::DeleteObject(LONG) {
    if (HRESULT status = checkBound(); status < 0) return status;
    return metabase_->remove(node_);
}

HRESULT MetabaseObject::GetPropertyAttribObj(BSTR name, IDispatch** attributes) {
    *attributes = nullptr;
    if (HRESULT status = show(name); status < 0) return status;
    *attributes = makeObject<PropertyAttribute>(shown_.inherited).detach();
    return S_OK;
}
