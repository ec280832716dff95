#include <TarselIO/DataInputFF.h>

#include <TarselIO/Internal/Forwarding.h>

namespace Tarsel::Core
{

SP<IDataInput> DataInputFF::Create(const ioPath& path)
{
    return SP<IDataInput>(new DataInputFF(path));
}

DataInputFF::DataInputFF(const ioPath& path) : m_filename(path)
{
}

DataInputFF::~DataInputFF() = default;

TARSEL_IMPLEMENT_REFCOUNT(DataInputFF, m_refCount);

ioSize DataInputFF::Read(uint8_t* /*data*/, ioSize /*size*/)
{
    return 0;
}

const ioPath& DataInputFF::GetFilename() const
{
    return m_filename;
}

ioSize DataInputFF::GetSize() const
{
    return 0;
}

ioSize DataInputFF::GetPosition() const
{
    return 0;
}

void DataInputFF::SetPosition(ioSize /*position*/)
{
}

TARSEL_IMPLEMENT_LOCK(DataInputFF, m_lock);

}  // namespace Tarsel::Core
