#pragma once

#include <optional>
#include <string>

#include <TarselExport/Export.h>
#include <TarselFoundation/Instant.h>

namespace Tarsel::Foundation
{

/// Turns instants into local date texts and back, by a pattern that is fixed when the formatter is made. All texts are
/// UTF-8. Used by one thread at a time; what allocation throws passes through.
class TARSEL_EXPORT IDateFormatter
{
public:
    virtual ~IDateFormatter();

    /// The instant that the whole of `text` denotes; nothing when it denotes none.
    virtual std::optional<Instant> Parse(const std::string& text) = 0;

    /// `instant` as text. What the pattern does not show is cut off, never rounded up. Nothing when the instant is too
    /// far away to have a date.
    virtual std::optional<std::string> Format(const Instant& instant) = 0;
};

}  // namespace Tarsel::Foundation
