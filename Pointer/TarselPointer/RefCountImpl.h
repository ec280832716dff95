#pragma once

#include <atomic>

namespace Tarsel
{

/// Counts references for AddRef, GetRefCount and Release. Every reference-counted class has one as a member. The count
/// starts at 0.
///
/// The count stays exact when several threads use it at once.
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
        // The caller already holds a reference, so nothing needs ordering here.
        return m_count.fetch_add(1, std::memory_order_relaxed) + 1;
    }

    /// Removes one reference and returns how many remain. The caller that gets 0 destroys the object. The decrement
    /// orders memory, so this caller sees everything that the other holders did to the object.
    int ReleaseImpl() const noexcept { return m_count.fetch_sub(1, std::memory_order_acq_rel) - 1; }

    /// Returns the count at this moment.
    int GetRefCountImpl() const noexcept { return m_count.load(std::memory_order_relaxed); }

private:
    mutable std::atomic<int> m_count{0};
};

}  // namespace Tarsel
