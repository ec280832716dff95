#pragma once

#include <type_traits>

#include <TarselIO/ILockable.h>
#include <TarselPointer/IRefCountable.h>

// Every concrete class counts and locks through its own members. Its header declares the operations and shows the
// members in their order. These macros write the bodies, so that each exists once. They receive the member's name, so
// that a search for it finds its use.

#define TARSEL_IMPLEMENT_REFCOUNT(Class, counter)      \
    int Class::AddRef() const                          \
    {                                                  \
        return (counter).AddRefImpl();                 \
    }                                                  \
    int Class::GetRefCount() const                     \
    {                                                  \
        return (counter).GetRefCountImpl();            \
    }                                                  \
    int Class::Release() const                         \
    {                                                  \
        const int remaining = (counter).ReleaseImpl(); \
        if (remaining == 0)                            \
        {                                              \
            delete this;                               \
        }                                              \
        return remaining;                              \
    }                                                  \
    static_assert(std::is_base_of_v<Tarsel::IRefCountable, Class>)

#define TARSEL_IMPLEMENT_LOCK(Class, lock) \
    void Class::Lock()                     \
    {                                      \
        (lock).Lock_Impl();                \
    }                                      \
    bool Class::TryLock()                  \
    {                                      \
        return (lock).TryLock_Impl();      \
    }                                      \
    void Class::Unlock()                   \
    {                                      \
        (lock).Unlock_Impl();              \
    }                                      \
    static_assert(std::is_base_of_v<Tarsel::ILockable, Class>)
