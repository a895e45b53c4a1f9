// Fronts of the objects of the provider and of the document service, and the injection itself; see faults.h.

#include "tests/support/fronts.h"

#include "automation/safearray.h"
#include "directory/iis.h"
#include "document/msxml.h"

#include <algorithm>
#include <concepts>
#include <deque>
#include <stdexcept>

bool isProgramCalling = false;

namespace {

bool isInjected = false;
FaultPlan plan;
CallLog callLog;
std::string_view lastCall;
int enumerations = 0;

/// The names of queries in plans and logs.
using QueryName = std::pair<IID, const char*>;
const QueryName queryNames[] = {{IADs::iid, "query IADs"},
                                {IDispatch::iid, "query IDispatch"},
                                {IADsContainer::iid, "query IADsContainer"},
                                {IADsDeleteOps::iid, "query IADsDeleteOps"},
                                {IISBaseObject::iid, "query IISBaseObject"},
                                {IISPropertyAttribute::iid, "query IISPropertyAttribute"},
                                {IISIPSecurity::iid, "query IISIPSecurity"},
                                {IISMimeType::iid, "query IISMimeType"},
                                {IXMLDOMElement::iid, "query IXMLDOMElement"}};

// Replace what a call handed out by a front of it, if it is an object or has objects.
template <class Other> void replaceByFront(Other) {}
template <std::derived_from<IDispatch> T> void replaceByFront(T** object);
void replaceByFront(IUnknown** enumerator);
void replaceByFront(VARIANT* value);

/// Defines a method of a front.
#define PASS(Interface, method, parameters, ...)                                                             \
    HRESULT method parameters override {                                                                     \
        return pass(#Interface "::" #method, &Interface::method __VA_OPT__(, ) __VA_ARGS__);                 \
    }

/// The front of every object of the provider and of the document service, but for enumerators. Offers the
/// interfaces that its inner object offers, and passes every call on to it.
class Front final : public ComObject<IClassFactory, IADsClass, IADsContainer, IADsDeleteOps, IISBaseObject,
                                     IISPropertyAttribute, IISMimeType, IISIPSecurity, IXMLDOMElement,
                                     IXMLDOMDocument, IXMLDOMNodeList, IXMLDOMNamedNodeMap> {
public:
    explicit Front(IUnknown& inner) : inner_(&inner) {}

    HRESULT QueryInterface(const IID& wanted, void** out) override {
        *out = nullptr;
        const auto* known = std::ranges::find(queryNames, wanted, &QueryName::first);
        return intercept(known == std::end(queryNames) ? "query" : known->second, [&] {
            void* found = nullptr;
            if (HRESULT status = inner_->QueryInterface(wanted, &found); status < 0) return status;
            static_cast<IUnknown*>(found)->Release();
            // The interfaces that others extend.
            const IID& offered = wanted == IADs::iid          ? IADsClass::iid
                                 : wanted == IXMLDOMNode::iid ? IXMLDOMElement::iid
                                                              : wanted;
            return ComObject::QueryInterface(offered, out);
        });
    }
    PASS(IDispatch, GetIDsOfNames,
         (const IID& reserved, const OLECHAR* const* names, UINT count, LCID locale, DISPID* ids), reserved,
         names, count, locale, ids)

    PASS(IADs, get_Name, (BSTR * out), out)
    PASS(IADs, get_Class, (BSTR * out), out)
    PASS(IADs, get_ADsPath, (BSTR * out), out)
    PASS(IADs, get_Parent, (BSTR * out), out)
    PASS(IADs, get_Schema, (BSTR * out), out)
    PASS(IADs, SetInfo, ())
    PASS(IADs, Get, (BSTR name, VARIANT* out), name, out)
    PASS(IADs, Put, (BSTR name, const VARIANT& value), name, value)
    HRESULT GetEx(BSTR name, VARIANT* out) override {
        const HRESULT status = pass("IADs::GetEx", &IADs::GetEx, name, out);
        if (status >= 0 && plan.onRead) plan.onRead(std::u16string(view(name)), *out);
        return status;
    }
    HRESULT CreateInstance(IUnknown* outer, const IID& wanted, void** out) override {
        return fronted(
            pass("IClassFactory::CreateInstance", &IClassFactory::CreateInstance, outer, wanted, out), wanted,
            out);
    }
    PASS(IADsClass, get_MandatoryProperties, (VARIANT * names), names)
    PASS(IADsClass, get_OptionalProperties, (VARIANT * names), names)
    PASS(IADsContainer, get__NewEnum, (IUnknown * *out), out)
    PASS(IADsContainer, Create, (BSTR className, BSTR name, IDispatch** out), className, name, out)
    PASS(IADsContainer, Delete, (BSTR className, BSTR name), className, name)
    PASS(IADsDeleteOps, DeleteObject, (LONG flags), flags)
    PASS(IISBaseObject, GetPropertyAttribObj, (BSTR name, IDispatch** out), name, out)
    PASS(IISPropertyAttribute, get_Isinherited, (VARIANT_BOOL * out), out)
    PASS(IISMimeType, get_MimeType, (BSTR * out), out)
    PASS(IISMimeType, put_MimeType, (BSTR text), text)
    PASS(IISMimeType, get_Extension, (BSTR * out), out)
    PASS(IISMimeType, put_Extension, (BSTR text), text)
    PASS(IISIPSecurity, get_GrantByDefault, (VARIANT_BOOL * out), out)
    PASS(IISIPSecurity, put_GrantByDefault, (VARIANT_BOOL grant), grant)
    PASS(IISIPSecurity, get_IPGrant, (VARIANT * out), out)
    PASS(IISIPSecurity, put_IPGrant, (const VARIANT& list), list)
    PASS(IISIPSecurity, get_IPDeny, (VARIANT * out), out)
    PASS(IISIPSecurity, put_IPDeny, (const VARIANT& list), list)
    PASS(IISIPSecurity, get_DomainGrant, (VARIANT * out), out)
    PASS(IISIPSecurity, put_DomainGrant, (const VARIANT& list), list)
    PASS(IISIPSecurity, get_DomainDeny, (VARIANT * out), out)
    PASS(IISIPSecurity, put_DomainDeny, (const VARIANT& list), list)

    PASS(IXMLDOMNode, get_nodeName, (BSTR * out), out)
    PASS(IXMLDOMNode, get_nodeValue, (VARIANT * out), out)
    PASS(IXMLDOMNode, get_text, (BSTR * out), out)
    PASS(IXMLDOMNode, get_firstChild, (IXMLDOMNode * *out), out)
    PASS(IXMLDOMNode, hasChildNodes, (VARIANT_BOOL * out), out)
    PASS(IXMLDOMNode, get_childNodes, (IXMLDOMNodeList * *out), out)
    PASS(IXMLDOMNode, get_attributes, (IXMLDOMNamedNodeMap * *out), out)
    PASS(IXMLDOMNode, selectNodes, (BSTR query, IXMLDOMNodeList** out), query, out)
    PASS(IXMLDOMNode, selectSingleNode, (BSTR query, IXMLDOMNode** out), query, out)
    PASS(IXMLDOMElement, getAttribute, (BSTR name, VARIANT* out), name, out)
    PASS(IXMLDOMDocument, put_async, (VARIANT_BOOL async), async)
    PASS(IXMLDOMDocument, loadXML, (BSTR text, VARIANT_BOOL* success), text, success)
    PASS(IXMLDOMDocument, get_documentElement, (IXMLDOMElement * *out), out)
    PASS(IXMLDOMNodeList, nextNode, (IXMLDOMNode * *out), out)
    PASS(IXMLDOMNamedNodeMap, get_item, (LONG index, IXMLDOMNode** out), index, out)
    // A method of lists and one of maps.
    HRESULT get_length(LONG* length) override {
        ComPtr<IXMLDOMNodeList> list;
        return query(*inner_, list) >= 0
                   ? pass("IXMLDOMNodeList::get_length", &IXMLDOMNodeList::get_length, length)
                   : pass("IXMLDOMNamedNodeMap::get_length", &IXMLDOMNamedNodeMap::get_length, length);
    }

private:
    template <class T, class... Parameters, class... Arguments>
    HRESULT pass(const char* name, HRESULT (T::*method)(Parameters...), Arguments... arguments) {
        return intercept(name, [&] {
            ComPtr<T> inner;
            (void)query(*inner_, inner);
            const HRESULT status = (inner.get()->*method)(arguments...);
            (replaceByFront(arguments), ...);
            return status;
        });
    }

    ComPtr<IUnknown> inner_;
};

/// Enumerates the children that the inner enumerator has at the beginning.
class EnumeratorFront final : public ComObject<IEnumVARIANT> {
public:
    explicit EnumeratorFront(IEnumVARIANT& inner) {
        for (;;) {
            Variant child;
            ULONG fetched = 0;
            if (inner.Next(1, child.out(), &fetched) != S_OK) break;
            replaceByFront(&child.get());
            children_.push_back(std::move(child));
        }
        if (++enumerations != plan.withoutFirstChild) return;
        if (children_.empty()) throw std::logic_error("an enumeration without children can't lack the first");
        children_.pop_front();
    }
    HRESULT Next(ULONG, VARIANT* element, ULONG* fetched) override {
        *fetched = 0;
        if (emptyAnswers_++ < plan.emptyAnswers) return S_OK;
        emptyAnswers_ = 0;
        if (children_.empty()) return S_FALSE;
        *fetched = 1;
        *element = children_.front().detach();
        children_.pop_front();
        return plan.lastWithEnd && children_.empty() ? S_FALSE : S_OK;
    }

private:
    std::deque<Variant> children_;
    int emptyAnswers_ = 0;
};

template <std::derived_from<IDispatch> T> void replaceByFront(T** object) {
    if (*object == nullptr) return;
    const auto inner = ComPtr<T>::adopt(*object);
    void* made = nullptr;
    (void)makeObject<Front>(*inner)->QueryInterface(T::iid, &made);
    *object = static_cast<T*>(made);
}

void replaceByFront(IUnknown** enumerator) {
    ComPtr<IEnumVARIANT> inner;
    if (*enumerator == nullptr || query(**enumerator, inner) < 0) return;
    (*enumerator)->Release();
    *enumerator = makeObject<EnumeratorFront>(*inner).detach();
}

void replaceByFront(VARIANT* value) {
    if (value->vt == VT_DISPATCH) replaceByFront(&value->pdispVal);
    if (value->vt != (VT_ARRAY | VT_VARIANT)) return;
    auto* elements = static_cast<VARIANT*>(value->parray->pvData);
    for (ULONG i = 0; i < value->parray->rgsabound[0].cElements; ++i) replaceByFront(elements + i);
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

HRESULT fronted(HRESULT status, const IID& wanted, void** object) {
    if (!isInjected || *object == nullptr) return status;
    const auto inner = ComPtr<IUnknown>::adopt(static_cast<IUnknown*>(*object));
    const bool wasProgramCalling = std::exchange(isProgramCalling, false);
    (void)makeObject<Front>(*inner)->QueryInterface(wanted, object);
    isProgramCalling = wasProgramCalling;
    return status;
}

FaultInjection::FaultInjection(const FaultPlan& wanted) {
    plan = wanted;
    callLog = {};
    lastCall = {};
    enumerations = 0;
    isInjected = isProgramCalling = true;
}

FaultInjection::~FaultInjection() {
    isInjected = isProgramCalling = false;
    plan = {};
}

const CallLog& FaultInjection::log() const { return callLog; }
