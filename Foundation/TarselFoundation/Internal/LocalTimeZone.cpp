#include <TarselFoundation/Internal/LocalTimeZone.h>

#include <ctime>

namespace Tarsel::Foundation
{
namespace
{

constexpr std::int64_t kDay = 86'400;

static_assert(sizeof(std::time_t) >= sizeof(std::int64_t), "dates need a time_t of 64 bits");

}  // namespace

std::optional<std::int64_t> GetLocalOffset(std::int64_t utc)
{
    ::tzset();  // localtime_r by itself need not notice that TZ has changed

    const std::time_t time = utc;
    std::tm local = {};
    if (::localtime_r(&time, &local) == nullptr)
    {
        return std::nullopt;
    }
    return local.tm_gmtoff;
}

std::optional<std::int64_t> LocalToUtc(std::int64_t local)
{
    // No clock is a day away from UTC, so a change of the offset that matters lies between these two. mktime is no
    // help: which of two instants it chooses depends on its earlier calls.
    const std::optional<std::int64_t> before = GetLocalOffset(local - kDay);
    const std::optional<std::int64_t> after = GetLocalOffset(local + kDay);
    if (!before || !after)
    {
        return std::nullopt;
    }
    const std::int64_t later = local - *after;
    return GetLocalOffset(later) == after ? later : local - *before;
}

}  // namespace Tarsel::Foundation
