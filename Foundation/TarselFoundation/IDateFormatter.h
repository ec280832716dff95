#pragma once

#include <optional>
#include <string>

#include <TarselExport/Export.h>
#include <TarselFoundation/Instant.h>

namespace Tarsel::Foundation
{

/// Converts instants to local date texts and back, by a pattern that is fixed when the formatter is created. All texts
/// are UTF-8.
///
/// The operations throw what allocation throws. One thread at a time uses a formatter.
class TARSEL_EXPORT IDateFormatter
{
public:
    virtual ~IDateFormatter();

    /// Reads a date text. Returns the instant that the whole of `text` denotes, or nothing if it denotes none.
    virtual std::optional<Instant> Parse(const std::string& text) = 0;

    /// Writes `instant` as text. What the pattern does not show is cut off, never rounded up. Returns nothing if the
    /// instant is too far away to have a date.
    virtual std::optional<std::string> Format(const Instant& instant) = 0;
};

}  // namespace Tarsel::Foundation
