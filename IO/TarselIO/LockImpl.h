#pragma once

#include <mutex>

#include <TarselExport/Export.h>

namespace Tarsel
{

/// The non-recursive mutex behind Lock, TryLock and Unlock of the seekable streams, which hold one as a member.
/// What the mutex throws passes through.
class TARSEL_EXPORT LockImpl
{
public:
    LockImpl() noexcept = default;
    LockImpl(const LockImpl&) = delete;
    LockImpl& operator=(const LockImpl&) = delete;
    ~LockImpl() = default;

    /// Waits until the mutex is held.
    void Lock_Impl();

    /// Takes the mutex if it is free, without waiting, and returns whether it did.
    bool TryLock_Impl();

    /// Releases the mutex.
    void Unlock_Impl();

private:
    std::mutex m_mutex;
};

}  // namespace Tarsel
