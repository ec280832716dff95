#pragma once

#include <cstdint>
#include <optional>

namespace Tarsel::Foundation
{

// The local time zone as the C library knows it: TZ, or the system's zone without it, looked at anew on each call.
// Times are in whole seconds since 1970-01-01 00:00:00, of UTC or on the local clock. Nothing is returned for those
// too far away to have a date.

/// The seconds by which the local clock is ahead of UTC at `utc`.
std::optional<std::int64_t> GetLocalOffset(std::int64_t utc);

/// When the local clock shows `local`: the later of two instants where it shows that twice. A time that the clock skips
/// is read with the offset before the skip.
std::optional<std::int64_t> LocalToUtc(std::int64_t local);

}  // namespace Tarsel::Foundation
