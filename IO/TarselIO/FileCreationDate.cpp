#include <TarselIO/FileCreationDate.h>

#include <cstdint>
#include <optional>

#include <TarselFoundation/IDateServices.h>
#include <TarselFoundation/SystemDateServices.h>

namespace Tarsel::Core
{
namespace
{

constexpr char kPattern[] = "YYYY-MM-dd kk:mm:ss";

// The time at which the clock of some file systems begins. Their attributes contain it if no date was recorded.
constexpr char kUnknownDate[] = "1904-01-01 00:00:00";

// Returns nothing as soon as one service has no answer.
std::optional<std::string> DescribeCreationDate(const std::string& path, Foundation::IDateServices& services)
{
    std::optional<Foundation::Instant> date = services.GetCreationDate(path);
    if (!date)
    {
        return std::nullopt;
    }
    const auto formatter = services.CreateDateFormatter(kPattern);
    if (!formatter)
    {
        return std::nullopt;
    }
    const std::optional<Foundation::Instant> unknown = formatter->Parse(kUnknownDate);
    if (!unknown)
    {
        return std::nullopt;
    }
    if (*date == *unknown)
    {
        const std::optional<std::int64_t> birth = services.GetBirthTime(path);
        if (!birth)
        {
            return std::nullopt;
        }
        date = Foundation::Instant{*birth, 0};
    }
    return formatter->Format(*date);
}

}  // namespace

std::string GetFileCreationDateString(const ioPath& path)
{
    Foundation::SystemDateServices services;
    return GetFileCreationDateString(path, services);
}

std::string GetFileCreationDateString(const ioPath& path, Foundation::IDateServices& services)
{
    return DescribeCreationDate(path.utf8string(), services).value_or(std::string());
}

}  // namespace Tarsel::Core
