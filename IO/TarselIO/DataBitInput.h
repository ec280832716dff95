#pragma once

#include <cstdint>

#include <TarselIO/IDataInput.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Reads values of any width up to 64 bits from a seekable stream, the most significant bit first; DataBitOutput is
/// its writing twin. A plain object of the caller's, used by one thread at a time.
///
/// Each byte is fetched by one Read of 1 byte, and only when a bit of it is needed. The reader never seeks: whoever
/// else moves the stream between calls shifts what the reader sees.
class TARSEL_EXPORT DataBitInput
{
public:
    /// Reads from wherever `input`, which is not null, stands. Holds one reference to it.
    explicit DataBitInput(const SP<IDataInput>& input);

    /// Takes the next `count` bits, 0 to 64, and returns them as a number, the first bit taken on top. Of more than 64
    /// bits the last 64 are returned.
    /// Throws IOException without records when the stream ends before that; bits taken by this call are then lost.
    /// What the stream's Read throws passes through.
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

    /// The step behind ReadBits: takes `count` bits, 0 to 8, of the current byte, fetching one first (also for 0 bits)
    /// if all of it has been taken. It never reaches into the next byte: asked for more than is unread it takes what
    /// is. Throws IOException without records for more than 8 bits, before anything else, and at the end of the stream.
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

    /// How many bits can still be read: the rest of the current byte and what the stream has left. Means nothing while
    /// the stream stands past its size, as file streams can.
    std::uint64_t BitsLeft() const;

    /// Drops the rest of the current byte. Does nothing at a byte boundary.
    void SkipBitsToNextByte() { m_unread = 0; }

private:
    static constexpr ioSize kBitsPerByte = 8;

    /// Fetches the next byte; only called when nothing is unread.
    void Fetch()
    {
        if (m_input->Read(&m_byte, 1) != 1)
        {
            RaiseEndOfStream();
        }
        m_unread = kBitsPerByte;
    }

    /// Takes `count` bits of the current byte, no more than are unread.
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
