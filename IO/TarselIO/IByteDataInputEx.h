#pragma once

#include <TarselIO/IByteDataInput.h>

namespace Tarsel::Core
{

/// A byte input whose transfers a framing protocol steers. Ordinary callers use Read.
/// The order of the operations is binary interface.
class TARSEL_EXPORT IByteDataInputEx : public virtual IByteDataInput
{
protected:
    ~IByteDataInputEx() override;

public:
    /// Reads `size` bytes into `data` in pieces of at most GetMaxReadSizeAtTime(). `done` receives how many bytes
    /// arrived, also after a failure; null when nobody wants to know.
    /// Return values: `true` - all `size` bytes have arrived; `false` - end of data or a failed call, `*done` bytes
    /// had arrived before it.
    virtual bool ReadRaw(uint8_t* data, ioSize size, ioSize* done) = 0;

    /// The largest number of bytes that one transfer of the system moves.
    virtual ioSize GetMaxReadSizeAtTime() = 0;
};

}  // namespace Tarsel::Core
