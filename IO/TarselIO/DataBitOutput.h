#pragma once

#include <cstdint>

#include <TarselIO/IDataOutput.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Writes values of up to 8 bits, bit by bit, to a seekable stream. The most significant bit goes first; DataBitInput
/// reads the values back with the same counts. A plain object of the caller's, used by one thread at a time.
///
/// A wider value is written in pieces, the top one first. `WriteBits(1000, 10)` would write 232, the low 8 bits:
///
/// ```cpp
/// for (; count > 8; count -= 8)  // count is at most 64
/// {
///     bits.WriteBits(static_cast<uint8_t>(value >> (count - 8)), 8);
/// }
/// bits.WriteBits(static_cast<uint8_t>(value), count);
/// ```
///
/// Each completed byte goes out at once by one Write of 1 byte, whose result is not looked at. What that Write throws
/// passes through; the byte is then kept and written again by the next call that appends at least one bit. Bits
/// of an incomplete byte reach the stream only through Flush: a writer that is destroyed drops them.
class TARSEL_EXPORT DataBitOutput
{
public:
    /// Writes to wherever `output`, which is not null, stands. Holds one reference to it.
    explicit DataBitOutput(const SP<IDataOutput>& output);

    /// Appends the low `count` bits of `value`, the most significant of them first. `value` has 8 bits, to which a
    /// larger argument is cut; a `count` above 8 puts zero bits in front of them.
    void WriteBits(uint8_t value, ioSize count)
    {
        while (count != 0)
        {
            const ioSize take = count < m_free ? count : m_free;
            count -= take;
            // Of a count above 8 the bits on top lie above the value.
            const unsigned shifted = count < kBitsPerByte ? static_cast<unsigned>(value) >> count : 0U;
            m_partial =
                static_cast<uint8_t>(static_cast<unsigned>(m_partial) << take | (shifted & ((1U << take) - 1U)));
            m_free -= take;
            if (m_free == 0)
            {
                WriteCompleted();
            }
        }
    }

    /// Appends `size` bytes, each like WriteBits(byte, 8), wherever in a byte the writer stands.
    void WriteData(const uint8_t* data, ioSize size)
    {
        for (ioSize i = 0; i != size; ++i)
        {
            WriteBits(data[i], kBitsPerByte);
        }
    }

    /// Fills an incomplete byte up with zero bits and writes it. Does nothing at a byte boundary, nor while a byte
    /// waits to be written again.
    void Flush();

private:
    static constexpr ioSize kBitsPerByte = 8;

    /// Writes the full byte. If that throws, the byte stays full and the next append comes here first.
    void WriteCompleted()
    {
        m_output->Write(&m_partial, 1);
        m_free = kBitsPerByte;
        m_partial = 0;
    }

    SP<IDataOutput> m_output;
    uint8_t m_partial;     // the pending bits, in its low positions
    std::uint64_t m_free;  // 1 to 8: how many bits m_partial can still take; 0 only after a write that threw
};

}  // namespace Tarsel::Core
