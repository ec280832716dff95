#include <TarselIO/Protocols/ByteDataOutputRawProtocol.h>

#include <TarselIO/IByteDataOutputEx.h>
#include <TarselIO/Internal/Logging.h>

namespace Tarsel::Core
{

ByteDataOutputRawProtocol::ByteDataOutputRawProtocol() : m_output(nullptr)
{
}

ByteDataOutputRawProtocol::~ByteDataOutputRawProtocol() = default;

ioSize ByteDataOutputRawProtocol::Write(const uint8_t* data, ioSize size)
{
    if (m_output == nullptr)
    {
        TARSEL_LOG(ERROR) << "Implementation IByteDataOutputEx not defined";
        return 0;
    }
    ioSize done = 0;
    m_output->WriteRaw(data, size, &done);
    return done;
}

void ByteDataOutputRawProtocol::SetByteDataOutput(IByteDataOutputEx* output)
{
    m_output = output;
}

}  // namespace Tarsel::Core
