#pragma once

#include <cstdint>
#include <cstring>

#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

/// Copies 2 to 16 bytes by two moves of a fixed size, which may copy the middle twice.
inline void CopyFewBytes(uint8_t* to, const uint8_t* from, ioSize count)
{
    const auto copyBothEnds = [=](auto block)
    {
        auto last = block;
        std::memcpy(&block, from, sizeof(block));
        std::memcpy(&last, from + count - sizeof(last), sizeof(last));
        std::memcpy(to, &block, sizeof(block));
        std::memcpy(to + count - sizeof(last), &last, sizeof(last));
    };
    if (count >= sizeof(std::uint64_t))
    {
        copyBothEnds(std::uint64_t{0});
    }
    else if (count >= sizeof(std::uint32_t))
    {
        copyBothEnds(std::uint32_t{0});
    }
    else
    {
        copyBothEnds(std::uint16_t{0});
    }
}

/// Copies many bytes. Not inline, so that the callers of CopyBytes need no stack frame for their shortest copies.
[[gnu::noinline]] inline ioSize CopyManyBytes(uint8_t* to, const uint8_t* from, ioSize count)
{
    std::memcpy(to, from, count);
    return count;
}

/// Copies `count` bytes between places that do not overlap. For 0 bytes both pointers may be null. Returns `count`.
inline ioSize CopyBytes(uint8_t* to, const uint8_t* from, ioSize count)
{
    // The bit streams move single bytes, and many callers move one number at a time. A call of memcpy would be most of
    // that work.
    if (count == 1)
    {
        *to = *from;
    }
    else if (count > 2 * sizeof(std::uint64_t))
    {
        return CopyManyBytes(to, from, count);
    }
    else if (count != 0)
    {
        CopyFewBytes(to, from, count);
    }
    return count;
}

}  // namespace Tarsel::Core
