// An object of the metabase, as the directory shows it.
#pragma once

#include "directory/iis.h"
#include "liveMetabase.h"

namespace metabase {

/// A reference to an object. After the object is deleted every call returns E_ADS_OBJECT_UNBOUND. The
/// object's class decides whether it offers IADsContainer and IADsDeleteOps.
class DirectoryObject final : public ComObject<IADs, IADsContainer, IADsDeleteOps, IISBaseObject> {
public:
    DirectoryObject(const ComPtr<LiveMetabase>& metabase, ObjectNode& node)
        : metabase_(metabase), node_(node) {}

    /// The one name of these objects is GetPropertyAttribObj.
    HRESULT GetIDsOfNames(const IID& reserved, const OLECHAR* const* names, UINT count, LCID locale,
                          DISPID* ids) override;

    HRESULT get_Name(BSTR* name) override;
    HRESULT get_Class(BSTR* className) override;
    HRESULT get_ADsPath(BSTR* path) override;
    HRESULT get_Parent(BSTR* path) override;
    HRESULT get_Schema(BSTR* path) override;
    HRESULT SetInfo() override;
    HRESULT Get(BSTR name, VARIANT* value) override;
    HRESULT Put(BSTR name, const VARIANT& value) override;
    HRESULT GetEx(BSTR name, VARIANT* value) override;

    HRESULT get__NewEnum(IUnknown** enumerator) override;
    HRESULT Create(BSTR className, BSTR name, IDispatch** created) override;
    HRESULT Delete(BSTR className, BSTR name) override;

    HRESULT DeleteObject(LONG flags) override;

    HRESULT GetPropertyAttribObj(BSTR name, IDispatch** attributes) override;

protected:
    bool offers(const IID& wanted) const override;

private:
    HRESULT checkBound() const { return node_.deleted ? failUnbound() : S_OK; }
    HRESULT failUnbound() const;
    /// Finds a property that the object's class lists. E_ADS_PROPERTY_NOT_FOUND for any other.
    HRESULT findProperty(BSTR name, PropertyId& property) const;
    /// Finds a property and the object's value for it, and puts both into shownProperty_ and shown_.
    HRESULT findShown(BSTR name);
    const PropertyDefinition& definitionOf(PropertyId property) const {
        return metabase_->tree().properties()[property];
    }

    ComPtr<LiveMetabase> metabase_;
    ObjectNode& node_;
    std::vector<PendingValue> pending_;

    // A walk asks for the attributes of a property and then for its value: the last result of findShown is
    // valid until the metabase changes, as it does when this object is deleted.
    PropertyId shownProperty_ = 0;
    EffectiveValue shown_{};
    std::uint64_t shownRevision_ = 0;
};

} // namespace metabase
