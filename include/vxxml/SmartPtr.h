// An intrusive counted pointer over AddRef/Release.
#pragma once

#include <type_traits>
#include <utility>

namespace VxXmlLib16 {

// Holds one reference to an object that counts its own references (every
// bound object: AddRef returns the new count, Release destroys the object at
// zero). Taking a raw pointer adds a reference, so a freshly created object,
// whose count is 0, is owned by the first CSmartPtr it is given to:
//
//     CSmartPtr<CMyClass> p(new CMyClass); // count 1
//     CSmartPtr<CMyClass> q = p;           // count 2
//
// Null may be written as nullptr, NULL or 0 (the T* overloads take all three).
// The pointer converts implicitly to T*, so it can be handed to every
// library call that takes a raw object pointer; such calls never take over
// the caller's reference. Attach and Detach move a reference in or out
// without counting, for code that already holds one.
template <class T> class CSmartPtr
{
public:
    using element_type = T;

    CSmartPtr() noexcept = default;
    CSmartPtr(T* p) noexcept : m_p(p) { AddRefIfSet(); }
    CSmartPtr(const CSmartPtr& other) noexcept : m_p(other.m_p) { AddRefIfSet(); }
    CSmartPtr(CSmartPtr&& other) noexcept : m_p(std::exchange(other.m_p, nullptr)) {}

    // From a pointer to a derived class.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    CSmartPtr(const CSmartPtr<U>& other) noexcept : m_p(other.Get())
    {
        AddRefIfSet();
    }
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    CSmartPtr(CSmartPtr<U>&& other) noexcept : m_p(other.Detach())
    {
    }

    ~CSmartPtr() { ReleaseIfSet(); }

    // Every assignment takes the new reference before dropping the old one,
    // so assigning a pointer to itself (or to an object that only the old
    // reference kept alive) is safe.
    CSmartPtr& operator=(const CSmartPtr& other) noexcept
    {
        CSmartPtr(other).Swap(*this);
        return *this;
    }
    CSmartPtr& operator=(CSmartPtr&& other) noexcept
    {
        CSmartPtr(std::move(other)).Swap(*this);
        return *this;
    }
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    CSmartPtr& operator=(const CSmartPtr<U>& other) noexcept
    {
        CSmartPtr(other).Swap(*this);
        return *this;
    }
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    CSmartPtr& operator=(CSmartPtr<U>&& other) noexcept
    {
        CSmartPtr(std::move(other)).Swap(*this);
        return *this;
    }
    CSmartPtr& operator=(T* p) noexcept
    {
        CSmartPtr(p).Swap(*this);
        return *this;
    }

    T* Get() const noexcept { return m_p; }
    operator T*() const noexcept { return m_p; }
    T* operator->() const noexcept { return m_p; }
    T& operator*() const noexcept { return *m_p; }

    // Drops the reference (if any) and becomes null.
    void Reset() noexcept { CSmartPtr().Swap(*this); }
    // Takes over a reference the caller already owns, without AddRef.
    void Attach(T* p) noexcept
    {
        CSmartPtr old;
        old.m_p = std::exchange(m_p, p);
    }
    // Gives up the reference without Release and returns the pointer; the
    // caller now owns that reference.
    [[nodiscard]] T* Detach() noexcept { return std::exchange(m_p, nullptr); }

    void Swap(CSmartPtr& other) noexcept { std::swap(m_p, other.m_p); }

private:
    void AddRefIfSet() const noexcept
    {
        if (m_p) {
            m_p->AddRef();
        }
    }
    void ReleaseIfSet() const noexcept
    {
        if (m_p) {
            m_p->Release();
        }
    }

    T* m_p = nullptr;
};

} // namespace VxXmlLib16
