#include <TarselIO/DataOutputFF.h>

#include <TarselIO/Internal/Forwarding.h>

namespace Tarsel::Core
{

SP<IDataOutput> DataOutputFF::Create(const ioPath& path)
{
    return SP<IDataOutput>(new DataOutputFF(path));
}

DataOutputFF::DataOutputFF(const ioPath& path) : m_filename(path)
{
}

DataOutputFF::~DataOutputFF() = default;

TARSEL_IMPLEMENT_REFCOUNT(DataOutputFF, m_refCount);

ioSize DataOutputFF::Write(const uint8_t* /*data*/, ioSize /*size*/)
{
    return 0;
}

const ioPath& DataOutputFF::GetFilename() const
{
    return m_filename;
}

ioSize DataOutputFF::GetSize() const
{
    return 0;
}

void DataOutputFF::SetSize(ioSize /*size*/)
{
}

ioSize DataOutputFF::GetPosition() const
{
    return 0;
}

void DataOutputFF::SetPosition(ioSize /*position*/)
{
}

TARSEL_IMPLEMENT_LOCK(DataOutputFF, m_lock);

}  // namespace Tarsel::Core
