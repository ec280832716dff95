#include <TarselIO/DataInputMemory.h>

#include <algorithm>
#include <cstdint>

#include <TarselIO/IOException.h>
#include <TarselIO/Internal/CopyBytes.h>
#include <TarselIO/Internal/Forwarding.h>
#include <TarselIO/Internal/Raise.h>

namespace Tarsel::Core
{

SP<IDataInput> DataInputMemory::Create(const uint8_t* data, ioSize size)
{
    return SP<IDataInput>(new DataInputMemory(data, size));
}

DataInputMemory::DataInputMemory(const uint8_t* data, ioSize size) : m_data(data), m_size(size), m_position(0)
{
}

DataInputMemory::~DataInputMemory() = default;

TARSEL_IMPLEMENT_REFCOUNT(DataInputMemory, m_refCount);

ioSize DataInputMemory::Read(uint8_t* data, ioSize size)
{
    const ioSize count = std::min(size, m_size - m_position);
    // Added up as numbers: without a block, there is nothing that a pointer could move in.
    const auto from = reinterpret_cast<std::uintptr_t>(m_data) + m_position;
    m_position += count;
    return CopyBytes(data, reinterpret_cast<const uint8_t*>(from), count);  // NOLINT(performance-no-int-to-ptr)
}

const ioPath& DataInputMemory::GetFilename() const
{
    return m_filename;
}

ioSize DataInputMemory::GetSize() const
{
    return m_size;
}

ioSize DataInputMemory::GetPosition() const
{
    return m_position;
}

void DataInputMemory::SetPosition(ioSize position)
{
    if (position > m_size)
    {
        Raise(IOException() << ErrorSeek(position), "virtual void Tarsel::Core::DataInputMemory::SetPosition(ioSize)");
    }
    m_position = position;
}

TARSEL_IMPLEMENT_LOCK(DataInputMemory, m_lock);

}  // namespace Tarsel::Core
