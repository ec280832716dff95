#include <TarselIO/Protocols/ByteDataOutputDefaultProtocol.h>

#include <TarselIO/IByteDataOutputEx.h>
#include <TarselIO/Internal/Logging.h>
#include <TarselIO/Internal/PipeTransfer.h>

namespace Tarsel::Core
{

ByteDataOutputDefaultProtocol::ByteDataOutputDefaultProtocol() : m_output(nullptr)
{
}

ByteDataOutputDefaultProtocol::~ByteDataOutputDefaultProtocol() = default;

ioSize ByteDataOutputDefaultProtocol::Write(const uint8_t* data, ioSize size)
{
    if (m_output == nullptr)
    {
        TARSEL_LOG(ERROR) << "Implementation IByteDataOutputEx not defined";
        return 0;
    }
    return MoveAll(size,
                   [this, data](ioSize offset, ioSize count, ioSize* done)
                   { return m_output->WriteRaw(data + offset, count, done); });
}

void ByteDataOutputDefaultProtocol::SetByteDataOutput(IByteDataOutputEx* output)
{
    m_output = output;
}

}  // namespace Tarsel::Core
