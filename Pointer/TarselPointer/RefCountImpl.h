#pragma once

#include <atomic>

namespace Tarsel
{

/// The counter behind AddRef, GetRefCount and Release: a member of every reference-counted class, 0 when it is made.
/// Exact when several threads use it at once.
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
        return m_count.fetch_add(1, std::memory_order_relaxed) + 1;
    }

    /// Removes one reference and returns how many remain. The caller that gets 0 destroys the object and, since the
    /// decrement orders memory, sees everything that the other holders did to it.
    int ReleaseImpl() const noexcept { return m_count.fetch_sub(1, std::memory_order_acq_rel) - 1; }

    /// Returns the count at this moment.
    int GetRefCountImpl() const noexcept { return m_count.load(std::memory_order_relaxed); }

private:
    mutable std::atomic<int> m_count{0};
};

}  // namespace Tarsel
