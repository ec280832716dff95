#pragma once

#include <TarselIO/IByteDataOutputProtocol.h>

namespace Tarsel::Core
{

/// Writes until the whole request has gone out or a transfer fails, and counts only the transfers that succeeded: over
/// a pipe a request is answered with all of its bytes or with 0.
class TARSEL_EXPORT ByteDataOutputDefaultProtocol : public virtual IByteDataOutputProtocol
{
public:
    ByteDataOutputDefaultProtocol();
    ByteDataOutputDefaultProtocol(const ByteDataOutputDefaultProtocol&) = delete;
    ByteDataOutputDefaultProtocol& operator=(const ByteDataOutputDefaultProtocol&) = delete;
    ~ByteDataOutputDefaultProtocol() override;

    ioSize Write(const uint8_t* data, ioSize size) override;
    void SetByteDataOutput(IByteDataOutputEx* output) override;

private:
    IByteDataOutputEx* m_output;  // not owned: the pipe that owns this protocol
};

}  // namespace Tarsel::Core
