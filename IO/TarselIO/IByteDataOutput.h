#pragma once

#include <cstdint>

#include <TarselExport/Export.h>
#include <TarselIO/ioSize.h>
#include <TarselPointer/IRefCountable.h>

namespace Tarsel::Core
{

/// Writes a sequence of bytes from front to back. Hold the object through SP; the last reference destroys it.
///
/// One thread at a time writes it.
///
/// The order of the operations is part of the binary interface.
class TARSEL_EXPORT IByteDataOutput : public virtual IRefCountable
{
protected:
    ~IByteDataOutput() override;

public:
    /// Takes up to `size` bytes from `data`. `data` is not kept after the call.
    ///
    /// Returns how many bytes it accepted. Pipes and endpoints return fewer than `size` on failure, and log the cause.
    ///
    /// May block if the bytes go to another process or thread.
    virtual ioSize Write(const uint8_t* data, ioSize size) = 0;

    /// Asks a blocked operation to give up, if the implementation can do that. This default does nothing.
    virtual void Cancel();
};

}  // namespace Tarsel::Core
