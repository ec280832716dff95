#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include <TarselExport/Export.h>

namespace Tarsel::Core
{

/// Holds an MD5 digest (RFC 1321) and the name of what was digested. MD5 detects accidental changes of data. It does
/// not protect against deliberate ones.
struct TARSEL_EXPORT MD5Digest
{
    /// The 16 bytes of the digest, in the order in which they are usually written.
    std::array<std::uint8_t, 16> bytes{};

    /// The text that the caller passed, unchanged. It never influences `bytes`.
    std::string text;

    /// Returns the digest as 32 lowercase hexadecimal digits.
    std::string Hex() const;

    /// Returns true if both the bytes and the text are equal.
    friend TARSEL_EXPORT bool operator==(const MD5Digest& left, const MD5Digest& right);

    /// Returns the opposite of ==.
    friend TARSEL_EXPORT bool operator!=(const MD5Digest& left, const MD5Digest& right);

    /// Writes the line that md5sum prints, without a newline: the hexadecimal digits, two blanks, the text.
    friend TARSEL_EXPORT std::ostream& operator<<(std::ostream& stream, const MD5Digest& digest);
};

/// Digests all of `data` with MD5.
///
/// Returns the digest, which contains `text` as well.
///
/// Throws std::runtime_error if the cryptography library refuses MD5, which some configurations of it do, and what
/// allocation throws.
TARSEL_EXPORT MD5Digest MD5Generate(const std::vector<std::uint8_t>& data, const std::string& text);

}  // namespace Tarsel::Core
