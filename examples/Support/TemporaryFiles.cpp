#include <Support/TemporaryFiles.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include <boost/uuid/entropy_error.hpp>

#include <TarselIO/IPCTools.h>

namespace Examples
{
namespace
{

/// Returns what `propose` returns. Its exception reports only that a read failed, so this one adds the file and the
/// reason.
template <class Propose>
std::string Proposal(Propose propose)
{
    try
    {
        return propose();
    }
    catch (const boost::uuids::entropy_error& error)
    {
        throw std::system_error(static_cast<int>(error.errcode()), std::generic_category(), "/dev/urandom");
    }
}

/// Calls `make(name)` with new names until it succeeds: the names are only proposals, and another process may have
/// taken one. `make` must then return -1 and set errno to EEXIST, as system calls do.
template <class NewName, class Make>
std::string MakeUnderNewName(NewName newName, Make make)
{
    for (;;)
    {
        std::string name = Proposal(newName);
        if (make(name.c_str()) != -1)
        {
            return name;
        }
        if (errno != EEXIST)
        {
            throw std::system_error(errno, std::generic_category(), "cannot create " + name);
        }
    }
}

std::string NewName(const std::filesystem::path& directory)
{
    std::filesystem::path name = ".";
    name += std::filesystem::path(Proposal(&Tarsel::Core::GenerateTempFileName)).filename();
    name += ".part";
    return (directory / name).string();
}

}  // namespace

TemporaryFiles::~TemporaryFiles()
{
    RemoveAll();
}

std::string TemporaryFiles::MakePipe()
{
    return Keep(
        MakeUnderNewName(&Tarsel::Core::GeneratePipeName, [](const char* name) { return ::mkfifo(name, 0600); }));
}

std::string TemporaryFiles::MakeFile(const std::filesystem::path& directory, mode_t mode)
{
    const auto make = [mode](const char* name)
    {
        const int descriptor = ::open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        return descriptor == -1 ? -1 : ::close(descriptor);
    };
    return Keep(MakeUnderNewName([&directory] { return NewName(directory); }, make));
}

std::string TemporaryFiles::ReserveName(const std::filesystem::path& directory)
{
    return Keep(NewName(directory));
}

void TemporaryFiles::Remove(const std::string& name)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ::unlink(name.c_str());
    m_names.erase(std::remove(m_names.begin(), m_names.end(), name), m_names.end());
}

void TemporaryFiles::RemoveAll()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const std::string& name : m_names)
    {
        ::unlink(name.c_str());
    }
    m_names.clear();
}

std::string TemporaryFiles::Keep(std::string name)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_names.push_back(name);
    return name;
}

}  // namespace Examples
