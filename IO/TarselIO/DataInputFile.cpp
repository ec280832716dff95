#include <TarselIO/DataInputFile.h>

#include <cerrno>
#include <cstring>
#include <stdio_ext.h>
#include <string>

#include <TarselIO/IOException.h>
#include <TarselIO/Internal/Forwarding.h>
#include <TarselIO/Internal/Raise.h>
#include <TarselIO/Internal/StandardIo.h>

namespace Tarsel::Core
{

SP<IDataInput> DataInputFile::Create(const ioPath& path)
{
    int openError = 0;
    const SP<DataInputFile> stream(new DataInputFile(path, &openError));
    if (!stream->Good())
    {
        Raise(AddStack(IOException() << ErrorFilename(path.utf8string())
                                     << ErrorDescription("Can not open file for reading")
                                     << ErrorDetails(std::strerror(openError))),
              "static SP<IDataInput> Tarsel::Core::DataInputFile::Create(const ioPath &)");
    }
    return stream;
}

DataInputFile::DataInputFile(const ioPath& path) : DataInputFile(path, nullptr)
{
}

DataInputFile::DataInputFile(const ioPath& path, int* openError) : m_filename(path), m_file(nullptr), m_size(0)
{
    const std::string name = m_filename.utf8string();
    m_file = std::fopen(name.c_str(), "rb");
    const int error = errno;
    if (m_file != nullptr)
    {
        // By contract, one thread at a time uses the stream, so its calls need no lock of their own.
        __fsetlocking(m_file, FSETLOCKING_BYCALLER);
        std::fseek(m_file, 0, SEEK_END);
        m_size = std::ftell(m_file);
        std::fseek(m_file, 0, SEEK_SET);
    }
    if (openError != nullptr)
    {
        *openError = error;
    }
}

DataInputFile::~DataInputFile()
{
    if (m_file != nullptr)
    {
        std::fclose(m_file);
    }
}

bool DataInputFile::Good()
{
    return m_file != nullptr;
}

TARSEL_IMPLEMENT_REFCOUNT(DataInputFile, m_refCount);

ioSize DataInputFile::Read(uint8_t* data, ioSize size)
{
    uint8_t standIn = 0;
    return std::fread(NotNull(data, size, &standIn), 1, size, m_file);
}

const ioPath& DataInputFile::GetFilename() const
{
    return m_filename;
}

ioSize DataInputFile::GetSize() const
{
    return static_cast<ioSize>(m_size);
}

ioSize DataInputFile::GetPosition() const
{
    return static_cast<ioSize>(std::ftell(m_file));
}

void DataInputFile::SetPosition(ioSize position)
{
    std::fseek(m_file, static_cast<long>(position), SEEK_SET);
}

TARSEL_IMPLEMENT_LOCK(DataInputFile, m_lock);

}  // namespace Tarsel::Core
