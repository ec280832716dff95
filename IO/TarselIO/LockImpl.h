#pragma once

#include <mutex>

#include <TarselExport/Export.h>

namespace Tarsel
{

/// Holds the non-recursive mutex that Lock, TryLock and Unlock of the seekable streams use. Each of these streams has
/// one as a member.
///
/// The operations throw what the mutex throws.
class TARSEL_EXPORT LockImpl
{
public:
    LockImpl() noexcept = default;
    LockImpl(const LockImpl&) = delete;
    LockImpl& operator=(const LockImpl&) = delete;
    ~LockImpl() = default;

    /// Takes the mutex. Blocks until it is free.
    void Lock_Impl();

    /// Takes the mutex if it is free, without waiting, and returns whether it did.
    bool TryLock_Impl();

    /// Releases the mutex.
    void Unlock_Impl();

private:
    std::mutex m_mutex;
};

}  // namespace Tarsel
