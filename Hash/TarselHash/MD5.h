#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include <TarselExport/Export.h>

namespace Tarsel::Core
{

/// An MD5 digest (RFC 1321) and the name of what was digested. MD5 tells equal data from data changed by accident; it
/// is no protection against anybody who changes data on purpose.
struct TARSEL_EXPORT MD5Digest
{
    /// The 16 bytes of the digest, in the order in which they are usually written.
    std::array<std::uint8_t, 16> bytes{};

    /// The text that was handed in, unchanged. It never has an influence on `bytes`.
    std::string text;

    /// The digest as 32 lowercase hexadecimal digits.
    std::string Hex() const;

    /// Equal when both the bytes and the text are.
    friend TARSEL_EXPORT bool operator==(const MD5Digest& left, const MD5Digest& right);
    friend TARSEL_EXPORT bool operator!=(const MD5Digest& left, const MD5Digest& right);  ///< the opposite of ==

    /// Writes the line that md5sum prints, without a newline: the hexadecimal digits, two blanks, the text.
    friend TARSEL_EXPORT std::ostream& operator<<(std::ostream& stream, const MD5Digest& digest);
};

/// Digests all of `data`; `text` is carried along. Throws std::runtime_error when the cryptography library refuses
/// MD5 (some are configured to), and what allocation throws.
TARSEL_EXPORT MD5Digest MD5Generate(const std::vector<std::uint8_t>& data, const std::string& text);

}  // namespace Tarsel::Core
