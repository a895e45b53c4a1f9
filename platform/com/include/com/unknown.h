// The component model: interfaces, their identifiers, counted references, and the base of the classes that
// implement interfaces.
//
// References are counted without atomic operations: the whole process works on one thread.
#pragma once

#include "com/memory.h"
#include "com/status.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    bool operator==(const GUID&) const = default;
};

using IID = GUID;
using CLSID = GUID;
constexpr GUID IID_NULL{};

using OLECHAR = char16_t;
using DISPID = LONG;
constexpr LCID LOCALE_SYSTEM_DEFAULT = 0x800;
constexpr LCID LOCALE_USER_DEFAULT = 0x400;

/// The base of all interfaces. Every interface has its identifier as `iid`. A reference that a call returns
/// through a parameter is counted: the caller releases it (see ComPtr). A call that fails sets it to null.
struct IUnknown {
    static constexpr IID iid{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

    /// Returns this object as the interface `wanted`: S_OK, or E_NOINTERFACE if the object lacks it.
    virtual HRESULT QueryInterface(const IID& wanted, void** out) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

protected:
    ~IUnknown() = default;
};

struct IDispatch : IUnknown {
    static constexpr IID iid{0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

    /// Returns the dispatch identifiers of `count` names. DISP_E_UNKNOWNNAME if the object lacks one of them.
    virtual HRESULT GetIDsOfNames(const IID& reserved, const OLECHAR* const* names, UINT count, LCID locale,
                                  DISPID* ids) = 0;

protected:
    ~IDispatch() = default;
};

struct IClassFactory : IUnknown {
    static constexpr IID iid{0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

    /// Returns a new object of the class. `outer` must be null, else CLASS_E_NOAGGREGATION.
    virtual HRESULT CreateInstance(IUnknown* outer, const IID& wanted, void** out) = 0;

protected:
    ~IClassFactory() = default;
};

/// Owns one counted reference, or none.
template <class T> class ComPtr {
public:
    ComPtr() = default;
    /// Adds a reference of its own to `object`, which may be null.
    explicit ComPtr(T* object) : object_(object) {
        if (object_ != nullptr) object_->AddRef();
    }
    ComPtr(const ComPtr& other) : ComPtr(other.object_) {}
    ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    /// From an owner of a derived interface or class.
    template <class Derived>
    requires(!std::same_as<Derived, T> && std::convertible_to<Derived*, T*>) ComPtr(ComPtr<Derived> other)
        : object_(other.detach()) {}
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ComPtr() { reset(); }

    /// An owner of a reference that is counted already. `object` may be null.
    static ComPtr adopt(T* object) {
        ComPtr owner;
        owner.object_ = object;
        return owner;
    }

    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }

    void reset() {
        if (T* old = std::exchange(object_, nullptr); old != nullptr) old->Release();
    }
    /// Returns the reference, which the caller now owns, and keeps none.
    T* detach() { return std::exchange(object_, nullptr); }
    /// Releases the reference, and returns the address where a call puts another one.
    T** out() {
        reset();
        return &object_;
    }

private:
    T* object_ = nullptr;
};

/// Makes `call(&object)`, which returns an object as the interface T, and puts its reference into `out`.
/// Returns the status of the call; E_UNEXPECTED for a success without a reference.
template <class T, class Call> HRESULT receive(ComPtr<T>& out, Call call) {
    void* object = nullptr;
    const HRESULT status = call(&object);
    out = ComPtr<T>::adopt(static_cast<T*>(object));
    return status >= 0 && object == nullptr ? E_UNEXPECTED : status;
}

/// Queries `object` for the interface T. Statuses as of QueryInterface and of receive.
template <class T> HRESULT query(IUnknown& object, ComPtr<T>& out) {
    return receive(out, [&object](void** found) { return object.QueryInterface(T::iid, found); });
}

/// Implements IUnknown for an object that offers the given interfaces. A query for IUnknown or IDispatch
/// returns the base of the first one that has it. A new object has one reference, which makeObject returns.
template <class... Interfaces> class ComObject : public Interfaces... {
public:
    ComObject() = default;
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    static void* operator new(std::size_t size) { return memory::allocate(size); }
    static void operator delete(void* object, std::size_t size) { memory::free(object, size); }

    HRESULT QueryInterface(const IID& wanted, void** out) override {
        *out = nullptr;
        const bool found = offers(wanted) && (((*out = as<Interfaces>(wanted)) || ...) ||
                                              ((*out = asBase<Interfaces>(wanted)) || ...));
        if (!found) {
            setStatusDetail(E_NOINTERFACE, {});
            return E_NOINTERFACE;
        }
        ++references_;
        return S_OK;
    }
    ULONG AddRef() override { return ++references_; }
    ULONG Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

protected:
    virtual ~ComObject() = default;
    /// Whether this object offers the interface, which is one of its own.
    virtual bool offers(const IID&) const { return true; }

private:
    /// This object as Interface; null if another one is wanted.
    template <class Interface> void* as(const IID& wanted) {
        return wanted == Interface::iid ? static_cast<Interface*>(this) : nullptr;
    }
    /// The same for the bases of Interface: IDispatch and IUnknown.
    template <class Interface> void* asBase(const IID& wanted) {
        auto* self = static_cast<Interface*>(this);
        if constexpr (std::is_base_of_v<IDispatch, Interface>) {
            if (wanted == IDispatch::iid) return static_cast<IDispatch*>(self);
        }
        return wanted == IUnknown::iid ? static_cast<IUnknown*>(self) : nullptr;
    }

    ULONG references_ = 1;
};

/// ComObject for interfaces derived from IDispatch, of an object that has no names to dispatch.
template <class... Interfaces> class NamelessObject : public ComObject<Interfaces...> {
public:
    HRESULT GetIDsOfNames(const IID&, const OLECHAR* const*, UINT, LCID, DISPID*) override {
        return DISP_E_UNKNOWNNAME;
    }
};

/// Allocates an object and returns its first reference.
template <class Object, class... Args> ComPtr<Object> makeObject(Args&&... args) {
    return ComPtr<Object>::adopt(new Object(std::forward<Args>(args)...));
}
