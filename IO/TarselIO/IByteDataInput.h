#pragma once

#include <cstdint>

#include <TarselExport/Export.h>
#include <TarselIO/ioSize.h>
#include <TarselPointer/IRefCountable.h>

namespace Tarsel::Core
{

/// Reads a sequence of bytes from front to back. Hold the object through SP; the last reference destroys it.
///
/// One thread at a time reads it.
///
/// The order of the operations is part of the binary interface.
class TARSEL_EXPORT IByteDataInput : public virtual IRefCountable
{
protected:
    ~IByteDataInput() override;

public:
    /// Copies at most `size` bytes to `data`. `data` has room for `size` bytes and is not kept after the call.
    ///
    /// Returns how many bytes it copied: 0 at the end of the data or if `size` is 0. Files, pipes and endpoints also
    /// return 0, or a short count, on failure; pipes and endpoints log the cause.
    ///
    /// May block if the bytes come from another process or thread.
    virtual ioSize Read(uint8_t* data, ioSize size) = 0;

    /// Asks a blocked Read to give up, if the implementation can do that. This default does nothing.
    virtual void Cancel();
};

}  // namespace Tarsel::Core
