#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace du {

// Intrusive counting pointer over RefCounted. Ordering and equality are by
// pointer value, so ordered sets of SmartPtr are keyed by object address.
template <class T>
class SmartPtr {
public:
    using element_type = T;

    SmartPtr() noexcept = default;
    SmartPtr(std::nullptr_t) noexcept {}
    SmartPtr(T* object) noexcept : ptr_(object) { Acquire(); }
    SmartPtr(const SmartPtr& other) noexcept : ptr_(other.ptr_) { Acquire(); }
    SmartPtr(SmartPtr&& other) noexcept : ptr_(other.ptr_) { other.ptr_ = nullptr; }
    template <class U, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    SmartPtr(const SmartPtr<U>& other) noexcept : ptr_(other.get()) { Acquire(); }
    template <class U, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    SmartPtr(SmartPtr<U>&& other) noexcept : ptr_(other.release()) {}
    ~SmartPtr() { reset(); }

    SmartPtr& operator=(const SmartPtr& other) { Assign(other.ptr_); return *this; }
    SmartPtr& operator=(SmartPtr&& other) noexcept {
        if (this != &other) {
            T* old = ptr_;
            ptr_ = other.ptr_;
            other.ptr_ = nullptr;
            if (old) old->RemoveReference(this);
        }
        return *this;
    }
    SmartPtr& operator=(T* object) { Assign(object); return *this; }
    SmartPtr& operator=(std::nullptr_t) { reset(); return *this; }

    void reset() {
        T* old = ptr_;
        ptr_ = nullptr;
        if (old) old->RemoveReference(this);
    }
    // Gives up the reference without releasing it; the caller takes it over.
    T* release() noexcept { T* p = ptr_; ptr_ = nullptr; return p; }

    T* get() const noexcept { return ptr_; }
    T* operator->() const noexcept { return ptr_; }
    T& operator*() const noexcept { return *ptr_; }
    explicit operator bool() const noexcept { return ptr_ != nullptr; }
    bool IsNull() const noexcept { return ptr_ == nullptr; }

private:
    void Acquire() noexcept { if (ptr_) ptr_->AddReference(this); }
    void Assign(T* object) {
        if (object) object->AddReference(this);
        T* old = ptr_;
        ptr_ = object;
        if (old) old->RemoveReference(this);
    }

    T* ptr_ = nullptr;
};

template <class T>
using ConstSmartPtr = SmartPtr<const T>;

template <class T, class U>
bool operator==(const SmartPtr<T>& a, const SmartPtr<U>& b) noexcept { return a.get() == b.get(); }
template <class T, class U>
bool operator!=(const SmartPtr<T>& a, const SmartPtr<U>& b) noexcept { return a.get() != b.get(); }
template <class T, class U>
bool operator<(const SmartPtr<T>& a, const SmartPtr<U>& b) noexcept { return a.get() < b.get(); }
template <class T>
bool operator==(const SmartPtr<T>& a, std::nullptr_t) noexcept { return !a; }
template <class T>
bool operator!=(const SmartPtr<T>& a, std::nullptr_t) noexcept { return static_cast<bool>(a); }

// Run-time checked cast; null when the object is not a T.
template <class T, class U>
SmartPtr<T> DynamicCast(const SmartPtr<U>& p) { return SmartPtr<T>(dynamic_cast<T*>(p.get())); }

template <class T, class U>
SmartPtr<T> StaticCast(const SmartPtr<U>& p) { return SmartPtr<T>(static_cast<T*>(p.get())); }

}  // namespace du
