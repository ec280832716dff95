#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <TarselExport/Export.h>
#include <TarselFoundation/IDateFormatter.h>
#include <TarselFoundation/Instant.h>

namespace Tarsel::Foundation
{

/// What the library asks of the platform to tell when a file was created. Implement it for a platform with other
/// services, or to script them in a test; SystemDateServices is the one that is used otherwise. Paths and texts are
/// UTF-8. A service that cannot answer returns nothing; what it throws reaches whoever asked for the date.
class TARSEL_EXPORT IDateServices
{
public:
    virtual ~IDateServices();

    /// The creation date among the attributes of the file at `path`, with its fraction of a second. Nothing when the
    /// attributes cannot be read or hold no creation date.
    virtual std::optional<Instant> GetCreationDate(const std::string& path) = 0;

    /// The birth time in the status of the file at `path`, in whole seconds since 1970-01-01 00:00:00 UTC, rounded
    /// down. Nothing when the status cannot be read or holds no birth time.
    virtual std::optional<std::int64_t> GetBirthTime(const std::string& path) = 0;

    /// Makes a formatter for `pattern`, which is written in the date field symbols of UTS #35, for the current locale
    /// and the local time zone. Null when there is none for that pattern.
    virtual std::unique_ptr<IDateFormatter> CreateDateFormatter(const std::string& pattern) = 0;
};

}  // namespace Tarsel::Foundation
