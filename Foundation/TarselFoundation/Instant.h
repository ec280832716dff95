#pragma once

#include <cstdint>

namespace Tarsel::Foundation
{

/// A point in time, exact to the nanosecond: `seconds` since 1970-01-01 00:00:00 UTC, rounded down, and the rest of 0
/// to 999,999,999 `nanoseconds`. Half a second before 1970 is {-1, 500000000}.
struct Instant
{
    std::int64_t seconds = 0;
    std::int32_t nanoseconds = 0;

    friend constexpr bool operator==(const Instant& left, const Instant& right)
    {
        return left.seconds == right.seconds && left.nanoseconds == right.nanoseconds;
    }

    friend constexpr bool operator!=(const Instant& left, const Instant& right) { return !(left == right); }
};

}  // namespace Tarsel::Foundation
