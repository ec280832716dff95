#pragma once

#include <cstdint>

namespace Tarsel::Foundation
{

/// Represents a point in time, exact to the nanosecond. Half a second before 1970 is {-1, 500000000}.
struct Instant
{
    std::int64_t seconds = 0;      ///< since 1970-01-01 00:00:00 UTC, rounded down
    std::int32_t nanoseconds = 0;  ///< 0 to 999,999,999

    /// Returns true if both instants are equal to the nanosecond.
    friend constexpr bool operator==(const Instant& left, const Instant& right)
    {
        return left.seconds == right.seconds && left.nanoseconds == right.nanoseconds;
    }
};

}  // namespace Tarsel::Foundation
