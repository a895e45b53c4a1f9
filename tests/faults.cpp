#include "tests/faults.h"

#include "platform/metabase/iisObjects.h"
#include "platform/metabase/provider.h"

namespace {

Faults plan;
int callsSeen = 0;

/// 0, or the status with which the call is to fail.
HRESULT faultOf(const std::string& call) {
    return call == plan.call && ++callsSeen == plan.number ? plan.status : S_OK;
}

/// Makes a call unless it is the one that fails.
template <class Call> HRESULT guard(const char* name, Call call) {
    const HRESULT fault = faultOf(name);
    return fault < 0 ? fault : call();
}

struct Named {
    const IID& iid;
    const char* name;
};
const Named interfaces[] = {{IADs::iid, "IADs"},
                            {IDispatch::iid, "IDispatch"},
                            {IADsContainer::iid, "IADsContainer"},
                            {IADsDeleteOps::iid, "IADsDeleteOps"},
                            {IISBaseObject::iid, "IISBaseObject"},
                            {IISPropertyAttribute::iid, "IISPropertyAttribute"},
                            {IISIPSecurity::iid, "IISIPSecurity"},
                            {IISMimeType::iid, "IISMimeType"}};

/// An object in front of another one, whose queries can fail.
template <class... Interfaces> class Front : public NamelessObject<Interfaces...> {
public:
    explicit Front(IUnknown& inner) : inner_(&inner) {}

    HRESULT QueryInterface(const IID& wanted, void** out) override {
        *out = nullptr;
        for (const Named& known : interfaces) {
            if (known.iid != wanted) continue;
            if (HRESULT status = faultOf(std::string("query ") + known.name); status < 0) return status;
        }
        void* found = nullptr;
        if (HRESULT status = inner_->QueryInterface(wanted, &found); status < 0) return status;
        static_cast<IUnknown*>(found)->Release();
        return NamelessObject<Interfaces...>::QueryInterface(wanted, out);
    }

protected:
    template <class T> ComPtr<T> inner() const {
        ComPtr<T> typed;
        query(*inner_, typed);
        return typed;
    }

private:
    ComPtr<IUnknown> inner_;
};

/// Puts a front before the object that a call gave.
template <class Made, class T> void replaceBy(T** object) {
    if (*object == nullptr) return;
    const auto inner = ComPtr<T>::adopt(*object);
    *object = makeObject<Made>(*inner).detach();
}

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

class ObjectFront;

class EnumeratorFront final : public ComObject<IEnumVARIANT> {
public:
    explicit EnumeratorFront(IUnknown& inner) { query(inner, inner_); }
    HRESULT Next(ULONG count, VARIANT* elements, ULONG* fetched) override {
        *fetched = 0;
        if (HRESULT status = faultOf("IEnumVARIANT::Next"); status < 0) return status;
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
        if (status >= 0 && plan.onRead) plan.onRead(std::u16string(view(name)), *value);
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
        if (HRESULT status = faultOf("ADsGetObject"); status < 0) return status;
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

} // namespace

void installFaults(const Faults& faults) {
    plan = faults;
    callsSeen = 0;
    const auto front = makeObject<ProviderFront>();
    front->inner_ = metabaseProvider();
    registerProvider(u"IIS:", *front);
}
