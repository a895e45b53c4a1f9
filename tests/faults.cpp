#include "automation/safearray.h"
#include "com/runtime.h"
#include "metabase/provider.h"
#include "tests/fronts.h"

#include <sys/mman.h>

Faults plan;
bool within = false;

namespace {

std::string lastCall;

class AttributeFront final : public Front<IISPropertyAttribute> {
public:
    using Front::Front;
    PASS(IISPropertyAttribute, get_Isinherited, (VARIANT_BOOL * inherited), inherited)
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
    PASS(IADsClass, get_MandatoryProperties, (VARIANT * names), names)
    PASS(IADsClass, get_OptionalProperties, (VARIANT * names), names)
};

class MimeTypeFront final : public Front<IISMimeType> {
public:
    using Front::Front;
    PASS(IISMimeType, get_MimeType, (BSTR * out), out)
    PASS(IISMimeType, put_MimeType, (BSTR text), text)
    PASS(IISMimeType, get_Extension, (BSTR * out), out)
    PASS(IISMimeType, put_Extension, (BSTR text), text)
};

class IpSecurityFront final : public Front<IISIPSecurity> {
public:
    using Front::Front;
    PASS(IISIPSecurity, get_GrantByDefault, (VARIANT_BOOL * grant), grant)
    PASS(IISIPSecurity, put_GrantByDefault, (VARIANT_BOOL grant), grant)
    PASS(IISIPSecurity, get_IPGrant, (VARIANT * list), list)
    PASS(IISIPSecurity, put_IPGrant, (const VARIANT& list), list)
    PASS(IISIPSecurity, get_IPDeny, (VARIANT * list), list)
    PASS(IISIPSecurity, put_IPDeny, (const VARIANT& list), list)
    PASS(IISIPSecurity, get_DomainGrant, (VARIANT * list), list)
    PASS(IISIPSecurity, put_DomainGrant, (const VARIANT& list), list)
    PASS(IISIPSecurity, get_DomainDeny, (VARIANT * list), list)
    PASS(IISIPSecurity, put_DomainDeny, (const VARIANT& list), list)
};

/// Puts a front before an object that is a property's value, if it is of a known kind.
template <class Made, class Interface> void frontValue(VARIANT& value) {
    ComPtr<Interface> known;
    if (value.vt != VT_DISPATCH || query(*value.pdispVal, known) < 0) return;
    value = Variant::ofDispatch(
                ComPtr<IDispatch>(makeObject<Made>(*ComPtr<IDispatch>::adopt(value.pdispVal)).get()))
                .detach();
}

int enumerations = 0;

class ObjectFront;

class EnumeratorFront final : public ComObject<IEnumVARIANT> {
public:
    explicit EnumeratorFront(IUnknown& inner) { query(inner, inner_); }
    HRESULT Next(ULONG count, VARIANT* elements, ULONG* fetched) override {
        *fetched = 0;
        if (idle_++ < plan.idleAnswers) return S_OK;
        idle_ = 0;
        if (!started_) fetch(count);
        if (!started_ && number_ == plan.poorEnumeration) fetch(count);
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
    int number_ = ++enumerations;
};

class ObjectFront final : public Front<IADs, IADsContainer, IADsDeleteOps, IISBaseObject> {
public:
    using Front::Front;
    PASS(IDispatch, GetIDsOfNames,
         (const IID& reserved, const OLECHAR* const* names, UINT count, LCID locale, DISPID* ids), reserved,
         names, count, locale, ids)
    PASS(IADs, get_Name, (BSTR * out), out)
    PASS(IADs, get_Class, (BSTR * out), out)
    PASS(IADs, get_ADsPath, (BSTR * out), out)
    PASS(IADs, get_Parent, (BSTR * out), out)
    PASS(IADs, get_Schema, (BSTR * out), out)
    PASS(IADs, SetInfo, ())
    HRESULT Get(BSTR name, VARIANT* value) override {
        return guard("IADs::Get", [&] { return changed(name, value, inner<IADs>()->Get(name, value)); });
    }
    PASS(IADs, Put, (BSTR name, const VARIANT& value), name, value)
    HRESULT GetEx(BSTR name, VARIANT* value) override {
        return guard("IADs::GetEx", [&] { return changed(name, value, inner<IADs>()->GetEx(name, value)); });
    }
    HRESULT get__NewEnum(IUnknown** out) override {
        const HRESULT status = inner<IADsContainer>()->get__NewEnum(out);
        replaceBy<EnumeratorFront>(out);
        return status;
    }
    HRESULT Create(BSTR className, BSTR name, IDispatch** out) override {
        return guard("IADsContainer::Create", [&] {
            const HRESULT status = inner<IADsContainer>()->Create(className, name, out);
            wrap(out);
            return status;
        });
    }
    PASS(IADsContainer, Delete, (BSTR className, BSTR name), className, name)
    PASS(IADsDeleteOps, DeleteObject, (LONG flags), flags)
    PASS_FRONTED(IISBaseObject, GetPropertyAttribObj, AttributeFront, (BSTR name, IDispatch** out), out, name)

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
            return makeObject<MimeTypeFront>(*makeObject<metabase::MimeTypeObject>())
                ->QueryInterface(wanted, out);
        });
    }
};

} // namespace

CallLog& callLog() {
    static auto* log = static_cast<CallLog*>(
        ::mmap(nullptr, sizeof(CallLog), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    return *log;
}

bool isFault(std::string_view call) {
    CallLog& log = callLog();
    const std::string before = std::exchange(lastCall, call);
    if (plan.call != "*" && plan.call != call) return false;
    const int number = ++log.calls;
    if (number == plan.number) {
        call.copy(log.failed, sizeof log.failed - 1);
        before.copy(log.before, sizeof log.before - 1);
    }
    return number == plan.number || (plan.lasting && number > plan.number);
}

void installFaults(const Faults& faults) {
    within = true;
    const auto front = makeObject<ProviderFront>();
    front->inner_ = metabase::iisProvider();
    registerProvider(u"IIS:", *front);
    registerClass(CLSID_MimeMap, *makeObject<MimeMapFactory>());
    frontDocuments();
    within = false;
    plan = faults;
    callLog() = {};
}
