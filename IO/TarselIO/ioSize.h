#pragma once

namespace Tarsel::Core
{

/// Counts bytes: sizes, positions (counted from 0) and transfer lengths. It is unsigned and has 64 bits.
using ioSize = unsigned long long;

static_assert(sizeof(ioSize) == 8, "sizes and positions are 64 bits wide");

}  // namespace Tarsel::Core
