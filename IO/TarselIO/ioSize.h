#pragma once

namespace Tarsel::Core
{

/// A count of bytes: sizes, positions (counted from 0) and transfer lengths. Unsigned, 64 bits.
using ioSize = unsigned long long;

static_assert(sizeof(ioSize) == 8, "sizes and positions are 64 bits wide");

}  // namespace Tarsel::Core
