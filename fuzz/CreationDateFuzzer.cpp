// Compares creation dates, from services that report them or fail, in several locales and time zones, with the C
// library's calendar.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <optional>
#include <string>

#include <unicode/locid.h>

#include <Support/Check.h>
#include <Support/Input.h>
#include <TarselFoundation/SystemDateServices.h>
#include <TarselIO/FileCreationDate.h>

using namespace Tarsel::Foundation;

namespace
{

// The first three locales have the calendar and the digits of the model, and the first one has American weeks.
constexpr std::array kLocales = {"en_US", "de_DE", "en_GB", "ar_EG", "fa_IR", "th_TH", "ja_JP@calendar=japanese"};
constexpr std::array kZones = {
    "UTC", "Europe/Berlin", "Australia/Lord_Howe", "Pacific/Apia", "CET-1CEST,M3.5.0,M10.5.0/3"};
constexpr char kPattern[] = "YYYY-MM-dd kk:mm:ss";
constexpr std::int64_t kFirst = -12'000'000'000;  // in 1589: dates before 1582 are Julian
constexpr std::int64_t kLast = 250'000'000'000;   // in 9892

struct Services : SystemDateServices
{
    std::optional<Instant> GetCreationDate(const std::string& /*path*/) override { return created; }
    std::optional<std::int64_t> GetBirthTime(const std::string& /*path*/) override { return ++births, birth; }
    std::unique_ptr<IDateFormatter> CreateDateFormatter(const std::string& pattern) override
    {
        return hasFormatter ? SystemDateServices::CreateDateFormatter(pattern) : nullptr;
    }

    std::optional<Instant> created;
    std::optional<std::int64_t> birth;
    bool hasFormatter = true;
    unsigned births = 0;
};

std::optional<std::int64_t> Seconds(Input& input)
{
    const unsigned kind = input.Below(8);
    const std::uint64_t number = input.Number(kind < 4 ? 4 : 8);
    switch (kind)
    {
        case 0:
            return std::nullopt;
        case 1:
            return static_cast<std::int64_t>(number);
        case 2:
            return static_cast<std::int32_t>(number);
        default:
            return kFirst + static_cast<std::int64_t>(number % static_cast<std::uint64_t>(kLast - kFirst));
    }
}

/// Returns the date that the C library gives. American weeks begin on Sundays, the others are those of ISO 8601.
std::string TextOf(std::int64_t seconds, bool american)
{
    const std::time_t time = seconds;
    std::tm local = {};
    ::localtime_r(&time, &local);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), american ? "%Y" : "%G", &local);
    const bool inNextYear = american && local.tm_mon == 11 && local.tm_mday + 6 - local.tm_wday > 31;
    const std::string year = std::to_string(std::stoi(text.data()) + (inNextYear ? 1 : 0));
    std::strftime(text.data(), text.size(), local.tm_hour == 0 ? "-%m-%d 24:%M:%S" : "-%m-%d %H:%M:%S", &local);
    return year + text.data();
}

}  // namespace

void Fuzz(Input& input)
{
    const unsigned locale = input.Below(kLocales.size());
    ::setenv("TZ", kZones.at(input.Below(kZones.size())), 1);
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale(kLocales.at(locale)), status);
    const auto formatter = SystemDateServices().CreateDateFormatter(kPattern);
    const std::optional<Instant> unknown = formatter->Parse("1904-01-01 00:00:00");
    while (!input.Empty())
    {
        formatter->Parse(input.Text());
        Services services;
        services.hasFormatter = input.Below(16) != 1;
        services.birth = Seconds(input);
        const std::optional<std::int64_t> seconds = Seconds(input);
        services.created = seconds ? std::optional(Instant{*seconds, 999'999'999}) : unknown;
        const std::string text = Tarsel::Core::GetFileCreationDateString("file", services);
        const bool usesBirth = !seconds && unknown && services.hasFormatter;
        Check("questions for the birth time", services.births, usesBirth ? 1 : 0);
        const std::optional<std::int64_t> shown = usesBirth ? services.birth : seconds;
        if (!shown || !services.hasFormatter || !unknown)
        {
            Check("no date", text, "");
        }
        else if (locale <= 2 && *shown >= kFirst && *shown <= kLast)
        {
            Check("date", text, TextOf(*shown, locale == 0));
            // Parsed back, a time that occurs twice is the later one.
            const Instant parsed = formatter->Parse(text).value_or(Instant{});
            const bool newYear = text.substr(5, 5) > "12-24" || text.substr(5, 5) < "01-08";  // another year's week
            Check("Parse gives the later time", newYear || parsed.seconds >= *shown, 1);
            Check("the date parsed", newYear ? text : formatter->Format(parsed).value_or(""), text);
        }
    }
}
