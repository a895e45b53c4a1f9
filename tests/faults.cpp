#include "platform/automation/safearray.h"
#include "platform/com/runtime.h"
#include "platform/metabase/provider.h"
#include "tests/fronts.h"

Faults plan;

namespace {

class AttributeFront final : public Front<IISPropertyAttribute> {
public:
    using Front::Front;
    HRESULT get_Isinherited(VARIANT_BOOL* inherited) override {
        return guard("IISPropertyAttribute::get_Isinherited",
                     [&] { return inner<IISPropertyAttribute>()->get_Isinherited(inherited); });
    }
};

class ClassFront final : public Front<IADsClass> {
public:
    using Front::Front;
    HRESULT get_Name(BSTR*) override { return E_NOTIMPL; }
    HRESULT get_Class(BSTR*) override { return E_NOTIMPL; }
    HRESULT get_ADsPath(BSTR*) override { return E_NOTIMPL; }
    HRESULT get_Parent(BSTR*) override { return E_NOTIMPL; }
    HRESULT get_Schema(BSTR*) override { return E_NOTIMPL; }
    HRESULT SetInfo() override { return E_NOTIMPL; }
    HRESULT Get(BSTR, VARIANT*) override { return E_NOTIMPL; }
    HRESULT Put(BSTR, const VARIANT&) override { return E_NOTIMPL; }
    HRESULT GetEx(BSTR, VARIANT*) override { return E_NOTIMPL; }
    HRESULT get_MandatoryProperties(VARIANT* names) override {
        return guard("IADsClass::get_MandatoryProperties",
                     [&] { return inner<IADsClass>()->get_MandatoryProperties(names); });
    }
    HRESULT get_OptionalProperties(VARIANT* names) override {
        return guard("IADsClass::get_OptionalProperties",
                     [&] { return inner<IADsClass>()->get_OptionalProperties(names); });
    }
};

class MimeTypeFront final : public Front<IISMimeType> {
public:
    using Front::Front;
    HRESULT get_MimeType(BSTR* out) override {
        return guard("IISMimeType::get_MimeType", [&] { return inner<IISMimeType>()->get_MimeType(out); });
    }
    HRESULT put_MimeType(BSTR text) override {
        return guard("IISMimeType::put_MimeType", [&] { return inner<IISMimeType>()->put_MimeType(text); });
    }
    HRESULT get_Extension(BSTR* out) override {
        return guard("IISMimeType::get_Extension", [&] { return inner<IISMimeType>()->get_Extension(out); });
    }
    HRESULT put_Extension(BSTR text) override {
        return guard("IISMimeType::put_Extension", [&] { return inner<IISMimeType>()->put_Extension(text); });
    }
};

class IpSecurityFront final : public Front<IISIPSecurity> {
public:
    using Front::Front;
    HRESULT get_GrantByDefault(VARIANT_BOOL* grant) override {
        return guard("IISIPSecurity::get_GrantByDefault",
                     [&] { return inner<IISIPSecurity>()->get_GrantByDefault(grant); });
    }
    HRESULT put_GrantByDefault(VARIANT_BOOL grant) override {
        return guard("IISIPSecurity::put_GrantByDefault",
                     [&] { return inner<IISIPSecurity>()->put_GrantByDefault(grant); });
    }
    HRESULT get_IPGrant(VARIANT* list) override {
        return guard("IISIPSecurity::get_IPGrant", [&] { return inner<IISIPSecurity>()->get_IPGrant(list); });
    }
    HRESULT put_IPGrant(const VARIANT& list) override {
        return guard("IISIPSecurity::put_IPGrant", [&] { return inner<IISIPSecurity>()->put_IPGrant(list); });
    }
    HRESULT get_IPDeny(VARIANT* list) override {
        return guard("IISIPSecurity::get_IPDeny", [&] { return inner<IISIPSecurity>()->get_IPDeny(list); });
    }
    HRESULT put_IPDeny(const VARIANT& list) override {
        return guard("IISIPSecurity::put_IPDeny", [&] { return inner<IISIPSecurity>()->put_IPDeny(list); });
    }
    HRESULT get_DomainGrant(VARIANT* list) override {
        return guard("IISIPSecurity::get_DomainGrant",
                     [&] { return inner<IISIPSecurity>()->get_DomainGrant(list); });
    }
    HRESULT put_DomainGrant(const VARIANT& list) override {
        return guard("IISIPSecurity::put_DomainGrant",
                     [&] { return inner<IISIPSecurity>()->put_DomainGrant(list); });
    }
    HRESULT get_DomainDeny(VARIANT* list) override {
        return guard("IISIPSecurity::get_DomainDeny",
                     [&] { return inner<IISIPSecurity>()->get_DomainDeny(list); });
    }
    HRESULT put_DomainDeny(const VARIANT& list) override {
        return guard("IISIPSecurity::put_DomainDeny",
                     [&] { return inner<IISIPSecurity>()->put_DomainDeny(list); });
    }
};

/// Puts a front before an object that is a property's value, if it is of a known kind.
template <class Made, class Interface> void frontValue(VARIANT& value) {
    ComPtr<Interface> known;
    if (value.vt != VT_DISPATCH || query(*value.pdispVal, known) < 0) return;
    value = Variant::ofDispatch(
                ComPtr<IDispatch>(makeObject<Made>(*ComPtr<IDispatch>::adopt(value.pdispVal)).get()))
                .detach();
}

class ObjectFront;

class EnumeratorFront final : public ComObject<IEnumVARIANT> {
public:
    explicit EnumeratorFront(IUnknown& inner) { query(inner, inner_); }
    HRESULT Next(ULONG count, VARIANT* elements, ULONG* fetched) override {
        *fetched = 0;
        if (isFault("IEnumVARIANT::Next")) return plan.status;
        if (idle_++ < plan.idleAnswers) return S_OK;
        idle_ = 0;
        if (!started_) fetch(count);
        started_ = true;
        const HRESULT status = ahead_.status;
        *elements = ahead_.element.detach();
        *fetched = ahead_.fetched;
        if (status == S_OK) fetch(count);
        return plan.lastWithEnd && ahead_.fetched == 0 ? S_FALSE : status;
    }

private:
    struct Answer {
        HRESULT status = S_OK;
        Variant element;
        ULONG fetched = 0;
    };
    void fetch(ULONG count);

    ComPtr<IEnumVARIANT> inner_;
    Answer ahead_;
    bool started_ = false;
    int idle_ = 0;
};

class ObjectFront final : public Front<IADs, IADsContainer, IADsDeleteOps, IISBaseObject> {
public:
    using Front::Front;
    HRESULT GetIDsOfNames(const IID& reserved, const OLECHAR* const* names, UINT count, LCID locale,
                          DISPID* ids) override {
        return guard("IDispatch::GetIDsOfNames",
                     [&] { return inner<IDispatch>()->GetIDsOfNames(reserved, names, count, locale, ids); });
    }
    HRESULT get_Name(BSTR* out) override {
        return guard("IADs::get_Name", [&] { return inner<IADs>()->get_Name(out); });
    }
    HRESULT get_Class(BSTR* out) override {
        return guard("IADs::get_Class", [&] { return inner<IADs>()->get_Class(out); });
    }
    HRESULT get_ADsPath(BSTR* out) override {
        return guard("IADs::get_ADsPath", [&] { return inner<IADs>()->get_ADsPath(out); });
    }
    HRESULT get_Parent(BSTR* out) override {
        return guard("IADs::get_Parent", [&] { return inner<IADs>()->get_Parent(out); });
    }
    HRESULT get_Schema(BSTR* out) override {
        return guard("IADs::get_Schema", [&] { return inner<IADs>()->get_Schema(out); });
    }
    HRESULT SetInfo() override {
        return guard("IADs::SetInfo", [&] { return inner<IADs>()->SetInfo(); });
    }
    HRESULT Get(BSTR name, VARIANT* value) override {
        return guard("IADs::Get", [&] { return changed(name, value, inner<IADs>()->Get(name, value)); });
    }
    HRESULT Put(BSTR name, const VARIANT& value) override {
        return guard("IADs::Put", [&] { return inner<IADs>()->Put(name, value); });
    }
    HRESULT GetEx(BSTR name, VARIANT* value) override {
        return guard("IADs::GetEx", [&] { return changed(name, value, inner<IADs>()->GetEx(name, value)); });
    }
    HRESULT get__NewEnum(IUnknown** out) override {
        return guard("ADsBuildEnumerator", [&] {
            const HRESULT status = inner<IADsContainer>()->get__NewEnum(out);
            replaceBy<EnumeratorFront>(out);
            return status;
        });
    }
    HRESULT Create(BSTR className, BSTR name, IDispatch** out) override {
        return guard("IADsContainer::Create", [&] {
            const HRESULT status = inner<IADsContainer>()->Create(className, name, out);
            wrap(out);
            return status;
        });
    }
    HRESULT Delete(BSTR className, BSTR name) override {
        return guard("IADsContainer::Delete",
                     [&] { return inner<IADsContainer>()->Delete(className, name); });
    }
    HRESULT DeleteObject(LONG flags) override {
        return guard("IADsDeleteOps::DeleteObject",
                     [&] { return inner<IADsDeleteOps>()->DeleteObject(flags); });
    }
    HRESULT GetPropertyAttribObj(BSTR name, IDispatch** out) override {
        return guard("IISBaseObject::GetPropertyAttribObj", [&] {
            const HRESULT status = inner<IISBaseObject>()->GetPropertyAttribObj(name, out);
            replaceBy<AttributeFront>(out);
            return status;
        });
    }

    /// Puts a front before an object of the tree.
    static void wrap(IDispatch** object) {
        if (*object == nullptr) return;
        const auto inner = ComPtr<IDispatch>::adopt(*object);
        const ComPtr<IADs> front(makeObject<ObjectFront>(*inner).get());
        *object = ComPtr<IDispatch>(front.get()).detach();
    }

private:
    static HRESULT changed(BSTR name, VARIANT* value, HRESULT status) {
        if (status < 0) return status;
        frontValue<IpSecurityFront, IISIPSecurity>(*value);
        if ((value->vt & VT_ARRAY) != 0) {
            auto* elements = static_cast<VARIANT*>(value->parray->pvData);
            for (ULONG i = 0; i < value->parray->rgsabound[0].cElements; ++i) {
                frontValue<MimeTypeFront, IISMimeType>(elements[i]);
            }
        }
        if (plan.onRead) plan.onRead(std::u16string(view(name)), *value);
        return status;
    }
};

void EnumeratorFront::fetch(ULONG count) {
    ahead_.status = inner_->Next(count, ahead_.element.out(), &ahead_.fetched);
    if (ahead_.fetched == 1) ObjectFront::wrap(&ahead_.element.get().pdispVal);
}

class ProviderFront final : public ComObject<IADsProvider> {
public:
    HRESULT GetObject(const OLECHAR* path, const IID& wanted, void** object) override {
        *object = nullptr;
        if (isFault("ADsGetObject")) return plan.status;
        void* found = nullptr;
        const HRESULT status = inner_->GetObject(path, IUnknown::iid, &found);
        if (status < 0) return status;
        const auto inner = ComPtr<IUnknown>::adopt(static_cast<IUnknown*>(found));
        ComPtr<IADsClass> schemaClass;
        if (query(*inner, schemaClass) >= 0)
            return makeObject<ClassFront>(*inner)->QueryInterface(wanted, object);
        return makeObject<ObjectFront>(*inner)->QueryInterface(wanted, object);
    }

    ComPtr<IADsProvider> inner_;
};

/// A class object whose objects get a front.
class MimeMapFactory final : public ComObject<IClassFactory> {
public:
    HRESULT CreateInstance(IUnknown*, const IID& wanted, void** out) override {
        *out = nullptr;
        return guard("IClassFactory::CreateInstance", [&] {
            return makeObject<MimeTypeFront>(*makeObject<MimeType>())->QueryInterface(wanted, out);
        });
    }
    HRESULT QueryInterface(const IID& wanted, void** out) override {
        *out = nullptr;
        return guard("CoGetClassObject",
                     [&] { return ComObject<IClassFactory>::QueryInterface(wanted, out); });
    }
};

} // namespace

int callsSeen = 0;

void installFaults(const Faults& faults) {
    plan = faults;
    callsSeen = 0;
    const auto front = makeObject<ProviderFront>();
    front->inner_ = metabaseProvider();
    registerProvider(u"IIS:", *front);
    registerClass(CLSID_MimeMap, *makeObject<MimeMapFactory>());
    frontDocuments();
}
