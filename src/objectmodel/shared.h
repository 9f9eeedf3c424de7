#pragma once

#include "tolvexexport.h"

#include <cstddef>
#include <type_traits>
#include <utility>

namespace Tolvex {

// Base of everything a SharedPtr holds. The count is a plain int: the model
// lives on one thread, and an atomic would tax every argument that is passed.
class TOLVEX_EXPORT Shared
{
public:
    Shared() = default;
    Shared(const Shared &) : m_refCount(0) {}
    Shared &operator=(const Shared &) { return *this; }
    virtual ~Shared() = default;

    int refCount() const { return m_refCount; }

private:
    template <typename T> friend class SharedPtr;
    int m_refCount = 0;
};

// Intrusive pointer. A null SharedPtr is an ordinary "no object" value.
template <typename T> class TOLVEX_EXPORT SharedPtr
{
public:
    SharedPtr() = default;
    SharedPtr(std::nullptr_t) {}
    SharedPtr(T *p) : m_ptr(p) { acquire(); }
    SharedPtr(const SharedPtr &o) : m_ptr(o.m_ptr) { acquire(); }
    SharedPtr(SharedPtr &&o) noexcept : m_ptr(std::exchange(o.m_ptr, nullptr)) {}
    template <typename U, typename = std::enable_if_t<std::is_convertible_v<U *, T *>>>
    SharedPtr(const SharedPtr<U> &o) : m_ptr(o.get())
    {
        acquire();
    }
    ~SharedPtr() { release(); }

    SharedPtr &operator=(const SharedPtr &o)
    {
        // Assigning the object already held leaves its count alone rather
        // than raising and dropping it through a path that may delete.
        if (m_ptr == o.m_ptr)
            return *this;
        SharedPtr copy(o);
        std::swap(m_ptr, copy.m_ptr);
        return *this;
    }
    SharedPtr &operator=(SharedPtr &&o) noexcept
    {
        std::swap(m_ptr, o.m_ptr);
        return *this;
    }

    T *get() const { return m_ptr; }
    T *operator->() const { return m_ptr; }
    T &operator*() const { return *m_ptr; }
    explicit operator bool() const { return m_ptr != nullptr; }
    bool isNull() const { return m_ptr == nullptr; }

    template <typename U> bool operator==(const SharedPtr<U> &o) const { return m_ptr == o.get(); }
    bool operator==(std::nullptr_t) const { return m_ptr == nullptr; }

private:
    void acquire()
    {
        if (m_ptr)
            ++static_cast<Shared *>(m_ptr)->m_refCount;
    }
    // Clears the member before the count falls, so that a destructor that
    // reaches back into this pointer finds it empty.
    void release()
    {
        Shared *p = std::exchange(m_ptr, nullptr);
        if (p && --p->m_refCount == 0)
            destroy(p);
    }
    // The last release deletes out of line. Inlined, the delete lets gcc 12
    // move the next count read of another pointer to the same object into the
    // deleting branch, a path that cannot run, and then report it as a use
    // after free.
    [[gnu::noinline]] static void destroy(Shared *p) { delete p; }

    T *m_ptr = nullptr;
};

} // namespace Tolvex
