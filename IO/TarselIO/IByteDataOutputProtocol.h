#pragma once

#include <cstdint>

#include <TarselExport/Export.h>
#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

class IByteDataOutputEx;

/// Decides when a write request over a raw output is complete. It never adds or changes a byte.
/// Owned by the pipe that it serves; used by the thread that uses the pipe. The order of the operations is binary
/// interface.
class TARSEL_EXPORT IByteDataOutputProtocol
{
public:
    virtual ~IByteDataOutputProtocol();

    /// Sends up to `size` bytes from `data` and returns how many it counts as written. Without an output: 0, and an
    /// ERROR line in the log.
    virtual ioSize Write(const uint8_t* data, ioSize size) = 0;

    /// Sets the output to write through; null for none. It is not owned and no reference is taken, since it is the
    /// pipe that owns this protocol.
    virtual void SetByteDataOutput(IByteDataOutputEx* output) = 0;
};

}  // namespace Tarsel::Core
