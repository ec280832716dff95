#pragma once

#include <cstdint>

#include <TarselIO/IDataOutput.h>
#include <TarselPointer/SP.h>

namespace Tarsel::Core
{

/// Writes values of up to 8 bits, bit by bit, to a seekable stream, the most significant bit first. DataBitInput reads
/// the values back with the same counts. The writer is a plain object that the caller owns.
///
/// `WriteBits(1000, 10)` would write 232, the low 8 bits. Write a wider value in pieces, the top one first:
///
/// ```cpp
/// for (; count > 8; count -= 8)  // count is at most 64
/// {
///     bits.WriteBits(static_cast<uint8_t>(value >> (count - 8)), 8);
/// }
/// bits.WriteBits(static_cast<uint8_t>(value), count);
/// ```
///
/// Each completed byte is written at once by one Write of 1 byte, whose result is ignored. An exception from that Write
/// passes through. The byte is then kept and written again by the next call that appends at least one bit. Bits of an
/// incomplete byte reach the stream only through Flush: a writer that is destroyed drops them.
///
/// One thread at a time uses it.
class TARSEL_EXPORT DataBitOutput
{
public:
    /// Writes from the current position of `output`, which is not null. Holds one reference to it.
    explicit DataBitOutput(const SP<IDataOutput>& output);

    /// Appends the low `count` bits of `value`, the most significant of them first. `value` has 8 bits, to which a
    /// larger argument is cut. A `count` above 8 puts zero bits in front of them.
    void WriteBits(uint8_t value, ioSize count)
    {
        while (count != 0)
        {
            const ioSize take = count < m_free ? count : m_free;
            count -= take;

            // With a count above 8, the first bits come from above the value and are 0.
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

    /// Appends `size` bytes, each like WriteBits(byte, 8). The writer need not be at a byte boundary.
    void WriteData(const uint8_t* data, ioSize size)
    {
        for (ioSize i = 0; i != size; ++i)
        {
            WriteBits(data[i], kBitsPerByte);
        }
    }

    /// Fills an incomplete byte with zero bits and writes it. Does nothing at a byte boundary or while a byte waits to
    /// be written again.
    void Flush();

private:
    static constexpr ioSize kBitsPerByte = 8;

    /// Writes the full byte. If that throws, the byte stays full, and the next append writes it first.
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
