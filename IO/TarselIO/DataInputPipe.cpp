#include <TarselIO/DataInputPipe.h>

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
#include <TarselIO/Protocols/ByteDataInputDefaultProtocol.h>

namespace Tarsel::Core
{

SP<IByteDataInputEx> DataInputPipe::Create(const std::string& name, bool /*unused*/)
{
    return Create(name, std::make_unique<ByteDataInputDefaultProtocol>(), false);
}

SP<IByteDataInputEx> DataInputPipe::Create(const std::string& name,
                                           std::unique_ptr<IByteDataInputProtocol> protocol,
                                           bool /*unused*/)
{
    return Install(SP<DataInputPipe>(new DataInputPipe(name, false)), std::move(protocol));
}

SP<IByteDataInputEx> DataInputPipe::Create(void* handle, std::unique_ptr<IByteDataInputProtocol> protocol)
{
    return Install(SP<DataInputPipe>(new DataInputPipe(handle)), std::move(protocol));
}

SP<IByteDataInputEx> DataInputPipe::Install(const SP<DataInputPipe>& pipe,
                                            std::unique_ptr<IByteDataInputProtocol> protocol)
{
    protocol->SetByteDataInput(pipe.get());
    pipe->SetProtocol(std::move(protocol));
    return pipe;
}

DataInputPipe::DataInputPipe(const std::string& name, bool /*unused*/) : m_descriptor(-1), m_chunkSize(kPipeChunkSize)
{
    DescriptorGuard descriptor(
        RetryOnInterrupt([&name] { return ::open(name.c_str(), O_RDONLY); },
                         [] { TARSEL_LOG(WARNING) << "The open syscall has been interrupted by a signal"; }));
    if (descriptor.Get() == -1)
    {
        const int error = errno;
        TARSEL_LOG(ERROR) << "Failed to open the input pipe " << name;
        Raise(IOException() << ErrorDescription("Failed to open input pipe") << ErrorSystemErrorCode(error)
                            << ErrorDetails(std::strerror(error)),
              "Tarsel::Core::DataInputPipe::DataInputPipe(const std::string &, bool)");
    }
    TARSEL_LOG(INFO) << "The pipe " << name << " has been opened for reading successfully, id == " << descriptor.Get();
    std::signal(SIGPIPE, SIG_IGN);
    m_descriptor = descriptor.Release();
}

DataInputPipe::DataInputPipe(void* /*handle*/) : m_descriptor(-1), m_chunkSize(kPipeChunkSize)
{
}

DataInputPipe::~DataInputPipe()
{
    TARSEL_LOG(INFO) << "Closing input pipe";
    if (::close(m_descriptor) < 0)
    {
        TARSEL_LOG(WARNING) << "Failed to close descriptor of an input pipe";
    }
}

void DataInputPipe::SetProtocol(std::unique_ptr<IByteDataInputProtocol> protocol)
{
    m_protocol = std::move(protocol);
}

TARSEL_IMPLEMENT_REFCOUNT(DataInputPipe, m_refCount);

ioSize DataInputPipe::Read(uint8_t* data, ioSize size)
{
    if (m_protocol == nullptr)
    {
        TARSEL_LOG(ERROR) << "Protocol not defined.";
        return 0;
    }
    return m_protocol->Read(data, size);
}

void DataInputPipe::Cancel()
{
}

bool DataInputPipe::ReadRaw(uint8_t* data, ioSize size, ioSize* done)
{
    return MoveInChunks(
        size, m_chunkSize, done, [this, data](ioSize offset, ioSize count) { return ReadChunk(data + offset, count); });
}

std::optional<ioSize> DataInputPipe::ReadChunk(uint8_t* data, ioSize size)
{
    for (;;)
    {
        TARSEL_LOG(INFO) << "Trying to read " << size << " bytes from the input pipe";
        const ssize_t count = ::read(m_descriptor, data, size);
        if (count > 0)
        {
            TARSEL_LOG(INFO) << count << " bytes have been read";
            return static_cast<ioSize>(count);
        }
        if (count == 0)
        {
            TARSEL_LOG(WARNING) << "The read syscall returned EOF. The other process probably has crashed.";
            return std::nullopt;
        }
        const int error = errno;
        TARSEL_LOG(ERROR) << "Read failed, errno == " << error << ", descrption:" << std::strerror(error);
        if (error != EINTR)
        {
            TARSEL_LOG(ERROR) << "The read syscall failed, reason: " << std::strerror(error);
            return std::nullopt;
        }
        TARSEL_LOG(INFO) << "The read syscall has been interrupted. Trying to read again...";
    }
}

ioSize DataInputPipe::GetMaxReadSizeAtTime()
{
    return m_chunkSize;
}

}  // namespace Tarsel::Core
