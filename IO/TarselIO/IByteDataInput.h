#pragma once

#include <cstdint>

#include <TarselExport/Export.h>
#include <TarselIO/ioSize.h>
#include <TarselPointer/IRefCountable.h>

namespace Tarsel::Core
{

/// A sequence of bytes that is read from front to back, by one thread at a time.
/// Held through SP; the last reference destroys it. The order of the operations is binary interface.
class TARSEL_EXPORT IByteDataInput : public virtual IRefCountable
{
protected:
    ~IByteDataInput() override;

public:
    /// Copies at most `size` bytes to `data` and returns how many it copied. Returns 0 at the end of the data or
    /// if `size` is 0. Files, pipes and endpoints also return 0, or a short count, on failure; pipes and endpoints log
    /// the cause. `data` has room for `size` bytes and is not kept after the call. May block where the bytes come from
    /// another process or thread.
    virtual ioSize Read(uint8_t* data, ioSize size) = 0;

    /// Asks a blocked Read to give up, where the implementation can. This default does nothing.
    virtual void Cancel();
};

}  // namespace Tarsel::Core
