#pragma once

#include <cstdint>
#include <cstdio>
#include <stdio_ext.h>

namespace Tarsel::Core
{

// The standard I/O library takes positions as `long`.
static_assert(sizeof(long) == sizeof(std::int64_t), "file positions need 64 bits");

/// Stands in for the data of a transfer of 0 bytes: the call is made, but never with a null pointer.
template <typename Byte>
Byte* NotNull(Byte* data, Byte* standIn)
{
    return data != nullptr ? data : standIn;
}

/// Spares `file` the locking of each call: one thread at a time uses a stream, by contract.
inline void UseUnlocked(std::FILE* file)
{
    __fsetlocking(file, FSETLOCKING_BYCALLER);
}

}  // namespace Tarsel::Core
