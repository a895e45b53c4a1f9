// An object of the metabase, as the directory shows it.
#pragma once

#include "directory/iis.h"
#include "liveMetabase.h"

/// A reference to an object. When the object is deleted, the reference answers every call with
/// E_ADS_OBJECT_UNBOUND. IADsContainer and IADsDeleteOps are offered as the object's class says.
class MetabaseObject final : public ComObject<IADs, IADsContainer, IADsDeleteOps, IISBaseObject> {
public:
    MetabaseObject(const ComPtr<Metabase>& metabase, Node& node) : metabase_(metabase), node_(node) {}

    /// Knows the name GetPropertyAttribObj.
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
    HRESULT checkBound() const { return node_.gone ? failUnbound() : S_OK; }
    HRESULT failUnbound() const;
    /// The property, if the object's class lists it.
    HRESULT findProperty(BSTR name, PropertyId& property) const;
    /// Looks a property up, and what the object shows for it, into shown_.
    HRESULT show(BSTR name);

    ComPtr<Metabase> metabase_;
    Node& node_;
    std::vector<PendingValue> pending_;

    // A walk asks for the attributes of a property, then for its value: what was looked up last stays good
    // until the metabase is changed.
    PropertyId shownProperty_ = 0;
    EffectiveValue shown_{};
    std::uint64_t shownRevision_ = 0;
};
