#include <TarselIO/DataStdInput.h>

#include <memory>
#include <utility>

#include <TarselIO/DataInputPipe.h>
#include <TarselIO/Internal/Forwarding.h>
#include <TarselIO/Internal/Logging.h>
#include <TarselIO/Protocols/ByteDataInputRawProtocol.h>

namespace Tarsel::Core
{

SP<IByteDataInput> DataStdInput::Create(unsigned long& maxSizeAtTime)
{
    const SP<DataStdInput> endpoint(new DataStdInput);
    auto protocol = std::make_unique<ByteDataInputRawProtocol>();
    if (endpoint->m_pipeHandle == nullptr)
    {
        return nullptr;
    }
    // GCOVR_EXCL_START: no platform that this is built for supplies a handle
    const SP<IByteDataInputEx> input = DataInputPipe::Create(endpoint->m_pipeHandle, std::move(protocol));
    maxSizeAtTime = input->GetMaxReadSizeAtTime();
    endpoint->SetInputPipe(input);
    return endpoint;
    // GCOVR_EXCL_STOP
}

DataStdInput::DataStdInput() : m_pipeHandle(nullptr)
{
}

DataStdInput::~DataStdInput() = default;

void* DataStdInput::GetPipeHandle()
{
    return m_pipeHandle;
}

void DataStdInput::SetInputPipe(SP<IByteDataInput> input)
{
    m_input = std::move(input);
}

TARSEL_IMPLEMENT_REFCOUNT(DataStdInput, m_refCount);

ioSize DataStdInput::Read(uint8_t* data, ioSize size)
{
    if (m_input == nullptr)
    {
        TARSEL_LOG(ERROR) << "Implementation IByteDataInputEx not defined";
        return 0;
    }
    return m_input->Read(data, size);
}

}  // namespace Tarsel::Core
