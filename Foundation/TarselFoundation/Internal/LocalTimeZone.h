#pragma once

#include <cstdint>
#include <optional>

namespace Tarsel::Foundation
{

// The local time zone as the C library knows it: TZ, or the system's zone without it, looked at on each call.
// Times are in whole seconds since 1970-01-01 00:00:00, of UTC or on the local clock. The functions return nothing for
// times too far away to have a date.

/// Returns what the local clock shows at `utc`. A leap second, which the clocks of some zones show as second 60, counts
/// as one more second 59.
std::optional<std::int64_t> UtcToLocal(std::int64_t utc);

/// Returns when the local clock shows `local`: the later of two instants if it shows that twice. A time that the clock
/// skips is read with the offset before the skip.
std::optional<std::int64_t> LocalToUtc(std::int64_t local);

}  // namespace Tarsel::Foundation
