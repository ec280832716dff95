#pragma once

#include <cstdint>

#include <TarselExport/Export.h>
#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

class IByteDataInputEx;

/// Decides when a read request over a raw input is complete. It never adds, expects or changes a byte. The pipe that it
/// serves owns it.
///
/// The thread that uses the pipe uses the protocol.
///
/// The order of the operations is part of the binary interface.
class TARSEL_EXPORT IByteDataInputProtocol
{
public:
    virtual ~IByteDataInputProtocol();

    /// Fills `data` with up to `size` bytes.
    ///
    /// Returns how many bytes it counts as read. Without an input it returns 0 and writes an ERROR line to the log.
    virtual ioSize Read(uint8_t* data, ioSize size) = 0;

    /// Sets the input to read through; null removes it. The protocol does not own the input and takes no reference to
    /// it, since the input is the pipe that owns the protocol.
    virtual void SetByteDataInput(IByteDataInputEx* input) = 0;
};

}  // namespace Tarsel::Core
