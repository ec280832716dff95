#pragma once

#include <cstdint>

#include <TarselExport/Export.h>
#include <TarselIO/ioSize.h>
#include <TarselPointer/IRefCountable.h>

namespace Tarsel::Core
{

/// A sequence of bytes that is written from front to back, by one thread at a time.
/// Held through SP; the last reference destroys it. The order of the operations is binary interface.
class TARSEL_EXPORT IByteDataOutput : public virtual IRefCountable
{
protected:
    ~IByteDataOutput() override;

public:
    /// Takes up to `size` bytes from `data` and returns how many it accepted; in pipes and endpoints, fewer means a
    /// failure, of which the log tells. `data` is not kept after the call. May block where the bytes go to another
    /// process or thread.
    virtual ioSize Write(const uint8_t* data, ioSize size) = 0;

    /// Asks a blocked operation to give up, where the implementation can. This default does nothing.
    virtual void Cancel();
};

}  // namespace Tarsel::Core
