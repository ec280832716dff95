#include <Support/TargetFile.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

#include <Support/FileReader.h>
#include <TarselIO/DataOutputFile.h>
#include <TarselIO/IOException.h>

namespace Examples
{
namespace
{

namespace fs = std::filesystem;

void CheckReplaceable(const fs::path& target)
{
    RequireRegularFile(target.string());
    if (!target.has_filename())
    {
        throw std::runtime_error("'" + target.string() + "' is not the name of a file");
    }
    if (fs::exists(target) && ::access(target.c_str(), W_OK) != 0)
    {
        throw std::system_error(errno, std::generic_category(), target.string());
    }
}

}  // namespace

TargetFile::TargetFile(const std::string& name, TemporaryFiles& files)
    : m_name(fs::weakly_canonical(name).string())  // not a link, but where it points to
{
    const fs::path target = m_name;
    CheckReplaceable(target);
    m_partialName = files.MakeFile(target.parent_path());
    if (fs::exists(target))
    {
        fs::permissions(m_partialName, fs::status(target).permissions());
    }
}

void TargetFile::Write(const uint8_t* data, Tarsel::Core::ioSize size)
{
    try
    {
        if (m_file == nullptr)
        {
            m_file = Tarsel::Core::DataOutputFile::Create(m_partialName);
        }
        // When the disk is full the stream throws or returns a short count: that depends on whether the C library comes
        // to know of it in the write or in the flush.
        if (m_file->Write(data, size) != size)
        {
            throw std::runtime_error(m_name + ": cannot be written completely, the disk may be full");
        }
    }
    catch (const Tarsel::Core::IOException& error)
    {
        error << Tarsel::ErrorFilename(m_name);  // which the output stream leaves out
        throw;
    }
}

void TargetFile::Keep()
{
    m_file.reset();
    fs::rename(m_partialName, m_name);
}

}  // namespace Examples
