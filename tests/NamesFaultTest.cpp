#include <TarselIO/IPCTools.h>

#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <set>

#include <boost/uuid/entropy_error.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/Records.h"
#include "Support/SystemCalls.h"

using namespace Tarsel;
using namespace Tarsel::Core;
using testing::Each;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::MatchesRegex;
using testing::Not;
using testing::Optional;

namespace
{

constexpr auto kNone = std::nullopt;
constexpr char kThrower[] = "Tarsel::Core::(anonymous namespace)::SafeTempName::SafeTempName(const std::string &)";

// What the system was asked for, and whether it has a name to give.
std::vector<std::string> prefixes;
std::string systemsName;
bool hasNames;

class Names : public testing::TestWithParam<std::string (*)()>
{
protected:
    Names()
    {
        prefixes.clear();
        hasNames = true;
    }

    const std::string m_open = "open(" + std::to_string(O_RDONLY | O_CLOEXEC) + ") = ";
    SystemCallWatch m_device{"/dev/urandom"};
};

INSTANTIATE_TEST_SUITE_P(Both, Names, testing::Values(&GenerateTempFileName, &GeneratePipeName));

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming,readability-inconsistent-declaration-parameter-name)
extern "C" char* tempnam(const char* directory, const char* prefix) noexcept
{
    auto* const real = reinterpret_cast<decltype(&::tempnam)>(::dlsym(RTLD_NEXT, "tempnam"));
    prefixes.emplace_back(directory == nullptr ? prefix : "in a directory of its own");
    char* const name = hasNames ? real(directory, prefix) : nullptr;
    systemsName = name != nullptr ? name : "";
    return name;
}

TEST_P(Names, AreWhatTheSystemMakesOfAFreshUuid)
{
    for (int call = 0; call < 100; ++call)
    {
        const std::string name = GetParam()();
        EXPECT_EQ(name, systemsName);
        EXPECT_THAT(m_device.Take(), ElementsAre(m_open + "ok", "read(16) = 16", "close() = 0"));
    }
    EXPECT_THAT(prefixes, Each(MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}")));
    EXPECT_EQ(std::set<std::string>(prefixes.begin(), prefixes.end()).size(), 100U);
}

TEST_P(Names, FailWithoutANameOfTheSystem)
{
    hasNames = false;
    EXPECT_THAT(Thrown<CoreException>(GetParam()),
                FieldsAre(kNone,
                          "Failed to generate temp name",
                          kNone,
                          Optional(Not("")),
                          kNone,
                          kNone,
                          "IO/TarselIO/IPCTools.cpp",
                          kThrower));
    EXPECT_THAT(m_device.Take(), ElementsAre(m_open + "ok", "read(16) = 16", "close() = 0"));
    EXPECT_EQ(prefixes.size(), 1U) << "nothing is tried again";
}

TEST_P(Names, PassAFailureOfTheRandomDeviceOn)
{
    m_device.Script("open", {Fail(EMFILE)});
    EXPECT_THROW(GetParam()(), boost::uuids::entropy_error);
    m_device.Script("read", {Fail(EIO)});
    EXPECT_THROW(GetParam()(), boost::uuids::entropy_error);
    EXPECT_THAT(m_device.Take(), ElementsAre(m_open + "-1", m_open + "ok", "read(16) = -1", "close() = 0"));
    EXPECT_EQ(prefixes.size(), 0U);
}
