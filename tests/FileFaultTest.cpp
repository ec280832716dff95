#include <TarselIO/DataInputFile.h>
#include <TarselIO/DataOutputFile.h>

#include <cerrno>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/OutputFileFailure.h"
#include "Support/Records.h"
#include "Support/SystemCalls.h"
#include "Support/TemporaryDirectory.h"

using namespace Tarsel;
using namespace Tarsel::Core;
using testing::ElementsAre;

namespace
{

constexpr char kOpened[] = "fopen(wb) = ok";
constexpr char kAtEnd[] = "fseek(0, end) = 0";
constexpr char kClosed[] = "fclose() = 0";
constexpr char kEmpty[] = "ftell() = 0";

uint8_t buffer[] = "01234";

struct FileFaults : testing::Test
{
    const TemporaryDirectory directory;
    const std::string path = directory.File("file", "0123456789");
    SystemCallWatch calls{path};
};

}  // namespace

TEST_F(FileFaults, InputMakesOneCallPerOperation)
{
    auto stream = DataInputFile::Create(path);
    EXPECT_THAT(calls.Take(), ElementsAre("fopen(rb) = ok", kAtEnd, "ftell() = 10", "fseek(0, set) = 0"));
    calls.Script("fread", {AtMost(3), Fail(EIO)});
    EXPECT_EQ(stream->Read(buffer, 5), 3U);
    EXPECT_EQ(stream->Read(buffer, 5), 0U);
    EXPECT_EQ(stream->Read(nullptr, 0), 0U);
    EXPECT_THAT(calls.Take(), ElementsAre("fread(5) = 3", "fread(5) = 0", "fread(0) = 0"));
    calls.Script("fseek", {Fail(EINVAL)});
    stream->SetPosition(8);
    calls.Script("ftell", {Fail(EIO)});
    EXPECT_EQ(stream->GetPosition(), ~ioSize{0});
    EXPECT_EQ(stream->GetSize(), 10U);
    stream = nullptr;
    EXPECT_THAT(calls.Take(), ElementsAre("fseek(8, set) = -1", "ftell() = -1", kClosed));
}

TEST_F(FileFaults, InputOpensWhatItCannotMeasure)
{
    calls.Script("fseek", {Fail(EIO), Fail(EIO)});
    calls.Script("ftell", {Fail(EIO)});
    EXPECT_EQ(DataInputFile::Create(path)->GetSize(), ~ioSize{0});
}

TEST_F(FileFaults, OutputMakesTheCallsOfAnOperationOnce)
{
    auto stream = DataOutputFile::Create(path);
    EXPECT_THAT(calls.Take(), ElementsAre(kOpened, kAtEnd, kEmpty, "fseek(0, set) = 0"));
    calls.Script("fwrite", {AtMost(3), Fail(EIO)});
    EXPECT_EQ(stream->Write(buffer, 5), 3U) << "only the flush decides about throwing";
    EXPECT_EQ(stream->Write(buffer, 5), 0U);
    const char flushed[] = "fflush() = 0";
    EXPECT_THAT(calls.Take(), ElementsAre("fwrite(5) = 3", flushed, "fwrite(5) = 0", flushed));
    EXPECT_EQ(stream->Write(nullptr, 0), 0U);
    EXPECT_THAT(calls.Take(), ElementsAre("fwrite(0) = 0", flushed));
    stream->SetSize(3);
    EXPECT_THAT(calls.Take(), ElementsAre("ftell() = 3", "ftruncate(3) = 0"));
    stream->SetSize(2);
    EXPECT_THAT(calls.Take(), ElementsAre("ftell() = 3", "ftruncate(2) = 0", "fseek(2, set) = 0"));
    calls.Script("ftell", {Fail(EIO)});
    EXPECT_EQ(stream->GetPosition(), ~ioSize{0});
    stream = nullptr;
    EXPECT_THAT(calls.Take(), ElementsAre("ftell() = -1", kClosed));
}

TEST_F(FileFaults, OutputReportsWhatFailedAndStaysUsable)
{
    const auto stream = DataOutputFile::Create(path);
    calls.Take();
    struct Case
    {
        std::function<void()> operation;
        const char* function;
        std::vector<Outcome> outcomes;
        const char* thrower;
        std::vector<std::string> expected;
    };
    const auto open = [this] { DataOutputFile::Create(path); };
    const auto write = [&stream] { stream->Write(buffer, 5); };
    const auto seek = [&stream] { stream->SetPosition(3); };
    const auto cut = [&stream] { stream->SetSize(0); };
    const std::vector<Outcome> second = {Pass(), Fail(EINVAL)};
    for (const auto& [operation, function, outcomes, thrower, expected] :
         {Case{open, "fopen", {Fail(EMFILE)}, kConstructor, {"fopen(wb) = -1"}},
          {open, "fseek", {Fail(ENOSPC)}, kConstructor, {kOpened, "fseek(0, end) = -1", kClosed}},
          {open, "ftell", {Fail(EIO)}, kConstructor, {kOpened, kAtEnd, "ftell() = -1", kClosed}},
          {open, "fseek", second, kConstructor, {kOpened, kAtEnd, kEmpty, "fseek(0, set) = -1", kClosed}},
          {write, "fflush", {Fail(ENOSPC)}, kWrite, {"fwrite(5) = 5", "fflush() = -1"}},
          {seek, "fseek", {Fail(EIO)}, kSetPosition, {"fseek(3, set) = -1"}},
          {cut, "ftell", {Fail(EINVAL)}, kSetSize, {"ftell() = -1"}},
          {cut, "ftruncate", {Fail(EROFS)}, kSetSize, {"ftell() = 5", "ftruncate(0) = -1"}},
          {cut, "fseek", {Fail(ENOSPC)}, kSetSize, {"ftell() = 5", "ftruncate(0) = 0", "fseek(0, set) = -1"}}})
    {
        calls.Script(function, outcomes);
        EXPECT_THAT(Thrown(operation), Reports(outcomes.back().error, thrower));
        EXPECT_EQ(calls.Take(), expected);
    }
    stream->SetPosition(3);
    EXPECT_EQ(stream->Write(buffer, 2), 2U);
    EXPECT_EQ(directory.Content(path), "01201") << "the bytes that the failed flush kept are written first";
}
