#include <TarselIO/Protocols/ByteDataInputRawProtocol.h>

#include <TarselIO/IByteDataInputEx.h>
#include <TarselIO/Internal/Logging.h>

namespace Tarsel::Core
{

ByteDataInputRawProtocol::ByteDataInputRawProtocol() : m_input(nullptr)
{
}

ByteDataInputRawProtocol::~ByteDataInputRawProtocol() = default;

ioSize ByteDataInputRawProtocol::Read(uint8_t* data, ioSize size)
{
    if (m_input == nullptr)
    {
        TARSEL_LOG(ERROR) << "Implementation IByteDataInputEx not defined";
        return 0;
    }
    ioSize done = 0;
    m_input->ReadRaw(data, size, &done);
    return done;
}

void ByteDataInputRawProtocol::SetByteDataInput(IByteDataInputEx* input)
{
    m_input = input;
}

}  // namespace Tarsel::Core
