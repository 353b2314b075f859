#pragma once
// Intrusive reference counting: an object carries its own atomic count, so a raw pointer
// can be turned back into an owning one and no control block is ever allocated.
#include <atomic>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace Rix {

class PtrInterface {
  public:
    PtrInterface() = default;
    PtrInterface(const PtrInterface&) noexcept {}
    PtrInterface& operator=(const PtrInterface&) noexcept { return *this; }
    virtual ~PtrInterface() = default;

    long references() const noexcept { return refs_.load(std::memory_order_relaxed); }
    void newRef() const noexcept { refs_.fetch_add(1, std::memory_order_relaxed); }
    // The last reference deletes the object; onZeroReferences() lets a class recycle instead.
    void deleteRef() const noexcept {
        if (refs_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            const_cast<PtrInterface*>(this)->onZeroReferences();
        }
    }

  protected:
    virtual void onZeroReferences() noexcept { delete this; }

  private:
    mutable std::atomic<long> refs_{0};
};

template <class T>
class Ptr {
  public:
    using element_type = T;
    Ptr() noexcept = default;
    Ptr(std::nullptr_t) noexcept {}
    Ptr(T* p) noexcept : p_(p) { if (p_) p_->newRef(); }
    Ptr(const Ptr& o) noexcept : p_(o.p_) { if (p_) p_->newRef(); }
    Ptr(Ptr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
    template <class U>
        requires std::is_convertible_v<U*, T*>
    Ptr(const Ptr<U>& o) noexcept : p_(o.ptr()) {
        if (p_) p_->newRef();
    }
    ~Ptr() { if (p_) p_->deleteRef(); }

    Ptr& operator=(const Ptr& o) noexcept {
        Ptr(o).swap(*this);
        return *this;
    }
    Ptr& operator=(Ptr&& o) noexcept {
        Ptr(std::move(o)).swap(*this);
        return *this;
    }
    Ptr& operator=(T* p) noexcept {
        Ptr(p).swap(*this);
        return *this;
    }
    void swap(Ptr& o) noexcept { std::swap(p_, o.p_); }

    T* ptr() const noexcept { return p_; }
    T* operator->() const noexcept { return p_; }
    T& operator*() const noexcept { return *p_; }
    explicit operator bool() const noexcept { return p_ != nullptr; }
    bool operator!() const noexcept { return p_ == nullptr; }

    template <class U>
    friend bool operator==(const Ptr& a, const Ptr<U>& b) noexcept { return a.ptr() == b.ptr(); }
    friend bool operator==(const Ptr& a, std::nullptr_t) noexcept { return a.p_ == nullptr; }
    friend bool operator==(const Ptr& a, const T* b) noexcept { return a.p_ == b; }

  private:
    T* p_ = nullptr;
};

template <class T, class U>
Ptr<T> ptr_cast(const Ptr<U>& p) noexcept { return Ptr<T>(static_cast<T*>(p.ptr())); }

[[noreturn]] void throwNullValidPtr();

// A pointer that is never null: constructing one from null throws "null ValidPtr".
template <class T>
class ValidPtr {
  public:
    ValidPtr(T* p) : p_(p) { if (!p) throwNullValidPtr(); }
    ValidPtr(const Ptr<T>& p) : p_(p) { if (!p) throwNullValidPtr(); }
    template <class U>
        requires std::is_convertible_v<U*, T*>
    ValidPtr(const Ptr<U>& p) : p_(p) {
        if (!p) throwNullValidPtr();
    }
    T* ptr() const noexcept { return p_.ptr(); }
    T* operator->() const noexcept { return p_.ptr(); }
    T& operator*() const noexcept { return *p_; }
    operator const Ptr<T>&() const noexcept { return p_; }

  private:
    Ptr<T> p_;
};

}  // namespace Rix

template <class T>
struct std::hash<Rix::Ptr<T>> {
    std::size_t operator()(const Rix::Ptr<T>& p) const noexcept { return std::hash<T*>()(p.ptr()); }
};
