#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <TarselExport/Export.h>
#include <TarselFoundation/IDateServices.h>

namespace Tarsel::Foundation
{

/// Provides the date services of the system that the program runs on. It holds no state.
///
/// Files: both times are the birth time that the kernel reports for the file that opening `path` would reach. Symbolic
/// links are followed. A file system that keeps no birth time gives nothing; no other time is used instead.
///
/// Locale: the formatter uses ICU's default locale at the time of its creation. The locale decides the calendar, the
/// first week of a year and the digits. ICU takes it once from the program's `setlocale(LC_MESSAGES, nullptr)` or, if
/// that is "C", from the environment (LC_ALL, LC_MESSAGES, LANG). A program may set another one. Gregorian dates before
/// 1582-10-15 are Julian ones.
///
/// Texts: Parse reads what Format wrote, in every locale and calendar but the Hebrew one, as far as the pattern shows
/// the date. Without a week, a week-based year ("YYYY") is read as the day's own year. So a day around new year that
/// Format shows with the neighbouring year is read as a day of that year, or as nothing if that year lacks the day.
///
/// Time zone: the C library's, so that dates agree with what other programs of the system show.
/// - Each Parse and Format looks at the environment variable TZ, or at the system's own zone without it.
/// - A local time that occurs twice denotes the later instant. A skipped one is read with the offset that held before
///   the skip.
/// - Zones that count leap seconds ("right/UTC") give the time that they show, except that a second 60 is shown, and
///   read, as one more second 59.
/// - Patterns with zone fields are not supported.
///
/// Threads: several threads may call the services at once, each with a formatter of its own. The calls read the
/// environment, so no thread may change it at the same time.
class TARSEL_EXPORT SystemDateServices : public IDateServices
{
public:
    ~SystemDateServices() override;

    // IDateServices
    std::optional<Instant> GetCreationDate(const std::string& path) override;
    std::optional<std::int64_t> GetBirthTime(const std::string& path) override;
    std::unique_ptr<IDateFormatter> CreateDateFormatter(const std::string& pattern) override;
};

}  // namespace Tarsel::Foundation
