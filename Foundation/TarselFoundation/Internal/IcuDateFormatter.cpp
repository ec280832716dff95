#include <TarselFoundation/Internal/IcuDateFormatter.h>

#include <cmath>
#include <cstdint>
#include <new>
#include <string_view>

#include <unicode/locid.h>
#include <unicode/parsepos.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <TarselFoundation/Internal/LocalTimeZone.h>

namespace Tarsel::Foundation
{
namespace
{

constexpr std::int32_t kNanosecondsPerMillisecond = 1'000'000;
constexpr std::u16string_view kYearsAndWeek = u"yuUrw";
constexpr double kMillisecondsPerSecond = 1000.0;

// ICU reports exhausted memory by codes and "bogus" strings; here it is std::bad_alloc as everywhere else.
icu::UnicodeString RequireMemory(icu::UnicodeString text)
{
    if (text.isBogus() != 0)
    {
        throw std::bad_alloc();  // GCOVR_EXCL_LINE: ICU does not survive all of its own failed allocations
    }
    return text;
}

bool Succeeded(UErrorCode status)
{
    if (status == U_MEMORY_ALLOCATION_ERROR)
    {
        throw std::bad_alloc();  // GCOVR_EXCL_LINE: as above
    }
    return U_SUCCESS(status) != 0;
}

// Returns the pattern by which texts of `pattern` are read. Only ICU's Gregorian calendar finds a day by its month and
// its week-based year, and takes that year for the day's own. If the year is written as `u`, the other calendars do the
// same. Patterns that show another year or the week need no such help, and a year of two digits would lose its century.
icu::UnicodeString ReadingPattern(const icu::UnicodeString& pattern)
{
    icu::UnicodeString reading = pattern;
    bool quoted = false;
    int digits = 0;
    for (std::int32_t i = 0; i < reading.length(); ++i)
    {
        const char16_t symbol = reading.charAt(i);
        quoted = quoted != (symbol == u'\'');
        if (!quoted && kYearsAndWeek.find(symbol) != std::u16string_view::npos)
        {
            return pattern;
        }
        if (!quoted && symbol == u'Y')
        {
            reading.setCharAt(i, u'u');
            ++digits;
        }
    }
    return digits == 2 ? pattern : reading;
}

// Leaves the calendar and the text to ICU, with its clock held at UTC: ICU receives and returns the time on the local
// clock as if that were UTC. The C library converts between the two, since ICU's own zones come with a second, often
// older set of rules, do not know POSIX rules such as "CET-1CEST,M3.5.0,M10.5.0/3", and read "GMT+3" as east of
// Greenwich while everything else in the system reads it as west.
class IcuDateFormatter final : public IDateFormatter
{
public:
    IcuDateFormatter(const std::string& pattern, UErrorCode& status)
        : m_pattern(RequireMemory(icu::UnicodeString::fromUTF8(pattern))),
          m_readingPattern(RequireMemory(ReadingPattern(m_pattern))),
          m_format(m_pattern, icu::Locale::getDefault(), status)
    {
        m_format.setTimeZone(*icu::TimeZone::getGMT());
        m_format.setLenient(static_cast<UBool>(false));  // rejects a month 13 and years that ICU would clamp
    }

    // IDateFormatter
    std::optional<Instant> Parse(const std::string& text) override;
    std::optional<std::string> Format(const Instant& instant) override;

private:
    icu::UnicodeString m_pattern;
    icu::UnicodeString m_readingPattern;
    icu::SimpleDateFormat m_format;  // has the pattern of the last operation; creating another one is slow
};

std::optional<Instant> IcuDateFormatter::Parse(const std::string& text)
{
    const icu::UnicodeString source = RequireMemory(icu::UnicodeString::fromUTF8(text));
    icu::ParsePosition position(0);
    m_format.applyPattern(m_readingPattern);
    const UDate localMilliseconds = m_format.parse(source, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != source.length())
    {
        return std::nullopt;
    }

    const double localSeconds = std::floor(localMilliseconds / kMillisecondsPerSecond);
    const auto milliseconds = static_cast<std::int32_t>(localMilliseconds - localSeconds * kMillisecondsPerSecond);
    const std::optional<std::int64_t> seconds = LocalToUtc(static_cast<std::int64_t>(localSeconds));
    if (!seconds)
    {
        return std::nullopt;
    }
    return Instant{*seconds, milliseconds * kNanosecondsPerMillisecond};
}

std::optional<std::string> IcuDateFormatter::Format(const Instant& instant)
{
    const std::optional<std::int64_t> localSeconds = UtcToLocal(instant.seconds);
    if (!localSeconds)
    {
        return std::nullopt;
    }

    const std::int32_t milliseconds = instant.nanoseconds / kNanosecondsPerMillisecond;
    icu::UnicodeString text;
    UErrorCode status = U_ZERO_ERROR;
    m_format.applyPattern(m_pattern);
    m_format.format(static_cast<double>(*localSeconds) * kMillisecondsPerSecond + milliseconds, text, nullptr, status);
    if (!Succeeded(status))
    {
        return std::nullopt;
    }
    std::string utf8;
    return RequireMemory(text).toUTF8String(utf8);
}

}  // namespace

std::unique_ptr<IDateFormatter> CreateIcuDateFormatter(const std::string& pattern)
{
    UErrorCode status = U_ZERO_ERROR;
    auto formatter = std::make_unique<IcuDateFormatter>(pattern, status);
    if (!Succeeded(status))
    {
        return nullptr;  // GCOVR_EXCL_LINE: needs an ICU without its data
    }
    return formatter;
}

}  // namespace Tarsel::Foundation
