#pragma once

#include <TarselIO/IByteDataOutput.h>

namespace Tarsel::Core
{

/// Writes bytes for a framing protocol, which controls the transfers. If you do not write a protocol, call Write.
///
/// The order of the operations is part of the binary interface.
class TARSEL_EXPORT IByteDataOutputEx : public virtual IByteDataOutput
{
protected:
    ~IByteDataOutputEx() override;

public:
    /// Writes `size` bytes from `data` in pieces of at most GetMaxWriteSizeAtTime(). `done` receives how many bytes
    /// were written, even after a failure; it may be null.
    ///
    /// Returns:
    /// - `true` if all `size` bytes have been written;
    /// - `false` after a failed call. `*done` bytes had been written before it.
    virtual bool WriteRaw(const uint8_t* data, ioSize size, ioSize* done) = 0;

    /// Returns the largest number of bytes that one transfer of the system moves.
    virtual ioSize GetMaxWriteSizeAtTime() = 0;
};

}  // namespace Tarsel::Core
