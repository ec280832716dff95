#pragma once

#include <TarselIO/IByteDataInputProtocol.h>

namespace Tarsel::Core
{

/// Reads until the whole request has arrived or a transfer fails, and counts only the transfers that succeeded. Over a
/// pipe, a request returns all of its bytes or 0.
class TARSEL_EXPORT ByteDataInputDefaultProtocol : public virtual IByteDataInputProtocol
{
public:
    ByteDataInputDefaultProtocol();
    ByteDataInputDefaultProtocol(const ByteDataInputDefaultProtocol&) = delete;
    ByteDataInputDefaultProtocol& operator=(const ByteDataInputDefaultProtocol&) = delete;
    ~ByteDataInputDefaultProtocol() override;

    ioSize Read(uint8_t* data, ioSize size) override;
    void SetByteDataInput(IByteDataInputEx* input) override;

private:
    IByteDataInputEx* m_input;  // not owned: the pipe that owns this protocol
};

}  // namespace Tarsel::Core
