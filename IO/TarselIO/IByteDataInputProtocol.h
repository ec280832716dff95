#pragma once

#include <cstdint>

#include <TarselExport/Export.h>
#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

class IByteDataInputEx;

/// Decides when a read request over a raw input is complete. It never adds, expects or changes a byte.
/// Owned by the pipe that it serves; used by the thread that uses the pipe. The order of the operations is binary
/// interface.
class TARSEL_EXPORT IByteDataInputProtocol
{
public:
    virtual ~IByteDataInputProtocol();

    /// Fills `data` with up to `size` bytes and returns how many it counts as read. Without an input: 0, and an ERROR
    /// line in the log.
    virtual ioSize Read(uint8_t* data, ioSize size) = 0;

    /// Sets the input to read through; null for none. It is not owned and no reference is taken, since it is the pipe
    /// that owns this protocol.
    virtual void SetByteDataInput(IByteDataInputEx* input) = 0;
};

}  // namespace Tarsel::Core
