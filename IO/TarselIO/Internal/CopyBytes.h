#pragma once

#include <cstdint>
#include <cstring>

#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

/// Copies `count` bytes between places that do not overlap. For 0 bytes both pointers may be null.
inline void CopyBytes(uint8_t* to, const uint8_t* from, ioSize count)
{
    // The bit streams move byte after byte; a call of memcpy would be most of that work.
    if (count == 1)
    {
        *to = *from;
    }
    else if (count != 0)
    {
        std::memcpy(to, from, count);
    }
}

}  // namespace Tarsel::Core
