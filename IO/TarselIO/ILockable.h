#pragma once

#include <TarselExport/Export.h>

namespace Tarsel
{

/// Locks an object that several threads share. The lock is not recursive: a thread does not lock what it already holds.
/// It is normally held through AutoLock.
///
/// The order of the operations is part of the binary interface.
class TARSEL_EXPORT ILockable
{
protected:
    virtual ~ILockable();

public:
    /// Takes the lock. Blocks until it is free.
    virtual void Lock() = 0;

    /// Takes the lock if it is free, without waiting. Returns whether it did; if so, the caller must call Unlock.
    virtual bool TryLock() = 0;

    /// Releases the lock. Only the thread that took the lock may release it.
    virtual void Unlock() = 0;
};

}  // namespace Tarsel
