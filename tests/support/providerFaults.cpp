// Fronts of the provider's objects, and the injection itself; see faults.h.

#include "automation/safearray.h"
#include "com/runtime.h"
#include "metabase/provider.h"
#include "tests/support/fronts.h"
#include "tests/support/processes.h"

#include <cstdlib>

bool isProgramCalling = false;

namespace {

FaultPlan plan;
CallLog callLog;
std::string_view lastCall;
int enumerations = 0;

class AttributeFront final : public Front<IISPropertyAttribute> {
public:
    using Front::Front;
    HRESULT get_Isinherited(VARIANT_BOOL* inherited) override {
        return pass(CALL(IISPropertyAttribute, get_Isinherited), inherited);
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
        return pass(CALL(IADsClass, get_MandatoryProperties), names);
    }
    HRESULT get_OptionalProperties(VARIANT* names) override {
        return pass(CALL(IADsClass, get_OptionalProperties), names);
    }
};

class MimeTypeFront final : public Front<IISMimeType> {
public:
    using Front::Front;
    HRESULT get_MimeType(BSTR* out) override { return pass(CALL(IISMimeType, get_MimeType), out); }
    HRESULT put_MimeType(BSTR text) override { return pass(CALL(IISMimeType, put_MimeType), text); }
    HRESULT get_Extension(BSTR* out) override { return pass(CALL(IISMimeType, get_Extension), out); }
    HRESULT put_Extension(BSTR text) override { return pass(CALL(IISMimeType, put_Extension), text); }
};

class IpSecurityFront final : public Front<IISIPSecurity> {
public:
    using Front::Front;
    HRESULT get_GrantByDefault(VARIANT_BOOL* grant) override {
        return pass(CALL(IISIPSecurity, get_GrantByDefault), grant);
    }
    HRESULT put_GrantByDefault(VARIANT_BOOL grant) override {
        return pass(CALL(IISIPSecurity, put_GrantByDefault), grant);
    }
    HRESULT get_IPGrant(VARIANT* list) override { return pass(CALL(IISIPSecurity, get_IPGrant), list); }
    HRESULT put_IPGrant(const VARIANT& list) override { return pass(CALL(IISIPSecurity, put_IPGrant), list); }
    HRESULT get_IPDeny(VARIANT* list) override { return pass(CALL(IISIPSecurity, get_IPDeny), list); }
    HRESULT put_IPDeny(const VARIANT& list) override { return pass(CALL(IISIPSecurity, put_IPDeny), list); }
    HRESULT get_DomainGrant(VARIANT* list) override {
        return pass(CALL(IISIPSecurity, get_DomainGrant), list);
    }
    HRESULT put_DomainGrant(const VARIANT& list) override {
        return pass(CALL(IISIPSecurity, put_DomainGrant), list);
    }
    HRESULT get_DomainDeny(VARIANT* list) override { return pass(CALL(IISIPSecurity, get_DomainDeny), list); }
    HRESULT put_DomainDeny(const VARIANT& list) override {
        return pass(CALL(IISIPSecurity, put_DomainDeny), list);
    }
};

/// Replaces the object in a property's value by a front, if it offers Interface.
template <class MadeFront, class Interface> void replaceValueByFront(VARIANT& value) {
    ComPtr<Interface> known;
    if (value.vt != VT_DISPATCH || query(*value.pdispVal, known) < 0) return;
    const auto inner = ComPtr<IDispatch>::adopt(value.pdispVal);
    value.pdispVal = ComPtr<IDispatch>(makeObject<MadeFront>(*inner).get()).detach();
}

class ObjectFront;

class EnumeratorFront final : public ComObject<IEnumVARIANT> {
public:
    explicit EnumeratorFront(IUnknown& inner) { (void)query(inner, inner_); }
    HRESULT Next(ULONG count, VARIANT* elements, ULONG* fetched) override {
        *fetched = 0;
        if (emptyAnswers_++ < plan.emptyAnswers) return S_OK;
        emptyAnswers_ = 0;
        if (!started_) fetch(count);
        if (!started_ && number_ == plan.withoutFirstChild) fetch(count);
        started_ = true;
        const HRESULT status = next_.status;
        *elements = next_.element.detach();
        *fetched = next_.fetched;
        if (status == S_OK) fetch(count);
        return plan.lastWithEnd && next_.fetched == 0 ? S_FALSE : status;
    }

private:
    struct Answer {
        HRESULT status = S_OK;
        Variant element;
        ULONG fetched = 0;
    };
    void fetch(ULONG count);

    ComPtr<IEnumVARIANT> inner_;
    /// What the next call will return.
    Answer next_;
    bool started_ = false;
    int emptyAnswers_ = 0;
    int number_ = ++enumerations;
};

class ObjectFront final : public Front<IADs, IADsContainer, IADsDeleteOps, IISBaseObject> {
public:
    using Front::Front;
    HRESULT GetIDsOfNames(const IID& reserved, const OLECHAR* const* names, UINT count, LCID locale,
                          DISPID* ids) override {
        return pass(CALL(IDispatch, GetIDsOfNames), reserved, names, count, locale, ids);
    }
    HRESULT get_Name(BSTR* out) override { return pass(CALL(IADs, get_Name), out); }
    HRESULT get_Class(BSTR* out) override { return pass(CALL(IADs, get_Class), out); }
    HRESULT get_ADsPath(BSTR* out) override { return pass(CALL(IADs, get_ADsPath), out); }
    HRESULT get_Parent(BSTR* out) override { return pass(CALL(IADs, get_Parent), out); }
    HRESULT get_Schema(BSTR* out) override { return pass(CALL(IADs, get_Schema), out); }
    HRESULT SetInfo() override { return pass(CALL(IADs, SetInfo)); }
    HRESULT Get(BSTR name, VARIANT* value) override {
        return intercept("IADs::Get", [&] { return changed(name, value, inner<IADs>()->Get(name, value)); });
    }
    HRESULT Put(BSTR name, const VARIANT& value) override { return pass(CALL(IADs, Put), name, value); }
    HRESULT GetEx(BSTR name, VARIANT* value) override {
        return intercept("IADs::GetEx",
                         [&] { return changed(name, value, inner<IADs>()->GetEx(name, value)); });
    }
    HRESULT get__NewEnum(IUnknown** out) override {
        const HRESULT status = inner<IADsContainer>()->get__NewEnum(out);
        replaceByFront<EnumeratorFront>(out);
        return status;
    }
    HRESULT Create(BSTR className, BSTR name, IDispatch** out) override {
        return intercept("IADsContainer::Create", [&] {
            const HRESULT status = inner<IADsContainer>()->Create(className, name, out);
            replace(out);
            return status;
        });
    }
    HRESULT Delete(BSTR className, BSTR name) override {
        return pass(CALL(IADsContainer, Delete), className, name);
    }
    HRESULT DeleteObject(LONG flags) override { return pass(CALL(IADsDeleteOps, DeleteObject), flags); }
    HRESULT GetPropertyAttribObj(BSTR name, IDispatch** out) override {
        return this->template passFronted<AttributeFront>(CALL(IISBaseObject, GetPropertyAttribObj), out,
                                                          name);
    }

    /// Replaces an object of the tree by a front.
    static void replace(IDispatch** object) {
        if (*object == nullptr) return;
        const auto inner = ComPtr<IDispatch>::adopt(*object);
        const ComPtr<IADs> front(makeObject<ObjectFront>(*inner).get());
        *object = ComPtr<IDispatch>(front.get()).detach();
    }

private:
    static HRESULT changed(BSTR name, VARIANT* value, HRESULT status) {
        if (status < 0) return status;
        replaceValueByFront<IpSecurityFront, IISIPSecurity>(*value);
        if ((value->vt & VT_ARRAY) != 0) {
            auto* elements = static_cast<VARIANT*>(value->parray->pvData);
            for (ULONG i = 0; i < value->parray->rgsabound[0].cElements; ++i) {
                replaceValueByFront<MimeTypeFront, IISMimeType>(elements[i]);
            }
        }
        if (plan.onRead) plan.onRead(std::u16string(view(name)), *value);
        return status;
    }
};

void EnumeratorFront::fetch(ULONG count) {
    next_.status = inner_->Next(count, next_.element.out(), &next_.fetched);
    if (next_.fetched == 1) ObjectFront::replace(&next_.element.get().pdispVal);
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

private:
    ComPtr<IADsProvider> inner_ = metabase::iisProvider();
};

/// Puts a front in front of a registered class object; the destructor registers the real one again.
class FrontedClass {
public:
    template <class MakeFront> FrontedClass(const CLSID& classId, MakeFront makeFront) : classId_(classId) {
        void* found = nullptr;
        (void)CoInitializeEx(nullptr, 0);
        if (CoGetClassObject(classId, CLSCTX_ALL, nullptr, IClassFactory::iid, &found) < 0) std::abort();
        CoUninitialize();
        real_ = ComPtr<IClassFactory>::adopt(static_cast<IClassFactory*>(found));
        registerClass(classId, *makeFront(real_));
    }
    FrontedClass(const FrontedClass&) = delete;
    FrontedClass& operator=(const FrontedClass&) = delete;
    ~FrontedClass() { registerClass(classId_, *real_); }

private:
    CLSID classId_;
    ComPtr<IClassFactory> real_;
};

ComPtr<IClassFactory> frontOfMimeTypes(ComPtr<IClassFactory> real) {
    using Factory = FrontFactory<MimeTypeFront, IISMimeType>;
    return ComPtr<IClassFactory>(makeObject<Factory>(std::move(real), "IClassFactory::CreateInstance").get());
}

} // namespace

const FaultPlan& faultPlan() { return plan; }

bool countCall(std::string_view name) {
    const std::string_view before = std::exchange(lastCall, name);
    if (plan.call != "*" && plan.call != name) return false;
    callLog.counted.push_back(name);
    const auto number = static_cast<int>(callLog.counted.size());
    if (number == plan.number) {
        callLog.failed = name;
        callLog.before = before;
    }
    return plan.number != 0 && (number == plan.number || (plan.lasting && number > plan.number));
}

struct FaultInjection::Fronts {
    FrontedClass documents{CLSID_DOMDocument, frontOfDocuments};
    FrontedClass mimeTypes{CLSID_MimeMap, frontOfMimeTypes};
};

FaultInjection::FaultInjection(const FaultPlan& wanted) {
    preparePlatform();
    fronts_ = std::make_unique<Fronts>();
    registerProvider(u"IIS:", *makeObject<ProviderFront>());
    plan = wanted;
    callLog = {};
    lastCall = {};
    enumerations = 0;
    isProgramCalling = true;
}

FaultInjection::~FaultInjection() {
    isProgramCalling = false;
    registerProvider(u"IIS:", *metabase::iisProvider());
    plan = {};
}

const CallLog& FaultInjection::log() const { return callLog; }
