#pragma once

#include <cstdint>

#include <TarselIO/IDataInput.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Reads values of any width up to 64 bits from a seekable stream, the most significant bit first. DataBitOutput writes
/// them. The reader is a plain object that the caller owns.
///
/// Each byte is fetched by one Read of 1 byte, and only when a bit of it is needed. The reader never seeks: code that
/// moves the stream between calls shifts what the reader sees.
///
/// One thread at a time uses it.
class TARSEL_EXPORT DataBitInput
{
public:
    /// Reads from the current position of `input`, which is not null. Holds one reference to it.
    explicit DataBitInput(const SP<IDataInput>& input);

    /// Takes the next `count` bits, 0 to 64.
    ///
    /// Returns them as a number whose most significant bit is the first bit taken. Of more than 64 bits it returns the
    /// last 64.
    ///
    /// Throws IOException without records if the stream ends before that; bits taken by this call are then lost. Also
    /// throws what the stream's Read throws.
    std::uint64_t ReadBits(ioSize count)
    {
        if (count <= m_unread)
        {
            return Take(count);
        }
        count -= m_unread;
        std::uint64_t bits = Take(m_unread);
        for (; count > kBitsPerByte; count -= kBitsPerByte)
        {
            Fetch();
            bits = bits << kBitsPerByte | Take(kBitsPerByte);
        }
        Fetch();
        return bits << count | Take(count);
    }

    /// Takes `count` bits, 0 to 8, of the current byte. If all of that byte has been taken, it fetches the next one
    /// first, also for 0 bits. ReadBits works in such steps.
    ///
    /// Returns the bits as a number. It never reaches into the following byte: if fewer than `count` bits are unread,
    /// it takes those.
    ///
    /// Throws IOException without records for more than 8 bits, before anything else, and at the end of the stream.
    uint8_t ReadBitsInt(ioSize count)
    {
        if (count > kBitsPerByte)
        {
            RaiseTooManyBits();
        }
        if (m_unread == 0)
        {
            Fetch();
        }
        return Take(m_unread < count ? m_unread : count);
    }

    /// Returns how many bits can still be read: the rest of the current byte and what the stream has left. The result
    /// means nothing while the stream's position is past its size, which file streams allow.
    std::uint64_t BitsLeft() const;

    /// Drops the rest of the current byte. Does nothing at a byte boundary.
    void SkipBitsToNextByte() { m_unread = 0; }

private:
    static constexpr ioSize kBitsPerByte = 8;

    /// Fetches the next byte. Only called when nothing is unread.
    void Fetch()
    {
        if (m_input->Read(&m_byte, 1) != 1)
        {
            RaiseEndOfStream();
        }
        m_unread = kBitsPerByte;
    }

    /// Takes `count` bits of the current byte, at most as many as are unread.
    uint8_t Take(ioSize count)
    {
        m_unread -= count;
        return static_cast<uint8_t>((m_byte >> m_unread) & ((1U << count) - 1U));
    }

    [[noreturn]] static void RaiseTooManyBits();
    [[noreturn]] static void RaiseEndOfStream();

    SP<IDataInput> m_input;
    uint8_t m_byte;
    std::uint64_t m_unread;  // 0 to 8: the low bits of m_byte that have not been taken
};

}  // namespace Tarsel::Core
