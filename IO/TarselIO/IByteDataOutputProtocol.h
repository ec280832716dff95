#pragma once

#include <cstdint>

#include <TarselExport/Export.h>
#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

class IByteDataOutputEx;

/// Decides when a write request over a raw output is complete. It never adds or changes a byte. The pipe that it serves
/// owns it.
///
/// The thread that uses the pipe uses the protocol.
///
/// The order of the operations is part of the binary interface.
class TARSEL_EXPORT IByteDataOutputProtocol
{
public:
    virtual ~IByteDataOutputProtocol();

    /// Sends up to `size` bytes from `data`.
    ///
    /// Returns how many bytes it counts as written. Without an output it returns 0 and writes an ERROR line to the log.
    virtual ioSize Write(const uint8_t* data, ioSize size) = 0;

    /// Sets the output to write through; null removes it. The protocol does not own the output and takes no reference
    /// to it, since the output is the pipe that owns the protocol.
    virtual void SetByteDataOutput(IByteDataOutputEx* output) = 0;
};

}  // namespace Tarsel::Core
