#pragma once

#include <TarselExport/Export.h>
#include <TarselIO/ILockable.h>

namespace Tarsel
{

/// Holds a lock for the length of a scope:
///
/// ```cpp
/// AutoLock guard(stream.get());
/// stream->SetPosition(offset);
/// stream->Read(buffer, size);
/// ```
class TARSEL_EXPORT AutoLock
{
public:
    /// Locks `lockable`, which must outlive the guard. Null makes a guard that does nothing. What Lock throws passes
    /// through.
    explicit AutoLock(ILockable* lockable);

    /// Unlocks. An exception that Unlock throws here ends the process.
    ~AutoLock() noexcept;

    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    ILockable* m_lockable;
};

}  // namespace Tarsel
