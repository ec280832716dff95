#include <TarselIO/StreamTools.h>

#include <limits>
#include <stdexcept>

namespace Tarsel::Core
{

MD5Digest MD5Generate(const SP<IDataInput>& stream, const std::string& text)
{
    return MD5Generate(StreamToBuffer(stream.get(), false), text);
}

std::vector<uint8_t> StreamToBuffer(IDataInput* stream, bool terminate)
{
    const ioSize size = stream->GetSize();
    const ioSize terminator = terminate ? 1 : 0;
    if (size > std::numeric_limits<ioSize>::max() - terminator)
    {
        throw std::length_error("A stream is too large for a buffer");
    }
    std::vector<uint8_t> buffer(size + terminator);
    stream->Read(buffer.data(), size);
    if (terminate)
    {
        buffer[size] = 0;
    }
    return buffer;
}

std::string StreamToBufferString(IDataInput* stream)
{
    const ioSize size = stream->GetSize();
    std::string buffer(size, '\0');
    stream->Read(reinterpret_cast<uint8_t*>(buffer.data()), size);
    return buffer;
}

ioSize BufferToStream(const std::vector<uint8_t>& buffer, IDataOutput* stream)
{
    return stream->Write(buffer.data(), buffer.size());
}

ioSize BufferToStream(const std::string& buffer, IDataOutput* stream)
{
    return stream->Write(reinterpret_cast<const uint8_t*>(buffer.data()), buffer.size());
}

}  // namespace Tarsel::Core
