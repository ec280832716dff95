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
    /// Locks `lockable`, which must outlive the guard. With null, the guard does nothing.
    ///
    /// Throws what Lock throws.
    explicit AutoLock(ILockable* lockable);

    /// Unlocks. If Unlock throws here, the process ends.
    ~AutoLock() noexcept;

    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    ILockable* m_lockable;
};

}  // namespace Tarsel
