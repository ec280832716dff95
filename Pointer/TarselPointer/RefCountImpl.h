#pragma once

#include <atomic>

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

namespace Tarsel
{

/// The counter behind AddRef, GetRefCount and Release: a member of every reference-counted class, 0 when it is made.
/// Exact when several threads use it at once. While the process has a single thread, which the C library knows (glibc
/// 2.32 or later), it spares itself the atomic instructions.
class RefCountImpl
{
public:
    RefCountImpl() noexcept = default;
    RefCountImpl(const RefCountImpl&) = delete;
    RefCountImpl& operator=(const RefCountImpl&) = delete;
    ~RefCountImpl() = default;

    /// Adds one reference and returns the new count.
    int AddRefImpl() const noexcept
    {
        // Whoever adds a reference already holds one, so nothing needs ordering here.
        return Change(1, std::memory_order_relaxed);
    }

    /// Removes one reference and returns how many remain. The caller that gets 0 destroys the object and, since the
    /// decrement orders memory, sees everything that the other holders did to it.
    int ReleaseImpl() const noexcept { return Change(-1, std::memory_order_acq_rel); }

    /// Returns the count at this moment.
    int GetRefCountImpl() const noexcept { return m_count.load(std::memory_order_relaxed); }

private:
    static bool IsOnlyThread() noexcept
    {
#if __has_include(<sys/single_threaded.h>)
        return __libc_single_threaded != 0;
#else
        return false;
#endif
    }

    int Change(int by, std::memory_order order) const noexcept
    {
        if (IsOnlyThread())
        {
            const int count = m_count.load(std::memory_order_relaxed) + by;
            m_count.store(count, std::memory_order_relaxed);
            return count;
        }
        return m_count.fetch_add(by, order) + by;
    }

    mutable std::atomic<int> m_count{0};
};

}  // namespace Tarsel
