#include <TarselFilesystem/ioPath.h>

#include <ostream>
#include <system_error>

namespace Tarsel
{

ioPath::ioPath(const std::string& utf8) : m_path(std::filesystem::u8path(utf8))
{
}

ioPath::ioPath(const char* utf8) : m_path(std::filesystem::u8path(utf8))
{
}

ioPath::ioPath(const std::filesystem::path& path) : m_path(path)
{
}

std::string ioPath::utf8string() const
{
    // POSIX keeps path text as plain bytes, so the native text already is the UTF-8 text, in every language mode.
    return m_path.native();
}

ioPath ioPath::parent_path() const
{
    return m_path.parent_path();
}

bool ioPath::empty() const
{
    return m_path.empty();
}

const std::filesystem::path& ioPath::native() const
{
    return m_path;
}

bool ioPath::create_directories(const ioPath& directory)
{
    // The call reports "nothing created" and "failed" alike, and some versions fail over a trailing slash, so what
    // counts is whether the directory is there afterwards.
    std::error_code ignored;
    std::filesystem::create_directories(directory.m_path, ignored);
    return std::filesystem::is_directory(directory.m_path, ignored);
}

bool operator==(const ioPath& left, const ioPath& right)
{
    return left.m_path == right.m_path;
}

bool operator!=(const ioPath& left, const ioPath& right)
{
    return left.m_path != right.m_path;
}

bool operator<(const ioPath& left, const ioPath& right)
{
    return left.m_path < right.m_path;
}

std::ostream& operator<<(std::ostream& stream, const ioPath& path)
{
    return stream << path.m_path.native();
}

}  // namespace Tarsel
