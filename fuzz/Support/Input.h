#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

/// Turns the bytes of an input into decisions, from front to back. Past the end every decision is 0, so that every
/// input is valid; a sequence of operations continues until the input is empty.
class Input
{
public:
    Input(const uint8_t* data, std::size_t size) : m_next(data), m_left(size) {}

    bool Empty() const { return m_left == 0; }

    /// Takes at most `size` of the bytes that are left.
    std::string Take(std::size_t size)
    {
        const std::size_t count = std::min(size, m_left);
        m_next += count;
        m_left -= count;
        return {m_next - count, m_next};
    }

    /// Takes a number of this many bytes, in the machine's byte order.
    std::uint64_t Number(std::size_t bytes)
    {
        std::uint64_t number = 0;
        Take(bytes).copy(reinterpret_cast<char*>(&number), bytes);
        return number;
    }

    /// Takes a number from 0 to `limit` - 1; `limit` is at most 256.
    unsigned Below(unsigned limit) { return static_cast<unsigned>(Number(1)) % limit; }

    /// Takes up to 255 bytes; a byte before them holds their number.
    std::string Text() { return Take(Number(1)); }

    /// Takes a size or position worth trying: around `edge`, below 64 Ki, or more than memory holds, up to the limits
    /// of 63 and 64 bits.
    std::uint64_t Size(std::uint64_t edge)
    {
        constexpr std::uint64_t half = std::uint64_t{1} << 63;
        const std::uint64_t more = Below(4);
        const std::uint64_t any = Number(2);
        return std::array{any,
                          any % 256,
                          edge + more,
                          edge - std::min(edge, more),
                          half / 256,
                          half - 2 + more,
                          UINT64_MAX - more,
                          UINT64_MAX - edge + more}
            .at(Below(8));
    }

private:
    const uint8_t* m_next;
    std::size_t m_left;
};

/// Runs one input; each fuzzer defines it. A finding ends the process.
void Fuzz(Input& input);

/// In the fuzzers `new` throws std::bad_alloc for this many bytes or more, so that an input with a huge size costs
/// nothing, on any machine and with any sanitizer.
constexpr std::size_t kMemoryLimit = std::size_t{1} << 26;
