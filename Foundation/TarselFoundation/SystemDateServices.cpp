#include <TarselFoundation/SystemDateServices.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <TarselFoundation/Internal/IcuDateFormatter.h>

namespace Tarsel::Foundation
{

SystemDateServices::~SystemDateServices() = default;

std::optional<Instant> SystemDateServices::GetCreationDate(const std::string& path)
{
    struct statx status = {};
    if (::statx(AT_FDCWD, path.c_str(), AT_STATX_SYNC_AS_STAT, STATX_BTIME, &status) != 0)
    {
        return std::nullopt;
    }
    if ((status.stx_mask & STATX_BTIME) == 0)
    {
        return std::nullopt;
    }
    return Instant{status.stx_btime.tv_sec, static_cast<std::int32_t>(status.stx_btime.tv_nsec)};
}

std::optional<std::int64_t> SystemDateServices::GetBirthTime(const std::string& path)
{
    // This kernel keeps one creation time per file; attributes and status are two names for it.
    const std::optional<Instant> created = SystemDateServices::GetCreationDate(path);
    if (!created)
    {
        return std::nullopt;
    }
    return created->seconds;
}

std::unique_ptr<IDateFormatter> SystemDateServices::CreateDateFormatter(const std::string& pattern)
{
    return CreateIcuDateFormatter(pattern);
}

}  // namespace Tarsel::Foundation
