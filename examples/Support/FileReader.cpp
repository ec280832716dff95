#include <Support/FileReader.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <TarselIO/DataInputFile.h>

namespace Examples
{

void RequireRegularFile(const std::string& path)
{
    const std::filesystem::file_status status = std::filesystem::status(path);
    if (std::filesystem::is_directory(status))
    {
        throw std::runtime_error(path + ": is a directory");
    }
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    {
        throw std::runtime_error(path + ": is not a regular file");
    }
}

FileReader::FileReader(const std::string& path)
{
    // A directory would open and appear empty. Opening a named pipe would block until something writes to it.
    RequireRegularFile(path);
    m_file = Tarsel::Core::DataInputFile::Create(path);
}

Tarsel::Core::ioSize FileReader::Size() const
{
    return m_file->GetSize();
}

Tarsel::Core::ioSize FileReader::Read(uint8_t* data, Tarsel::Core::ioSize size)
{
    errno = 0;
    const Tarsel::Core::ioSize count = m_file->Read(data, size);
    m_done += count;
    // The stream returns a short count both at the end and for a failed read. The C library sets errno only for a
    // failure.
    if (count < size && errno != 0)
    {
        throw std::system_error(errno, std::generic_category(), m_file->GetFilename().utf8string());
    }
    if (count < size && m_done < Size())
    {
        throw std::runtime_error(m_file->GetFilename().utf8string() + ": ended after " + std::to_string(m_done) +
                                 " of " + std::to_string(Size()) + " bytes");
    }
    return count;
}

}  // namespace Examples
