#include <TarselIO/Protocols/ByteDataInputDefaultProtocol.h>

#include <TarselIO/IByteDataInputEx.h>
#include <TarselIO/Internal/Logging.h>
#include <TarselIO/Internal/PipeTransfer.h>

namespace Tarsel::Core
{

ByteDataInputDefaultProtocol::ByteDataInputDefaultProtocol() : m_input(nullptr)
{
}

ByteDataInputDefaultProtocol::~ByteDataInputDefaultProtocol() = default;

ioSize ByteDataInputDefaultProtocol::Read(uint8_t* data, ioSize size)
{
    if (m_input == nullptr)
    {
        TARSEL_LOG(ERROR) << "Implementation IByteDataInputEx not defined";
        return 0;
    }
    return MoveAll(size,
                   [this, data](ioSize offset, ioSize count, ioSize* done)
                   { return m_input->ReadRaw(data + offset, count, done); });
}

void ByteDataInputDefaultProtocol::SetByteDataInput(IByteDataInputEx* input)
{
    m_input = input;
}

}  // namespace Tarsel::Core
