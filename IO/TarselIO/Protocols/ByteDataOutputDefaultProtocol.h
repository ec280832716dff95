#pragma once

#include <TarselIO/IByteDataOutputProtocol.h>

namespace Tarsel::Core
{

/// Writes until the whole request has been written or a transfer fails, and counts only the transfers that succeeded.
/// Over a pipe, a request returns all of its bytes or 0.
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
