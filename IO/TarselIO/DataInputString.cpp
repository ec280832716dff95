#include <TarselIO/DataInputString.h>

#include <algorithm>

#include <TarselIO/IOException.h>
#include <TarselIO/Internal/CopyBytes.h>
#include <TarselIO/Internal/Forwarding.h>
#include <TarselIO/Internal/Raise.h>

namespace Tarsel::Core
{

SP<IDataInput> DataInputString::Create(const std::string* source)
{
    return SP<IDataInput>(new DataInputString(source));
}

DataInputString::DataInputString(const std::string* source) : m_source(source), m_position(0)
{
}

DataInputString::~DataInputString() = default;

TARSEL_IMPLEMENT_REFCOUNT(DataInputString, m_refCount);

ioSize DataInputString::Read(uint8_t* data, ioSize size)
{
    const ioSize length = m_source->size();
    if (m_position >= length)
    {
        return 0;
    }
    const ioSize count = std::min(size, length - m_position);
    const uint8_t* const from = reinterpret_cast<const uint8_t*>(m_source->data()) + m_position;
    m_position += count;
    return CopyBytes(data, from, count);
}

const ioPath& DataInputString::GetFilename() const
{
    return m_filename;
}

ioSize DataInputString::GetSize() const
{
    return m_source->size();
}

ioSize DataInputString::GetPosition() const
{
    return m_position;
}

void DataInputString::SetPosition(ioSize position)
{
    if (position > m_source->size())
    {
        Raise(IOException() << ErrorSeek(position), "virtual void Tarsel::Core::DataInputString::SetPosition(ioSize)");
    }
    m_position = position;
}

TARSEL_IMPLEMENT_LOCK(DataInputString, m_lock);

}  // namespace Tarsel::Core
