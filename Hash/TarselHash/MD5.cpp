#include <TarselHash/MD5.h>

#include <ostream>
#include <stdexcept>

#include <openssl/err.h>
#include <openssl/evp.h>

namespace Tarsel::Core
{

std::string MD5Digest::Hex() const
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes)
    {
        hex.push_back(kDigits[byte >> 4U]);
        hex.push_back(kDigits[byte & 0x0FU]);
    }
    return hex;
}

bool operator==(const MD5Digest& left, const MD5Digest& right)
{
    return left.bytes == right.bytes && left.text == right.text;
}

bool operator!=(const MD5Digest& left, const MD5Digest& right)
{
    return !(left == right);
}

std::ostream& operator<<(std::ostream& stream, const MD5Digest& digest)
{
    return stream << digest.Hex() << "  " << digest.text;
}

MD5Digest MD5Generate(const std::vector<std::uint8_t>& data, const std::string& text)
{
    MD5Digest digest;
    digest.text = text;
    // The exception reports the failure. An entry left in the thread's error queue would look like a failure of the
    // next operation that uses the cryptography library.
    ERR_set_mark();
    const bool succeeded = EVP_Digest(data.data(), data.size(), digest.bytes.data(), nullptr, EVP_md5(), nullptr) == 1;
    ERR_pop_to_mark();
    if (!succeeded)
    {
        throw std::runtime_error("The cryptography library does not provide MD5");
    }
    return digest;
}

}  // namespace Tarsel::Core
