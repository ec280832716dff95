#pragma once

#include <TarselIO/IByteDataInputProtocol.h>

namespace Tarsel::Core
{

/// Makes exactly one transfer per request. Returns the count that the transfer reported, whether or not it succeeded.
class TARSEL_EXPORT ByteDataInputRawProtocol : public virtual IByteDataInputProtocol
{
public:
    ByteDataInputRawProtocol();
    ByteDataInputRawProtocol(const ByteDataInputRawProtocol&) = delete;
    ByteDataInputRawProtocol& operator=(const ByteDataInputRawProtocol&) = delete;
    ~ByteDataInputRawProtocol() override;

    ioSize Read(uint8_t* data, ioSize size) override;
    void SetByteDataInput(IByteDataInputEx* input) override;

private:
    IByteDataInputEx* m_input;  // not owned: the pipe that owns this protocol
};

}  // namespace Tarsel::Core
