#include <TarselIO/DataOutputPipe.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include <TarselIO/IOException.h>
#include <TarselIO/Internal/Forwarding.h>
#include <TarselIO/Internal/Logging.h>
#include <TarselIO/Internal/PipeTransfer.h>
#include <TarselIO/Internal/Raise.h>
#include <TarselIO/Protocols/ByteDataOutputDefaultProtocol.h>

namespace Tarsel::Core
{

SP<IByteDataOutputEx> DataOutputPipe::Create(const std::string& name, bool /*unused*/)
{
    return Create(name, std::make_unique<ByteDataOutputDefaultProtocol>(), false);
}

SP<IByteDataOutputEx> DataOutputPipe::Create(const std::string& name,
                                             std::unique_ptr<IByteDataOutputProtocol> protocol,
                                             bool /*unused*/)
{
    return Install(SP<DataOutputPipe>(new DataOutputPipe(name, false)), std::move(protocol));
}

SP<IByteDataOutputEx> DataOutputPipe::Create(void* handle, std::unique_ptr<IByteDataOutputProtocol> protocol)
{
    return Install(SP<DataOutputPipe>(new DataOutputPipe(handle)), std::move(protocol));
}

SP<IByteDataOutputEx> DataOutputPipe::Install(const SP<DataOutputPipe>& pipe,
                                              std::unique_ptr<IByteDataOutputProtocol> protocol)
{
    protocol->SetByteDataOutput(pipe.get());
    pipe->SetProtocol(std::move(protocol));
    return pipe;
}

DataOutputPipe::DataOutputPipe(const std::string& name, bool /*unused*/) : m_descriptor(-1), m_chunkSize(kPipeChunkSize)
{
    DescriptorGuard descriptor(
        RetryOnInterrupt([&name] { return ::open(name.c_str(), O_WRONLY); },
                         [] { TARSEL_LOG(WARNING) << "The open syscall has been interrupted by a signal"; }));
    if (descriptor.Get() == -1)
    {
        const int error = errno;
        TARSEL_LOG(ERROR) << "Failed to open the output pipe " << name;
        Raise(IOException() << ErrorDescription("Failed to open output pipe") << ErrorSystemErrorCode(error)
                            << ErrorDetails(std::strerror(error)),
              "Tarsel::Core::DataOutputPipe::DataOutputPipe(const std::string &, bool)");
    }
    TARSEL_LOG(INFO) << "The pipe " << name << " has been opened for writing successfully, id == " << descriptor.Get();
    std::signal(SIGPIPE, SIG_IGN);
    m_descriptor = descriptor.Release();
}

DataOutputPipe::DataOutputPipe(void* /*handle*/) : m_descriptor(-1), m_chunkSize(kPipeChunkSize)
{
}

DataOutputPipe::~DataOutputPipe()
{
    TARSEL_LOG(INFO) << "Closing output pipe";
    if (::close(m_descriptor) < 0)
    {
        TARSEL_LOG(WARNING) << "Failed to close descriptor of an output pipe";
    }
}

void DataOutputPipe::SetProtocol(std::unique_ptr<IByteDataOutputProtocol> protocol)
{
    m_protocol = std::move(protocol);
}

TARSEL_IMPLEMENT_REFCOUNT(DataOutputPipe, m_refCount);

ioSize DataOutputPipe::Write(const uint8_t* data, ioSize size)
{
    if (m_protocol == nullptr)
    {
        TARSEL_LOG(ERROR) << "Protocol not defined.";
        return 0;
    }
    return m_protocol->Write(data, size);
}

void DataOutputPipe::Cancel()
{
}

bool DataOutputPipe::WriteRaw(const uint8_t* data, ioSize size, ioSize* done)
{
    return MoveInChunks(size,
                        m_chunkSize,
                        done,
                        [this, data](ioSize offset, ioSize count) { return WriteChunk(data + offset, count); });
}

std::optional<ioSize> DataOutputPipe::WriteChunk(const uint8_t* data, ioSize size)
{
    for (;;)
    {
        TARSEL_LOG(INFO) << "Trying to write " << size << " bytes to the output pipe";
        const ssize_t count = ::write(m_descriptor, data, size);
        if (count >= 0)
        {
            TARSEL_LOG(INFO) << count << " bytes have been written";
            return static_cast<ioSize>(count);
        }
        const int error = errno;
        TARSEL_LOG(ERROR) << "Write failed, errno == " << error << ", descrption:" << std::strerror(error);
        if (error != EINTR)
        {
            return std::nullopt;
        }
        TARSEL_LOG(INFO) << "The write syscall has been interrupted. Trying to write again...";
    }
}

ioSize DataOutputPipe::GetMaxWriteSizeAtTime()
{
    return m_chunkSize;
}

}  // namespace Tarsel::Core
