#pragma once

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <string>

#include <TarselExport/Export.h>

namespace Tarsel
{

/// A file system path, held as UTF-8 text. A copyable value; reading one object from several threads is safe.
///
/// The text may hold zero bytes, but a system call reads no further than the first of them. A stream over "a\0.txt"
/// opens, or overwrites, the file "a", although its file name is still the whole text. So look for zero bytes in paths
/// that come from elsewhere.
class TARSEL_EXPORT ioPath
{
public:
    /// The empty path.
    ioPath() = default;

    /// From UTF-8 text, which is taken as it stands: nothing is checked, resolved or normalised.
    ioPath(const std::string& utf8);
    ioPath(const char* utf8);         ///< the same; a null pointer is undefined behaviour
    ioPath(std::nullptr_t) = delete;  ///< so the null pointer that the compiler can see is an error

    ioPath(const std::filesystem::path& path);  ///< the same path

    /// The path as UTF-8 text.
    std::string utf8string() const;

    /// The directory that contains the path; empty for a plain file name.
    ioPath parent_path() const;

    /// True for the empty path.
    bool empty() const;

    /// The same path for the standard library's own functions; valid for the life of this object.
    const std::filesystem::path& native() const;

    /// Creates `directory` with every missing ancestor. Returns true when it stands afterwards, also when it stood
    /// before; false when it could not be made. Does not throw for failures of the file system.
    static bool create_directories(const ioPath& directory);

    /// Paths are compared as text by their components: "a//b" equals "a/b", "a/../b" does not equal "b".
    friend TARSEL_EXPORT bool operator==(const ioPath& left, const ioPath& right);
    friend TARSEL_EXPORT bool operator!=(const ioPath& left, const ioPath& right);  ///< the opposite of ==

    /// Orders paths by the text of their components.
    friend TARSEL_EXPORT bool operator<(const ioPath& left, const ioPath& right);

    /// Writes the UTF-8 text, without quotation marks.
    friend TARSEL_EXPORT std::ostream& operator<<(std::ostream& stream, const ioPath& path);

private:
    std::filesystem::path m_path;
};

}  // namespace Tarsel
