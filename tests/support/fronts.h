// What the fronts and the wrappers share; see faults.h.
#pragma once

#include "document/msxml.h"
#include "metabase/valueObjects.h"
#include "tests/support/faults.h"

#include <algorithm>
#include <utility>

/// The plan in force.
const FaultPlan& faultPlan();

/// Whether calls are those of the program: a plan is in force, and no call to the outside is under way.
extern bool isProgramCalling;

/// Counts a call of the program. Returns whether it fails.
bool countCall(std::string_view name);

/// The platform works on a call of the program for as long as this lives: its own calls aren't the program's.
class InsidePlatform {
public:
    InsidePlatform() { isProgramCalling = false; }
    InsidePlatform(const InsidePlatform&) = delete;
    InsidePlatform& operator=(const InsidePlatform&) = delete;
    ~InsidePlatform() { isProgramCalling = true; }
};

/// Makes a call to the outside, unless it is one that fails: then returns `failure`.
template <class Call>
auto intercept(std::string_view name, Call call, decltype(call()) failure) -> decltype(call()) {
    if (!isProgramCalling) return call();
    const bool fails = countCall(name);
    if (fails && !faultPlan().made) return failure;
    const InsidePlatform inside;
    auto result = call();
    return fails && result == decltype(result){} ? failure : result;
}
template <class Call> HRESULT intercept(std::string_view name, Call call) {
    return intercept(name, call, faultPlan().status);
}

/// The names of queries in plans and logs.
struct QueryName {
    IID iid;
    const char* name;
};
inline const QueryName queryNames[] = {{IADs::iid, "query IADs"},
                                       {IDispatch::iid, "query IDispatch"},
                                       {IADsContainer::iid, "query IADsContainer"},
                                       {IADsDeleteOps::iid, "query IADsDeleteOps"},
                                       {IISBaseObject::iid, "query IISBaseObject"},
                                       {IISPropertyAttribute::iid, "query IISPropertyAttribute"},
                                       {IISIPSecurity::iid, "query IISIPSecurity"},
                                       {IISMimeType::iid, "query IISMimeType"},
                                       {IXMLDOMElement::iid, "query IXMLDOMElement"}};

/// Replaces the object that a call handed out by a front of it.
template <class Front, class T> void replaceByFront(T** object) {
    if (*object == nullptr) return;
    const auto inner = ComPtr<T>::adopt(*object);
    *object = makeObject<Front>(*inner).detach();
}

/// The name of a method in plans and logs, and the method.
#define CALL(Interface, method) #Interface "::" #method, &Interface::method

/// A front: offers the interfaces and passes every call on to its inner object.
template <class... Interfaces> class Front : public NamelessObject<Interfaces...> {
public:
    explicit Front(IUnknown& inner) : inner_(&inner) {}

    HRESULT QueryInterface(const IID& wanted, void** out) override {
        *out = nullptr;
        const auto* known = std::ranges::find(queryNames, wanted, &QueryName::iid);
        return intercept(known == std::end(queryNames) ? "query" : known->name, [&] {
            void* found = nullptr;
            if (HRESULT status = inner_->QueryInterface(wanted, &found); status < 0) return status;
            static_cast<IUnknown*>(found)->Release();
            return NamelessObject<Interfaces...>::QueryInterface(wanted, out);
        });
    }

protected:
    /// Passes a call on.
    template <class T, class... Parameters, class... Arguments>
    HRESULT pass(const char* name, HRESULT (T::*method)(Parameters...), Arguments&&... arguments) {
        return intercept(name, [&] { return (inner<T>().get()->*method)(arguments...); });
    }
    /// Passes a call on and replaces the object that it hands out, its last argument, by a front.
    template <class MadeFront, class T, class Out, class... Parameters, class... Arguments>
    HRESULT passFronted(const char* name, HRESULT (T::*method)(Parameters...), Out** out,
                        Arguments&&... arguments) {
        return intercept(name, [&] {
            const HRESULT status = (inner<T>().get()->*method)(arguments..., out);
            replaceByFront<MadeFront>(out);
            return status;
        });
    }
    template <class T> ComPtr<T> inner() const {
        ComPtr<T> typed;
        (void)query(*inner_, typed);
        return typed;
    }

private:
    ComPtr<IUnknown> inner_;
};

/// A class object whose objects get a front of the type MadeFront.
template <class MadeFront, class Interface> class FrontFactory final : public ComObject<IClassFactory> {
public:
    FrontFactory(ComPtr<IClassFactory> inner, const char* name) : inner_(std::move(inner)), name_(name) {}
    HRESULT CreateInstance(IUnknown* outer, const IID& wanted, void** out) override {
        *out = nullptr;
        return intercept(name_, [&] {
            void* made = nullptr;
            if (HRESULT status = inner_->CreateInstance(outer, Interface::iid, &made); status < 0)
                return status;
            const auto object = ComPtr<Interface>::adopt(static_cast<Interface*>(made));
            return makeObject<MadeFront>(*object)->QueryInterface(wanted, out);
        });
    }

private:
    ComPtr<IClassFactory> inner_;
    const char* name_;
};

/// The class object of a front of the document class.
ComPtr<IClassFactory> frontOfDocuments(ComPtr<IClassFactory> inner);

/// Begins the definition of the function that the linker resolves calls of `function` to; its body follows.
/// The function itself is real_NAME there. The test program is linked with --wrap=NAME.
#define WRAP(Result, function, parameters)                                                                   \
    Result real_##function parameters asm("__real_" #function);                                              \
    Result wrapped_##function parameters asm("__wrap_" #function);                                           \
    Result wrapped_##function parameters
