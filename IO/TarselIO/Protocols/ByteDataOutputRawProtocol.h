#pragma once

#include <TarselIO/IByteDataOutputProtocol.h>

namespace Tarsel::Core
{

/// Makes exactly one transfer per request. Returns the count that the transfer reported, whether or not it succeeded.
class TARSEL_EXPORT ByteDataOutputRawProtocol : public virtual IByteDataOutputProtocol
{
public:
    ByteDataOutputRawProtocol();
    ByteDataOutputRawProtocol(const ByteDataOutputRawProtocol&) = delete;
    ByteDataOutputRawProtocol& operator=(const ByteDataOutputRawProtocol&) = delete;
    ~ByteDataOutputRawProtocol() override;

    ioSize Write(const uint8_t* data, ioSize size) override;
    void SetByteDataOutput(IByteDataOutputEx* output) override;

private:
    IByteDataOutputEx* m_output;  // not owned: the pipe that owns this protocol
};

}  // namespace Tarsel::Core
