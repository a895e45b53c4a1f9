// What the fronts share: the faults, and an object that stands before another one.
#pragma once

#include "document/msxml.h"
#include "metabase/valueObjects.h"
#include "tests/faults.h"

#include <algorithm>
#include <string_view>

/// Puts the faults in front of the document service.
void frontDocuments();

extern Faults plan;

/// Whether a call is made by the platform itself, on the way of a call of the program.
extern bool within;

/// Counts a call of the program, and says whether it fails.
bool isFault(std::string_view call);

/// Makes a call, unless it is the one that fails.
template <class Call> auto guard(std::string_view name, Call call, decltype(call()) failure) {
    if (within) return call();
    const bool fails = isFault(name);
    if (fails && !plan.made) return failure;
    within = true;
    auto result = call();
    within = false;
    return fails && result == decltype(result){} ? failure : result;
}
template <class Call> HRESULT guard(std::string_view name, Call call) {
    return guard(name, call, plan.status);
}

struct Named {
    IID iid;
    const char* query;
};
inline const Named interfaces[] = {{IADs::iid, "query IADs"},
                                   {IDispatch::iid, "query IDispatch"},
                                   {IADsContainer::iid, "query IADsContainer"},
                                   {IADsDeleteOps::iid, "query IADsDeleteOps"},
                                   {IISBaseObject::iid, "query IISBaseObject"},
                                   {IISPropertyAttribute::iid, "query IISPropertyAttribute"},
                                   {IISIPSecurity::iid, "query IISIPSecurity"},
                                   {IISMimeType::iid, "query IISMimeType"},
                                   {IXMLDOMElement::iid, "query IXMLDOMElement"}};

/// Puts a front before the object that a call gave.
template <class Made, class T> void replaceBy(T** object) {
    if (*object == nullptr) return;
    const auto inner = ComPtr<T>::adopt(*object);
    *object = makeObject<Made>(*inner).detach();
}

/// A method of a front that passes its call on.
#define PASS(Interface, method, parameters, ...)                                                             \
    HRESULT method parameters override {                                                                     \
        return this->pass(#Interface "::" #method, &Interface::method __VA_OPT__(, ) __VA_ARGS__);           \
    }

/// The same for a call that gives an object, which gets a front of its own.
#define PASS_FRONTED(Interface, method, Made, parameters, given, ...)                                        \
    HRESULT method parameters override {                                                                     \
        return guard(#Interface "::" #method, [&] {                                                          \
            const HRESULT status =                                                                           \
                this->template inner<Interface>()->method(__VA_ARGS__ __VA_OPT__(, ) given);                 \
            replaceBy<Made>(given);                                                                          \
            return status;                                                                                   \
        });                                                                                                  \
    }

/// An object in front of another one, whose queries can fail.
template <class... Interfaces> class Front : public NamelessObject<Interfaces...> {
public:
    explicit Front(IUnknown& inner) : inner_(&inner) {}

    HRESULT QueryInterface(const IID& wanted, void** out) override {
        *out = nullptr;
        const auto* known = std::ranges::find(interfaces, wanted, &Named::iid);
        return guard(known == std::end(interfaces) ? "query" : known->query, [&] {
            void* found = nullptr;
            if (HRESULT status = inner_->QueryInterface(wanted, &found); status < 0) return status;
            static_cast<IUnknown*>(found)->Release();
            return NamelessObject<Interfaces...>::QueryInterface(wanted, out);
        });
    }

protected:
    /// Makes the call on the object behind, unless it is the one that fails.
    template <class T, class... Parameters, class... Arguments>
    HRESULT pass(const char* name, HRESULT (T::*call)(Parameters...), Arguments&&... arguments) {
        return guard(name, [&] { return (inner<T>().get()->*call)(arguments...); });
    }
    template <class T> ComPtr<T> inner() const {
        ComPtr<T> typed;
        query(*inner_, typed);
        return typed;
    }

private:
    ComPtr<IUnknown> inner_;
};
