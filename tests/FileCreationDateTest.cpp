#include <TarselIO/FileCreationDate.h>

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <gmock/gmock.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <TarselFoundation/SystemDateServices.h>

#include "Support/TemporaryDirectory.h"

using namespace Tarsel::Foundation;
using Tarsel::Core::GetFileCreationDateString;

namespace
{

constexpr std::int64_t kSummer = 1719871200;       // 2024-07-01 22:00:00 UTC
constexpr std::uint32_t kLeapSecond = 1483228800;  // 2016-12-31 23:59:60 UTC, where leap seconds are counted

// Sets UTC and American English before and after each test, which may choose others.
struct FileCreationDate : testing::Test
{
    FileCreationDate() { Use("UTC", "en_US"); }
    ~FileCreationDate() override { Use("UTC", "en_US"); }

    static void Use(const char* zone, const char* locale)
    {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(icu::Locale(locale), status);
        icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("Asia/Tokyo"));  // which must not matter
        ::setenv("TZ", zone, 1);
    }

    static std::unique_ptr<IDateFormatter> MakeFormatter(const std::string& pattern = "YYYY-MM-dd kk:mm:ss")
    {
        return SystemDateServices().CreateDateFormatter(pattern);
    }

    static std::string Format(Instant instant) { return MakeFormatter()->Format(instant).value_or("nothing"); }
};

// A time zone file for UTC with one leap second, the one before 2017. Not every system has zones with leap seconds.
std::string ZoneWithALeapSecond()
{
    const auto number = [](std::uint32_t value) {
        return std::string{char(value >> 24U), char(value >> 16U), char(value >> 8U), char(value)};
    };
    const std::string counts = number(0) + number(0) + number(1) + number(0) + number(1) + number(4);
    const std::string utc = number(0) + std::string(2, '\0') + "UTC" + '\0';
    return "TZif" + std::string(16, '\0') + counts + utc + number(kLeapSecond) + number(1);
}

// Services and their formatter, which answer the first `answers` questions and record each one; copies share the list.
struct Script : IDateServices, IDateFormatter
{
    Script(std::size_t count, Instant date) : answers(count), creation(date) {}

    template <class T>
    std::optional<T> Answer(const std::string& question, T answer)
    {
        questions->push_back(question);
        return questions->size() <= answers ? std::optional(answer) : std::nullopt;
    }
    std::optional<Instant> GetCreationDate(const std::string& p) override { return Answer("created " + p, creation); }
    std::optional<std::int64_t> GetBirthTime(const std::string& p) override { return Answer("birth " + p, 55L); }
    std::unique_ptr<IDateFormatter> CreateDateFormatter(const std::string& p) override
    {
        return Answer("formatter " + p, 0) ? std::make_unique<Script>(*this) : nullptr;
    }
    std::optional<Instant> Parse(const std::string& p) override { return Answer("parse " + p, Instant{100, 0}); }
    std::optional<std::string> Format(const Instant& date) override
    {
        const std::string asked = std::to_string(date.seconds) + "+" + std::to_string(date.nanoseconds);
        return Answer<std::string>("format " + asked, "a date");
    }

    std::size_t answers;
    Instant creation;
    std::shared_ptr<std::vector<std::string>> questions = std::make_shared<std::vector<std::string>>();
};

}  // namespace

TEST_F(FileCreationDate, AsksEachServiceInTurnUntilOneHasNoAnswer)
{
    const std::vector<std::string> all = {
        "created ä", "formatter YYYY-MM-dd kk:mm:ss", "parse 1904-01-01 00:00:00", "birth ä", "format 55+0"};
    for (std::size_t answers = 0; answers <= all.size(); ++answers)
    {
        Script unknown(answers, {100, 0});
        EXPECT_EQ(GetFileCreationDateString("ä", unknown), answers < all.size() ? "" : "a date");
        EXPECT_THAT(*unknown.questions, testing::ElementsAreArray(all.data(), std::min(answers + 1, all.size())));
    }
    Script known(4, {100, 7});  // a fraction of a second after the date that means unknown
    EXPECT_EQ(GetFileCreationDateString("ä", known), "a date");
    EXPECT_THAT(*known.questions, testing::ElementsAre(all[0], all[1], all[2], "format 100+7"));
}

TEST_F(FileCreationDate, ReturnsTheBirthTimeOfTheFileBehindALink)
{
    // The program itself: /proc keeps no birth times, so only following the link can give one.
    constexpr auto program = "/proc/self/exe";
    struct statx status = {};
    ASSERT_EQ(::statx(AT_FDCWD, program, 0, STATX_BTIME, &status), 0);
    const bool kept = (status.stx_mask & STATX_BTIME) != 0;
    const Instant birth{status.stx_btime.tv_sec, static_cast<std::int32_t>(status.stx_btime.tv_nsec)};
    EXPECT_EQ(SystemDateServices().GetCreationDate(program), kept ? std::optional(birth) : std::nullopt);
    EXPECT_EQ(SystemDateServices().GetBirthTime(program).value_or(-1), kept ? birth.seconds : -1);
    EXPECT_EQ(SystemDateServices().GetBirthTime("/no/such/file"), std::nullopt);
    EXPECT_EQ(GetFileCreationDateString(program), kept ? Format(birth) : "");
    EXPECT_EQ(GetFileCreationDateString("/proc/self/status"), "");
    EXPECT_EQ(GetFileCreationDateString("/proc/self/exe/below"), "");
}

TEST_F(FileCreationDate, FollowsEveryKindOfZoneTextAndEachChangeOfIt)
{
    const auto formatter = MakeFormatter();
    const std::pair<const char*, const char*> cases[] = {
        {":Asia/Kolkata", "2024-07-02 03:30:00"},
        {"", "2024-07-01 22:00:00"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", "2024-07-02 24:00:00"},
        {"GMT+3", "2024-07-01 19:00:00"},
        {"/usr/share/zoneinfo/America/New_York", "2024-07-01 18:00:00"}};
    for (const auto& [zone, text] : cases)
    {
        Use(zone, "en_US");
        EXPECT_EQ(formatter->Format({kSummer, 999999999}), text) << zone;
        EXPECT_EQ(formatter->Parse(text), (Instant{kSummer, 0})) << zone;
    }
    Use("Europe/Berlin", "en_US");
    EXPECT_EQ(formatter->Parse("2024-10-27 02:30:00"), (Instant{1729992600, 0})) << "twice: the later one";
    EXPECT_EQ(formatter->Parse("2024-03-31 02:30:00"), (Instant{1711848600, 0})) << "skipped: as if still winter";
    for (const char* text : {"", "2024-07-01 12:00:00 ", "1904-13-01 00:00:00"})
    {
        EXPECT_EQ(formatter->Parse(text), std::nullopt) << text;
    }
}

TEST_F(FileCreationDate, CountsLeapSecondsWhereTheZoneDoes)
{
    const TemporaryDirectory directory;
    Use(directory.File("zone", ZoneWithALeapSecond()).c_str(), "en_US");
    const auto formatter = MakeFormatter();
    const std::pair<std::int64_t, const char*> cases[] = {{kLeapSecond - 2, "2016-12-31 23:59:58"},
                                                          {kLeapSecond, "2016-12-31 23:59:59"},
                                                          {kLeapSecond + 1, "2017-01-01 24:00:00"},
                                                          {kSummer + 1, "2024-07-01 22:00:00"}};
    for (const auto& [seconds, text] : cases)
    {
        EXPECT_EQ(formatter->Format({seconds, 999999999}), text);
        EXPECT_EQ(formatter->Parse(text), (Instant{seconds, 0})) << text;
    }
    EXPECT_EQ(formatter->Format({kLeapSecond - 1, 0}), "2016-12-31 23:59:59");
}

TEST_F(FileCreationDate, ReadsItsOwnTextInOtherCalendarsAndDigits)
{
    const std::pair<const char*, const char*> cases[] = {{"th_TH", "2024-07-01 22:00:00"},
                                                         {"fa_IR", "۱۴۰۳-۰۴-۱۱ ۲۲:۰۰:۰۰"},
                                                         {"ar_SA", "١٤٤٥-١٢-٢٥ ٢٢:٠٠:٠٠"},
                                                         {"ja_JP@calendar=japanese", "2024-07-01 22:00:00"}};
    for (const auto& [locale, text] : cases)
    {
        Use("UTC", locale);
        EXPECT_EQ(Format({kSummer, 0}), text) << locale;
        EXPECT_EQ(MakeFormatter()->Parse(text), (Instant{kSummer, 0})) << locale;
    }
    EXPECT_EQ(MakeFormatter()->Parse("1904-01-01 00:00:00"), (Instant{-2082844800, 0}))
        << "years are Gregorian there, too";
    EXPECT_EQ(MakeFormatter("'Y'YYYY-MM-dd")->Parse("Y2024-07-01"), (Instant{1719792000, 0}));
    Use("UTC", "en_US");
    EXPECT_EQ(MakeFormatter("YY-MM-dd")->Parse("24-07-01"), (Instant{1719792000, 0})) << "not the year 24";
    EXPECT_EQ(MakeFormatter("YYYY 'Year' w e")->Parse("2025 Year 1 1"), (Instant{1735430400, 0})) << "2024-12-29";
}

TEST_F(FileCreationDate, CountsWeeksAndWritesDigitsLikeTheLocaleAndRoundsDown)
{
    EXPECT_EQ(Format({1735387200, 0}), "2024-12-28 12:00:00");
    EXPECT_EQ(Format({1735473600, 0}), "2025-12-29 12:00:00");  // Sunday, in the week of 1 January
    EXPECT_EQ(Format({-86400 * 10 - 1, 999999999}), "1969-12-21 23:59:59");
    const auto fine = MakeFormatter("s.SSS");
    EXPECT_EQ(fine->Format({-1, 250999999}), "59.250");
    EXPECT_EQ(fine->Parse("7.250"), (Instant{7, 250000000}));
    EXPECT_EQ(MakeFormatter("y S")->Parse("1969 5"), (Instant{-31536000, 500000000}));
    EXPECT_EQ(Format({100'000'000'000'000'000, 0}), "nothing");
    EXPECT_EQ(Format({1'000'000'000'000'000, 0}), "nothing");
    Use("UTC", "de_DE");
    EXPECT_EQ(Format({1735473600, 0}), "2024-12-29 12:00:00");
    EXPECT_EQ(Format({1609675200, 0}), "2020-01-03 12:00:00");  // Sunday, in a week of 3 days of January
    Use("America/New_York", "ar_EG");
    EXPECT_EQ(Format({kSummer, 0}), "٢٠٢٤-٠٧-٠١ ١٨:٠٠:٠٠");
    EXPECT_EQ(MakeFormatter()->Parse("1904-01-01 00:00:00"), (Instant{-2082826800, 0}));
}
