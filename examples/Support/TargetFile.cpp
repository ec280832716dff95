#include <Support/TargetFile.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/xattr.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <Support/FileReader.h>

namespace Examples
{
namespace
{

namespace fs = std::filesystem;

constexpr int kFlags = O_WRONLY | O_CLOEXEC;
constexpr mode_t kNewFile = 0666;  // reduced by the umask or by the directory's default access list
constexpr mode_t kOwnersOnly = 0600;
constexpr mode_t kPermissions = 0777;

/// Returns the file that `name` leads to, or will lead to once it exists. RequireRegularFile goes first, so that the
/// system refuses links that it considers a trap or that form a circle.
fs::path FollowLinks(fs::path name)
{
    RequireRegularFile(name.string());
    while (fs::is_symlink(fs::symlink_status(name)))
    {
        name = name.parent_path() / fs::read_symlink(name);
    }
    return name;
}

/// Returns the system's path for a descriptor of this process. Through it a file without a name can get one.
std::string DescriptorPath(int descriptor)
{
    return "/proc/self/fd/" + std::to_string(descriptor);
}

/// Returns the mode with the same permissions for the owning group as for all others: those that both have.
mode_t WithoutGroup(mode_t mode)
{
    const mode_t common = (mode >> 3U) & mode & 07U;
    return (mode & 0700U) | common << 3U | common;
}

}  // namespace

TargetFile::TargetFile(TemporaryFiles& files, std::string path) : m_files(files), m_name(std::move(path))
{
}

TargetFile::TargetFile(const std::string& name, TemporaryFiles& files) : TargetFile(files, FollowLinks(name).string())
{
    const fs::path target = m_name;
    if (!target.has_filename())
    {
        throw std::runtime_error("'" + m_name + "' is not the name of a file");
    }
    if (::stat(m_name.c_str(), &m_replaced) == 0)
    {
        Check(::access(m_name.c_str(), W_OK));
    }
    Open(target.has_parent_path() ? target.parent_path().string() : ".");
}

TargetFile::~TargetFile()
{
    ::close(m_descriptor);
    m_files.Remove(m_partialName);
}

void TargetFile::Open(const std::string& directory)
{
    m_descriptor = ::open(directory.c_str(), O_TMPFILE | kFlags, kNewFile);
    m_nameless = m_descriptor != -1 && ::access(DescriptorPath(m_descriptor).c_str(), F_OK) == 0;
    if (m_nameless)
    {
        m_mode = ModeOf(m_descriptor);
        m_partialName = m_files.ReserveName(directory);
        return;
    }
    if (m_descriptor == -1 && errno != EOPNOTSUPP && errno != EISDIR)
    {
        Check(-1);
    }
    ::close(std::exchange(m_descriptor, -1));
    // A second file shows the mode to use: whatever process opened this one before its mode is narrowed could read
    // all of it.
    const std::string pattern = m_files.MakeFile(directory, kNewFile);
    m_descriptor = Check(::open(pattern.c_str(), kFlags | O_NOFOLLOW));
    m_mode = ModeOf(m_descriptor);
    ::close(std::exchange(m_descriptor, -1));
    m_files.Remove(pattern);
    m_partialName = m_files.MakeFile(directory, kOwnersOnly);
    m_descriptor = Check(::open(m_partialName.c_str(), kFlags | O_NOFOLLOW));
}

void TargetFile::Write(const uint8_t* data, Tarsel::Core::ioSize size)
{
    while (size != 0)
    {
        const ssize_t count = ::write(m_descriptor, data, size);
        if (count != -1)
        {
            data += count;
            size -= static_cast<Tarsel::Core::ioSize>(count);
        }
        else if (errno != EINTR)
        {
            Check(-1);
        }
    }
}

void TargetFile::Keep()
{
    try
    {
        Check(::fchmod(m_descriptor, m_replaced.st_nlink == 0 ? m_mode : TakeOverOwner()));
        if (m_nameless)
        {
            const std::string descriptor = DescriptorPath(m_descriptor);
            Check(::linkat(AT_FDCWD, descriptor.c_str(), AT_FDCWD, m_partialName.c_str(), AT_SYMLINK_FOLLOW));
        }
        Check(::close(std::exchange(m_descriptor, -1)));
        Check(::rename(m_partialName.c_str(), m_name.c_str()));
    }
    catch (...)
    {
        m_files.Remove(m_partialName);
        throw;
    }
}

/// Gives the file the owner and group of the replaced one, as far as allowed, and returns the mode that fits them.
mode_t TargetFile::TakeOverOwner() const
{
    const mode_t mode = m_replaced.st_mode & kPermissions;
    // If there is an access list, the group bits of the mode are that list's mask and not the group's permissions.
    const bool hasList = ::getxattr(m_name.c_str(), "system.posix_acl_access", nullptr, 0) > 0;
    const bool hasGroup = ::fchown(m_descriptor, m_replaced.st_uid, m_replaced.st_gid) == 0 ||
                          ::fchown(m_descriptor, static_cast<uid_t>(-1), m_replaced.st_gid) == 0;
    return hasGroup && !hasList ? mode : WithoutGroup(mode);
}

mode_t TargetFile::ModeOf(int descriptor) const
{
    struct stat status = {};
    Check(::fstat(descriptor, &status));
    return status.st_mode & kPermissions;
}

/// Returns the result of a system call, or throws if it failed.
int TargetFile::Check(int result) const
{
    return result != -1 ? result : throw std::system_error(errno, std::generic_category(), m_name);
}

}  // namespace Examples
