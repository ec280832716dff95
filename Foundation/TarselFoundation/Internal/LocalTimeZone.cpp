#include <TarselFoundation/Internal/LocalTimeZone.h>

#include <algorithm>
#include <ctime>

namespace Tarsel::Foundation
{
namespace
{

constexpr std::int64_t kDay = 86'400;

static_assert(sizeof(std::time_t) >= sizeof(std::int64_t), "dates need a time_t of 64 bits");

/// Returns the days from 1970-01-01 to the first day of `year`, for every year that a std::tm can hold.
std::int64_t DaysToYear(std::int64_t year)
{
    constexpr std::int64_t kCycles = 6'000'000;  // each of 400 years, after which the leap years are the same again
    constexpr std::int64_t kCycleDays = 146'097;
    constexpr std::int64_t kDaysFromYear1To1970 = 719'162;

    const std::int64_t passed = kCycles * 400 + year - 1;  // never negative, so that each division rounds down
    return passed * 365 + passed / 4 - passed / 100 + passed / 400 - kCycles * kCycleDays - kDaysFromYear1To1970;
}

/// Returns the seconds by which the local clock is ahead of `utc`.
std::optional<std::int64_t> GetLocalOffset(std::int64_t utc)
{
    const std::optional<std::int64_t> local = UtcToLocal(utc);
    return local ? std::optional(*local - utc) : std::nullopt;
}

}  // namespace

std::optional<std::int64_t> UtcToLocal(std::int64_t utc)
{
    ::tzset();  // localtime_r by itself need not notice that TZ has changed

    const std::time_t time = utc;
    std::tm local = {};
    if (::localtime_r(&time, &local) == nullptr)
    {
        return std::nullopt;
    }
    // tm_gmtoff leaves out the leap seconds that some zones count, and timegm would count them once more.
    const std::int64_t days = DaysToYear(std::int64_t{local.tm_year} + 1900) + local.tm_yday;
    const std::int64_t minutes = (days * 24 + local.tm_hour) * 60 + local.tm_min;
    return minutes * 60 + std::min(local.tm_sec, 59);
}

std::optional<std::int64_t> LocalToUtc(std::int64_t local)
{
    // No clock is a day away from UTC, so a change of the offset that matters is between these two. mktime does not
    // help: which of two instants it chooses depends on its earlier calls.
    const std::optional<std::int64_t> before = GetLocalOffset(local - kDay);
    const std::optional<std::int64_t> after = GetLocalOffset(local + kDay);
    if (!before || !after)
    {
        return std::nullopt;
    }
    const std::int64_t later = local - *after;
    return UtcToLocal(later) == local ? later : local - *before;
}

}  // namespace Tarsel::Foundation
