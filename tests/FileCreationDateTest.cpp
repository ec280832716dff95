#include <TarselIO/FileCreationDate.h>

#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <sys/stat.h>
#include <utility>

#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <TarselFoundation/SystemDateServices.h>

using namespace Tarsel::Foundation;
using Tarsel::Core::GetFileCreationDateString;

namespace
{

constexpr std::int64_t kSummer = 1719871200;          // 2024-07-01 22:00:00 UTC
constexpr Instant kNewYorkReference{-2082826800, 0};  // 1904-01-01 05:00:00 UTC

// Sets zone and locale for one test and leaves both as they were.
class FileCreationDate : public testing::Test
{
protected:
    FileCreationDate() { Use("UTC", "en_US"); }
    ~FileCreationDate() override { Use(m_hadZone ? m_zone.c_str() : nullptr, m_locale); }

    static void Use(const char* zone, const icu::Locale& locale)
    {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(locale, status);
        zone != nullptr ? ::setenv("TZ", zone, 1) : ::unsetenv("TZ");
    }

    static std::unique_ptr<IDateFormatter> MakeFormatter()
    {
        return SystemDateServices().CreateDateFormatter("YYYY-MM-dd kk:mm:ss");
    }

    static std::string Format(Instant instant) { return MakeFormatter()->Format(instant).value_or("nothing"); }

private:
    const icu::Locale m_locale = icu::Locale::getDefault();
    const bool m_hadZone = std::getenv("TZ") != nullptr;
    const std::string m_zone = m_hadZone ? std::getenv("TZ") : "";
};

// Services and formatter that answer by a script and write down what they were asked; copies share the record.
struct Script : IDateServices, IDateFormatter
{
    std::optional<Instant> creation = Instant{100, 7};
    bool hasFormatter = true;
    std::optional<Instant> reference = Instant{100, 0};
    std::optional<std::int64_t> birth = 55;
    std::optional<std::string> text = "a date";
    std::shared_ptr<std::string> calls = std::make_shared<std::string>();

    std::string Run()
    {
        calls->clear();
        return GetFileCreationDateString("ä", *this);
    }
    template <class T>
    T Answer(const std::string& call, T answer)
    {
        *calls += call + "; ";
        return answer;
    }
    std::optional<Instant> GetCreationDate(const std::string& p) override { return Answer("created " + p, creation); }
    std::optional<std::int64_t> GetBirthTime(const std::string& p) override { return Answer("birth " + p, birth); }
    std::unique_ptr<IDateFormatter> CreateDateFormatter(const std::string& p) override
    {
        return Answer("formatter " + p, hasFormatter ? std::make_unique<Script>(*this) : nullptr);
    }
    std::optional<Instant> Parse(const std::string& asked) override { return Answer("parse " + asked, reference); }
    std::optional<std::string> Format(const Instant& date) override
    {
        return Answer("format " + std::to_string(date.seconds) + "+" + std::to_string(date.nanoseconds), text);
    }
};

const std::string kToTheReference = "created ä; formatter YYYY-MM-dd kk:mm:ss; parse 1904-01-01 00:00:00; ";

}  // namespace

TEST_F(FileCreationDate, AsksForTheBirthTimeOnlyWhenTheCreationDateIsExactlyTheReference)
{
    Script script;  // differs by a fraction of a second
    EXPECT_EQ(script.Run(), "a date");
    EXPECT_EQ(*script.calls, kToTheReference + "format 100+7; ");
    script.reference = script.creation;
    EXPECT_EQ(script.Run(), "a date");
    EXPECT_EQ(*script.calls, kToTheReference + "birth ä; format 55+0; ");
}

TEST_F(FileCreationDate, IsEmptyAndStopsAtTheFirstServiceWithoutAnAnswer)
{
    Script script;
    script.text.reset();
    EXPECT_EQ(script.Run(), "");
    script.reference = script.creation;
    script.birth.reset();
    EXPECT_EQ(script.Run(), "");
    EXPECT_EQ(*script.calls, kToTheReference + "birth ä; ");
    script.reference.reset();
    EXPECT_EQ(script.Run(), "");
    EXPECT_EQ(*script.calls, kToTheReference);
    script.hasFormatter = false;
    EXPECT_EQ(script.Run(), "");
    script.creation.reset();
    EXPECT_EQ(script.Run(), "");
    EXPECT_EQ(*script.calls, "created ä; ");

    struct : Script
    {
        std::optional<Instant> GetCreationDate(const std::string&) override { throw std::bad_alloc(); }
    } exhausted;
    EXPECT_THROW(exhausted.Run(), std::bad_alloc) << "no failure of a service";
}

TEST_F(FileCreationDate, ReadsTheReferenceInLocalTimeAlsoUnderALocaleWithItsOwnDigits)
{
    struct : SystemDateServices
    {
        std::optional<Instant> GetCreationDate(const std::string&) override { return kNewYorkReference; }
        std::optional<std::int64_t> GetBirthTime(const std::string&) override { return kSummer; }
    } unrecorded;
    Use("America/New_York", "en_US");
    EXPECT_EQ(GetFileCreationDateString("", unrecorded), "2024-07-01 18:00:00");
    Use("EST5", "ar_EG");
    EXPECT_EQ(GetFileCreationDateString("", unrecorded), "٢٠٢٤-٠٧-٠١ ١٧:٠٠:٠٠");
    Use("UTC", "en_US");
    EXPECT_EQ(GetFileCreationDateString("", unrecorded), "1904-01-01 05:00:00");
}

TEST_F(FileCreationDate, TellsTheBirthTimeOfTheFileBehindALink)
{
    // The program itself: /proc keeps no birth times, so only following the link can give one.
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    struct statx status = {};
    ASSERT_EQ(::statx(AT_FDCWD, program.c_str(), 0, STATX_BTIME, &status), 0);
    std::optional<Instant> birth;
    if ((status.stx_mask & STATX_BTIME) != 0)
    {
        birth = Instant{status.stx_btime.tv_sec, static_cast<std::int32_t>(status.stx_btime.tv_nsec)};
    }

    EXPECT_EQ(SystemDateServices().GetCreationDate(program), birth);
    EXPECT_EQ(SystemDateServices().GetBirthTime(program).value_or(-1), birth ? birth->seconds : -1);
    const std::string text = GetFileCreationDateString(program);
    EXPECT_EQ(text, birth ? Format(*birth) : "");
    EXPECT_EQ(text.size(), birth ? 19U : 0U);
    EXPECT_EQ(GetFileCreationDateString("/proc/self/exe"), text);
    EXPECT_EQ(GetFileCreationDateString("/proc/self/status"), "");
    EXPECT_EQ(GetFileCreationDateString(program / "below"), "");
    EXPECT_EQ(GetFileCreationDateString(""), "");
}

TEST_F(FileCreationDate, FollowsEveryKindOfZoneTextAndEachChangeOfIt)
{
    const auto formatter = MakeFormatter();
    const std::pair<const char*, const char*> cases[] = {
        {"Europe/Berlin", "2024-07-02 24:00:00"},
        {":Asia/Kolkata", "2024-07-02 03:30:00"},
        {"", "2024-07-01 22:00:00"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", "2024-07-02 24:00:00"},
        {"<+03>-3", "2024-07-02 01:00:00"},
        {"GMT+3", "2024-07-01 19:00:00"},
        {"/usr/share/zoneinfo/America/New_York", "2024-07-01 18:00:00"},
    };
    for (const auto& [zone, text] : cases)
    {
        Use(zone, "en_US");
        EXPECT_EQ(formatter->Format({kSummer, 999999999}), text) << zone;
        EXPECT_EQ(formatter->Parse(text), (Instant{kSummer, 0})) << zone;
    }
    Use("Europe/Berlin", "en_US");
    EXPECT_EQ(formatter->Parse("2024-10-27 02:30:00"), (Instant{1729992600, 0})) << "twice: the later one";
    EXPECT_EQ(formatter->Parse("2024-03-31 02:30:00"), (Instant{1711848600, 0})) << "skipped: as if still winter";
    Use(nullptr, "en_US");
    const auto systemZone = formatter->Format({kSummer, 0});
    Use(":/etc/localtime", "en_US");
    EXPECT_EQ(systemZone, formatter->Format({kSummer, 0}));
    for (const char* text : {"", "2024-07-01", "2024-07-01 12:00:00 ", "1904-13-01 00:00:00", "soon"})
    {
        EXPECT_EQ(formatter->Parse(text), std::nullopt) << text;
    }
}

TEST_F(FileCreationDate, GivesTheDaysAroundNewYearToTheYearOfTheirWeek)
{
    const auto american = MakeFormatter();
    Use("UTC", "de_DE");
    const auto german = MakeFormatter();
    for (std::int64_t day = -25; day < 21'960; ++day)
    {
        const std::time_t noon = day * 86'400 + 43'200;
        std::tm date = {};
        ::gmtime_r(&noon, &date);
        char text[32];
        std::strftime(text, sizeof text, "%G-%m-%d %H:%M:%S", &date);  // weeks from Monday, the first has 4 days
        ASSERT_EQ(german->Format({noon, 0}), text);

        // Weeks from Sunday, the first has 1 day: the one that reaches beyond 31 December belongs to the next year.
        date.tm_year += date.tm_mon == 11 && date.tm_mday + 6 - date.tm_wday > 31 ? 1 : 0;
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &date);
        ASSERT_EQ(american->Format({noon, 0}), text);
    }
}

TEST_F(FileCreationDate, RoundsDownBefore1970AndUsesTheLocalesDigitsAndCalendar)
{
    EXPECT_EQ(Format({-1, 1}), "1970-12-31 23:59:59");  // Wednesday, in the week of 1 January 1970
    EXPECT_EQ(Format({-86400 * 10 - 1, 999999999}), "1969-12-21 23:59:59");
    EXPECT_EQ(Format({std::numeric_limits<std::int64_t>::max(), 0}), "nothing");
    EXPECT_EQ(Format({1'000'000'000'000'000, 0}), "nothing");
    Use("UTC", "mr_IN");
    EXPECT_EQ(Format({kSummer + 7200, 0}), "२०२४-०७-०२ २४:००:००");
    Use("UTC", "fa_IR");
    EXPECT_EQ(Format({kSummer, 0}), "۱۴۰۳-۰۴-۱۱ ۲۲:۰۰:۰۰");
}
