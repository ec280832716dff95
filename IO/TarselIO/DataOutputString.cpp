#include <TarselIO/DataOutputString.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

#include <TarselIO/IOException.h>
#include <TarselIO/Internal/CopyBytes.h>
#include <TarselIO/Internal/Forwarding.h>
#include <TarselIO/Internal/Raise.h>

namespace Tarsel::Core
{
namespace
{

/// Writes `size` bytes over `target` from `position`, which is not beyond its end. What reaches past the end is
/// appended first: only that can fail, and then nothing has been overwritten yet.
void Overwrite(std::string& target, ioSize position, const uint8_t* data, ioSize size)
{
    const ioSize inside = std::min<ioSize>(size, target.size() - position);
    if (inside != size)
    {
        target.append(reinterpret_cast<const char*>(data) + inside, size - inside);
    }
    CopyBytes(reinterpret_cast<uint8_t*>(target.data()) + position, data, inside);
}

}  // namespace

SP<IDataOutput> DataOutputString::Create(std::string* target)
{
    return SP<IDataOutput>(new DataOutputString(target));
}

DataOutputString::DataOutputString(std::string* target) : m_target(target), m_position(0)
{
}

DataOutputString::~DataOutputString() = default;

TARSEL_IMPLEMENT_REFCOUNT(DataOutputString, m_refCount);

ioSize DataOutputString::Write(const uint8_t* data, ioSize size)
{
    if (size > std::numeric_limits<ioSize>::max() - m_position)
    {
        throw std::length_error("A write into a string ends beyond 2^64 bytes");
    }
    if (size == 0)
    {
        return 0;
    }
    if (m_position > m_target->size())
    {
        m_target->resize(m_position + size);
    }
    Overwrite(*m_target, m_position, data, size);
    m_position += size;
    return size;
}

const ioPath& DataOutputString::GetFilename() const
{
    return m_filename;
}

ioSize DataOutputString::GetSize() const
{
    return m_target->size();
}

void DataOutputString::SetSize(ioSize size)
{
    m_target->resize(size);
    m_position = std::min(m_position, size);
}

ioSize DataOutputString::GetPosition() const
{
    return m_position;
}

void DataOutputString::SetPosition(ioSize position)
{
    if (position > m_target->size())
    {
        Raise(IOException() << ErrorSeek(position), "virtual void Tarsel::Core::DataOutputString::SetPosition(ioSize)");
    }
    m_position = position;
}

TARSEL_IMPLEMENT_LOCK(DataOutputString, m_lock);

}  // namespace Tarsel::Core
