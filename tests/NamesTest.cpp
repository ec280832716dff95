#include <TarselIO/IPCTools.h>

#include <cstdlib>
#include <filesystem>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/TemporaryDirectory.h"

using namespace Tarsel::Core;

// What follows the beginning of the UUID is the system's affair.
TEST(Names, AreNewPathsInTheTemporaryDirectory)
{
    const TemporaryDirectory directory;
    const char* const before = std::getenv("TMPDIR");
    const std::string kept = before != nullptr ? before : "/tmp";
    ::setenv("TMPDIR", directory.Path("").c_str(), 1);
    std::set<std::string> names;
    for (int i = 0; i < 100; ++i)
    {
        names.insert(GenerateTempFileName());
        names.insert(GeneratePipeName());
    }
    ::setenv("TMPDIR", kept.c_str(), 1);
    EXPECT_EQ(names.size(), 200U);
    EXPECT_THAT(names, testing::Each(testing::MatchesRegex(directory.Path("") + "/*[0-9a-f]{5}[^/]*")));
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path("")));
}
