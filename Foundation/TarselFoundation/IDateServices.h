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

/// Provides what the library needs of the platform to find out when a file was created. Implement it for a platform
/// with other services, or to script them in a test. SystemDateServices is used otherwise. Paths and texts are UTF-8.
///
/// A service that has no answer returns nothing. What it throws reaches the code that asked for the date.
class TARSEL_EXPORT IDateServices
{
public:
    virtual ~IDateServices();

    /// Returns the creation date among the attributes of the file at `path`, with its fraction of a second. Returns
    /// nothing if the attributes cannot be read or contain no creation date.
    virtual std::optional<Instant> GetCreationDate(const std::string& path) = 0;

    /// Returns the birth time in the status of the file at `path`, in whole seconds since 1970-01-01 00:00:00 UTC,
    /// rounded down. Returns nothing if the status cannot be read or contains no birth time.
    virtual std::optional<std::int64_t> GetBirthTime(const std::string& path) = 0;

    /// Creates a formatter for `pattern`, for the current locale and the local time zone. The pattern is written in the
    /// date field symbols of UTS #35. Returns null if there is no formatter for that pattern.
    virtual std::unique_ptr<IDateFormatter> CreateDateFormatter(const std::string& pattern) = 0;
};

}  // namespace Tarsel::Foundation
