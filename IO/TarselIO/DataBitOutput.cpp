#include <TarselIO/DataBitOutput.h>

namespace Tarsel::Core
{

DataBitOutput::DataBitOutput(const SP<IDataOutput>& output) : m_output(output), m_partial(0), m_free(kBitsPerByte)
{
}

void DataBitOutput::Flush()
{
    if (m_free != kBitsPerByte)
    {
        WriteBits(0, m_free);
    }
}

}  // namespace Tarsel::Core
