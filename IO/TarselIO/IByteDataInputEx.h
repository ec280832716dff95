#pragma once

#include <TarselIO/IByteDataInput.h>

namespace Tarsel::Core
{

/// Reads bytes for a framing protocol, which controls the transfers. If you do not write a protocol, call Read.
///
/// The order of the operations is part of the binary interface.
class TARSEL_EXPORT IByteDataInputEx : public virtual IByteDataInput
{
protected:
    ~IByteDataInputEx() override;

public:
    /// Reads `size` bytes into `data` in pieces of at most GetMaxReadSizeAtTime(). `done` receives how many bytes
    /// arrived, even after a failure; it may be null.
    ///
    /// Returns:
    /// - `true` if all `size` bytes have arrived;
    /// - `false` at the end of the data or after a failed call. `*done` bytes had arrived before it.
    virtual bool ReadRaw(uint8_t* data, ioSize size, ioSize* done) = 0;

    /// Returns the largest number of bytes that one transfer of the system moves.
    virtual ioSize GetMaxReadSizeAtTime() = 0;
};

}  // namespace Tarsel::Core
