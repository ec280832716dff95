#include <TarselIO/DataStdOutput.h>

#include <memory>
#include <utility>

#include <TarselIO/DataOutputPipe.h>
#include <TarselIO/Internal/Forwarding.h>
#include <TarselIO/Internal/Logging.h>
#include <TarselIO/Protocols/ByteDataOutputRawProtocol.h>

namespace Tarsel::Core
{

SP<IByteDataOutput> DataStdOutput::Create(unsigned long& maxSizeAtTime)
{
    const SP<DataStdOutput> endpoint(new DataStdOutput);
    auto protocol = std::make_unique<ByteDataOutputRawProtocol>();
    if (endpoint->m_pipeHandle == nullptr)
    {
        return nullptr;
    }
    // GCOVR_EXCL_START: no platform that this is built for supplies a handle
    const SP<IByteDataOutputEx> output = DataOutputPipe::Create(endpoint->m_pipeHandle, std::move(protocol));
    endpoint->SetOutputPipe(output);
    maxSizeAtTime = output->GetMaxWriteSizeAtTime();
    return endpoint;
    // GCOVR_EXCL_STOP
}

DataStdOutput::DataStdOutput() : m_pipeHandle(nullptr)
{
}

DataStdOutput::~DataStdOutput() = default;

void* DataStdOutput::GetPipeHandle()
{
    return m_pipeHandle;
}

void DataStdOutput::SetOutputPipe(SP<IByteDataOutput> output)
{
    m_output = std::move(output);
}

TARSEL_IMPLEMENT_REFCOUNT(DataStdOutput, m_refCount);

ioSize DataStdOutput::Write(const uint8_t* data, ioSize size)
{
    if (m_output == nullptr)
    {
        TARSEL_LOG(ERROR) << "Implementation IByteDataOutputEx not defined";
        return 0;
    }
    return m_output->Write(data, size);
}

}  // namespace Tarsel::Core
