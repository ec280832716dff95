#pragma once

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <string>

#include <TarselExport/Export.h>

namespace Tarsel
{

/// Holds a file system path as UTF-8 text. Paths can be copied.
///
/// Several threads may read one object at once.
///
/// The text may contain zero bytes, but a system call stops at the first of them. A stream over "a\0.txt" opens, or
/// overwrites, the file "a", although its file name is still the whole text. If a path comes from elsewhere, check it
/// for zero bytes.
class TARSEL_EXPORT ioPath
{
public:
    /// Makes the empty path.
    ioPath() = default;

    /// Makes a path of UTF-8 text, which is taken as it is: nothing is checked, resolved or normalised.
    ioPath(const std::string& utf8);
    ioPath(const char* utf8);         ///< Does the same. A null pointer is undefined behaviour.
    ioPath(std::nullptr_t) = delete;  ///< Rejects `nullptr` at compile time.

    ioPath(const std::filesystem::path& path);  ///< Makes a path that equals `path`.

    /// Returns the path as UTF-8 text.
    std::string utf8string() const;

    /// Returns the directory that contains the path; empty for a plain file name.
    ioPath parent_path() const;

    /// Returns true for the empty path.
    bool empty() const;

    /// Returns the same path for the functions of the standard library. The reference is valid for the life of this
    /// object.
    const std::filesystem::path& native() const;

    /// Creates `directory` with every missing ancestor.
    ///
    /// Returns true if the directory exists afterwards, even if it existed before, and false if it could not be
    /// created. Does not throw for failures of the file system.
    static bool create_directories(const ioPath& directory);

    /// Compares paths by the text of their components: "a//b" equals "a/b", "a/../b" does not equal "b".
    friend TARSEL_EXPORT bool operator==(const ioPath& left, const ioPath& right);
    friend TARSEL_EXPORT bool operator!=(const ioPath& left, const ioPath& right);  ///< Returns the opposite of ==.

    /// Orders paths by the text of their components.
    friend TARSEL_EXPORT bool operator<(const ioPath& left, const ioPath& right);

    /// Writes the UTF-8 text, without quotation marks.
    friend TARSEL_EXPORT std::ostream& operator<<(std::ostream& stream, const ioPath& path);

private:
    std::filesystem::path m_path;
};

}  // namespace Tarsel
