#pragma once

#include <TarselIO/IByteDataOutput.h>

namespace Tarsel::Core
{

/// A byte output whose transfers a framing protocol steers. Ordinary callers use Write.
/// The order of the operations is binary interface.
class TARSEL_EXPORT IByteDataOutputEx : public virtual IByteDataOutput
{
protected:
    ~IByteDataOutputEx() override;

public:
    /// Writes `size` bytes from `data` in pieces of at most GetMaxWriteSizeAtTime(). `done` receives how many bytes
    /// went out, also after a failure; null when nobody wants to know.
    /// Return values: `true` - all `size` bytes have been written; `false` - a call failed, `*done` bytes had been
    /// written before it.
    virtual bool WriteRaw(const uint8_t* data, ioSize size, ioSize* done) = 0;

    /// The largest number of bytes that one transfer of the system moves.
    virtual ioSize GetMaxWriteSizeAtTime() = 0;
};

}  // namespace Tarsel::Core
