#pragma once

#include <cstdint>

#include <TarselIO/ioSize.h>

namespace Tarsel::Core
{

// The standard I/O library takes positions as `long`.
static_assert(sizeof(long) == sizeof(std::int64_t), "file positions need 64 bits");

/// Returns `data`, or `standIn` for a transfer of 0 bytes: the call is made, but never with a null pointer.
template <typename Byte>
Byte* NotNull(Byte* data, ioSize size, Byte* standIn)
{
    return size != 0 ? data : standIn;
}

}  // namespace Tarsel::Core
