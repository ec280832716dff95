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

uint8_t* BytesOf(std::string& text)
{
    return reinterpret_cast<uint8_t*>(text.data());
}

/// Appends `size` bytes. The bit writer appends single bytes, which need no call.
void Append(std::string& target, const uint8_t* data, ioSize size)
{
    if (size == 1)
    {
        target.push_back(static_cast<char>(*data));
    }
    else
    {
        target.append(reinterpret_cast<const char*>(data), size);
    }
}

/// Writes `size` bytes that do not fit into `target` at `position`, and moves `position` behind them. It lengthens the
/// string first: only that can fail, and then nothing has been overwritten yet. Not inline, so that a write that fits
/// needs no stack frame.
[[gnu::noinline]] ioSize WriteAndLengthen(std::string& target, ioSize& position, const uint8_t* data, ioSize size)
{
    if (size > std::numeric_limits<ioSize>::max() - position)
    {
        throw std::length_error("A write into a string ends beyond 2^64 bytes");
    }
    if (size == 0)
    {
        return 0;
    }
    if (position > target.size())
    {
        target.resize(position + size);
    }
    const ioSize inside = std::min<ioSize>(size, target.size() - position);
    Append(target, data + inside, size - inside);
    CopyBytes(BytesOf(target) + position, data, inside);
    position += size;
    return size;
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
    const ioSize length = m_target->size();
    if (m_position > length || size > length - m_position)
    {
        return WriteAndLengthen(*m_target, m_position, data, size);
    }
    uint8_t* const to = BytesOf(*m_target) + m_position;
    m_position += size;
    return CopyBytes(to, data, size);
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
