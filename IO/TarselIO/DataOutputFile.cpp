#include <TarselIO/DataOutputFile.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <unistd.h>

#include <TarselIO/IOException.h>
#include <TarselIO/Internal/Forwarding.h>
#include <TarselIO/Internal/Raise.h>
#include <TarselIO/Internal/StandardIo.h>

namespace Tarsel::Core
{
namespace
{

constexpr char kConstructor[] = "Tarsel::Core::DataOutputFile::DataOutputFile(const ioPath &)";
constexpr char kSetSize[] = "virtual void Tarsel::Core::DataOutputFile::SetSize(ioSize)";

[[noreturn]] void RaiseSystemError(int error, ThrowSite site)
{
    Raise(IOException() << ErrorDescription(std::strerror(error)), site);
}

}  // namespace

SP<IDataOutput> DataOutputFile::Create(const ioPath& path)
{
    return SP<IDataOutput>(new DataOutputFile(path));
}

DataOutputFile::DataOutputFile(const ioPath& path) : m_filename(path), m_size(0)
{
    // If the directories cannot be made, the open fails and reports why.
    ioPath::create_directories(path.parent_path());

    const std::string name = path.utf8string();
    std::FILE* const file = std::fopen(name.c_str(), "wb");
    const int openError = errno;
    m_file.reset(file, &Fclose);
    if (m_file == nullptr)
    {
        RaiseSystemError(openError, kConstructor);
    }
    if (std::fseek(file, 0, SEEK_END) != 0)
    {
        RaiseSystemError(errno, kConstructor);
    }
    m_size = std::ftell(file);
    if (m_size == -1)
    {
        RaiseSystemError(errno, kConstructor);
    }
    if (std::fseek(file, 0, SEEK_SET) != 0)
    {
        RaiseSystemError(errno, kConstructor);
    }
}

DataOutputFile::~DataOutputFile() = default;

void DataOutputFile::Fclose(std::FILE* file)
{
    if (file != nullptr)
    {
        std::fclose(file);
    }
}

bool DataOutputFile::Good()
{
    return m_file != nullptr;
}

TARSEL_IMPLEMENT_REFCOUNT(DataOutputFile, m_refCount);

ioSize DataOutputFile::Write(const uint8_t* data, ioSize size)
{
    const uint8_t standIn = 0;
    const ioSize written = std::fwrite(NotNull(data, size, &standIn), 1, size, m_file.get());
    if (std::fflush(m_file.get()) != 0)
    {
        RaiseSystemError(errno, "virtual ioSize Tarsel::Core::DataOutputFile::Write(const uint8_t *, ioSize)");
    }
    return written;
}

const ioPath& DataOutputFile::GetFilename() const
{
    return m_filename;
}

ioSize DataOutputFile::GetSize() const
{
    return static_cast<ioSize>(m_size);
}

void DataOutputFile::SetSize(ioSize size)
{
    const long position = std::ftell(m_file.get());
    if (position == -1)
    {
        RaiseSystemError(errno, kSetSize);
    }
    if (::ftruncate(::fileno(m_file.get()), static_cast<long>(size)) != 0)
    {
        RaiseSystemError(errno, kSetSize);
    }
    if (static_cast<ioSize>(position) > size && std::fseek(m_file.get(), static_cast<long>(size), SEEK_SET) != 0)
    {
        RaiseSystemError(errno, kSetSize);
    }
}

ioSize DataOutputFile::GetPosition() const
{
    return static_cast<ioSize>(std::ftell(m_file.get()));
}

void DataOutputFile::SetPosition(ioSize position)
{
    if (std::fseek(m_file.get(), static_cast<long>(position), SEEK_SET) != 0)
    {
        RaiseSystemError(errno, "virtual void Tarsel::Core::DataOutputFile::SetPosition(ioSize)");
    }
}

TARSEL_IMPLEMENT_LOCK(DataOutputFile, m_lock);

}  // namespace Tarsel::Core
