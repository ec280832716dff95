#pragma once

#include <TarselExport/Export.h>

namespace Tarsel
{

/// Something that threads share by turns. The lock is not recursive: a thread does not lock what it already holds.
/// Normally used through AutoLock. The order of the operations is binary interface.
class TARSEL_EXPORT ILockable
{
protected:
    virtual ~ILockable();

public:
    /// Waits until the lock is free and takes it.
    virtual void Lock() = 0;

    /// Takes the lock if it is free, without waiting. Returns whether it did; then the caller owes an Unlock.
    virtual bool TryLock() = 0;

    /// Gives the lock back; only the thread that took it may.
    virtual void Unlock() = 0;
};

}  // namespace Tarsel
