#include <TarselIO/IPCTools.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <set>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/Records.h"
#include "Support/SystemCalls.h"

using namespace Tarsel;
using namespace Tarsel::Core;
using namespace testing;

namespace
{

constexpr auto kNone = std::nullopt;
constexpr char kDescription[] = "Failed to generate temp name";
constexpr char kFile[] = "IO/TarselIO/IPCTools.cpp";
constexpr char kThrower[] = "Tarsel::Core::(anonymous namespace)::SafeTempName::SafeTempName(const std::string &)";

// The names that the system was asked for, and whether it provides one.
std::vector<std::string> prefixes;
std::string systemsName;
bool hasNames = true;

struct Names : TestWithParam<std::string (*)()>
{
    Names() { prefixes.clear(), hasNames = true; }

    const std::string opened = "open(" + std::to_string(O_RDONLY | O_CLOEXEC) + ") = ";
    const std::vector<std::string> oneDraw{opened + "ok", "read(16) = 16", "close() = 0"};
    SystemCallWatch device{"/dev/urandom"};
};

INSTANTIATE_TEST_SUITE_P(Both, Names, Values(&GenerateTempFileName, &GeneratePipeName));

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming,readability-inconsistent-declaration-parameter-name)
extern "C" char* tempnam(const char* directory, const char* prefix) noexcept
{
    auto* const real = reinterpret_cast<decltype(&::tempnam)>(::dlsym(RTLD_NEXT, "tempnam"));
    prefixes.emplace_back(directory == nullptr ? prefix : "in another directory");
    char* const name = hasNames ? real(directory, prefix) : nullptr;
    systemsName = name != nullptr ? name : "";
    return name;
}

TEST_P(Names, AreWhatTheSystemMakesOfANewUuid)
{
    for (int call = 0; call < 100; ++call)
    {
        EXPECT_EQ(GetParam()(), systemsName);
        EXPECT_NE(::access(systemsName.c_str(), F_OK), 0) << "a name, but no file";
        EXPECT_EQ(device.Take(), oneDraw);
    }
    EXPECT_THAT(prefixes, Each(MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}")));
    EXPECT_EQ(std::set<std::string>(prefixes.begin(), prefixes.end()).size(), 100U);
}

TEST_P(Names, FailIfTheSystemHasNoName)
{
    hasNames = false;
    // Boost's wrapper shows the exact class: a CoreException, not the IOException that is derived from it.
    const Records records = Thrown<boost::wrapexcept<CoreException>>(GetParam());
    EXPECT_THAT(records, FieldsAre(kNone, kDescription, kNone, Optional(Not("")), kNone, kNone, kFile, kThrower));
    EXPECT_EQ(device.Take(), oneDraw);
    EXPECT_THAT(prefixes, SizeIs(1)) << "no second try";
}
