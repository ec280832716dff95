#include <TarselIO/DataInputOutputPipe.h>

#include <algorithm>
#include <utility>

#include <TarselIO/DataInputPipe.h>
#include <TarselIO/DataOutputPipe.h>
#include <TarselIO/Internal/Forwarding.h>
#include <TarselIO/Internal/Logging.h>
#include <TarselIO/Protocols/ByteDataInputRawProtocol.h>
#include <TarselIO/Protocols/ByteDataOutputRawProtocol.h>

namespace Tarsel::Core
{

SP<IByteDataInputOutput> DataInputOutputPipe::Create(const std::string& name,
                                                     std::unique_ptr<IByteDataInputProtocol> inputProtocol,
                                                     std::unique_ptr<IByteDataOutputProtocol> outputProtocol,
                                                     bool /*unused*/,
                                                     unsigned long& maxSizeAtTime)
{
    const SP<DataInputOutputPipe> endpoint(new DataInputOutputPipe(name, false));
    const SP<IByteDataInputEx> input = DataInputPipe::Create(endpoint->m_pipeHandle, std::move(inputProtocol));
    const SP<IByteDataOutputEx> output = DataOutputPipe::Create(endpoint->m_pipeHandle, std::move(outputProtocol));
    maxSizeAtTime = std::max(input->GetMaxReadSizeAtTime(), output->GetMaxWriteSizeAtTime());
    endpoint->SetInputPipe(input);
    endpoint->SetOutputPipe(output);
    return endpoint;
}

SP<IByteDataInputOutput> DataInputOutputPipe::Create(const std::string& name,
                                                     bool /*unused*/,
                                                     unsigned long& maxSizeAtTime)
{
    return Create(name,
                  std::make_unique<ByteDataInputRawProtocol>(),
                  std::make_unique<ByteDataOutputRawProtocol>(),
                  false,
                  maxSizeAtTime);
}

DataInputOutputPipe::DataInputOutputPipe(const std::string& /*name*/, bool /*unused*/) : m_pipeHandle(nullptr)
{
}

DataInputOutputPipe::~DataInputOutputPipe() = default;

void* DataInputOutputPipe::GetPipeHandle()
{
    return m_pipeHandle;
}

void DataInputOutputPipe::SetInputPipe(SP<IByteDataInput> input)
{
    m_input = std::move(input);
}

void DataInputOutputPipe::SetOutputPipe(SP<IByteDataOutput> output)
{
    m_output = std::move(output);
}

TARSEL_IMPLEMENT_REFCOUNT(DataInputOutputPipe, m_refCount);

ioSize DataInputOutputPipe::Read(uint8_t* data, ioSize size)
{
    if (m_input == nullptr)
    {
        TARSEL_LOG(ERROR) << "Implementation IByteDataInputEx not defined";
        return 0;
    }
    return m_input->Read(data, size);
}

void DataInputOutputPipe::Cancel()
{
    if (m_input != nullptr)
    {
        m_input->Cancel();
    }
}

ioSize DataInputOutputPipe::Write(const uint8_t* data, ioSize size)
{
    if (m_output == nullptr)
    {
        TARSEL_LOG(ERROR) << "Implementation IByteDataOutputEx not defined";
        return 0;
    }
    return m_output->Write(data, size);
}

}  // namespace Tarsel::Core
