#include <TarselIO/DataInputFile.h>
#include <TarselIO/DataOutputFile.h>

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/OutputFileFailure.h"
#include "Support/Records.h"
#include "Support/SystemCalls.h"
#include "Support/TemporaryDirectory.h"

using namespace Tarsel;
using namespace Tarsel::Core;
using testing::ElementsAre;
using testing::ElementsAreArray;

namespace
{

auto Descriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

uint8_t buffer[] = "01234";

class FileFaults : public testing::Test
{
protected:
    const TemporaryDirectory m_directory;
    const std::string m_path = m_directory.File("file", "0123456789");
    SystemCallWatch m_calls{m_path};
};

}  // namespace

TEST_F(FileFaults, InputMakesOneCallAnOperation)
{
    auto stream = DataInputFile::Create(m_path);
    EXPECT_THAT(m_calls.Take(),
                ElementsAre("fopen(rb) = ok", "fseek(0, end) = 0", "ftell() = 10", "fseek(0, set) = 0"));
    m_calls.Script("fread", {AtMost(3), Fail(EIO)});
    EXPECT_EQ(stream->Read(buffer, 5), 3U);
    EXPECT_EQ(stream->Read(buffer, 5), 0U);
    EXPECT_EQ(stream->Read(nullptr, 0), 0U);
    m_calls.Script("fseek", {Fail(EINVAL)});
    stream->SetPosition(8);
    m_calls.Script("ftell", {Fail(EIO)});
    EXPECT_EQ(stream->GetPosition(), ~ioSize{0});
    EXPECT_EQ(stream->GetSize(), 10U);
    EXPECT_THAT(m_calls.Take(),
                ElementsAre("fread(5) = 3", "fread(5) = 0", "fread(0) = 0", "fseek(8, set) = -1", "ftell() = -1"));
    stream = nullptr;
    EXPECT_THAT(m_calls.Take(), ElementsAre("fclose() = 0"));
}

TEST_F(FileFaults, InputOpensWhatItCannotMeasure)
{
    m_calls.Script("fseek", {Fail(EIO), Fail(EIO)});
    m_calls.Script("ftell", {Fail(EIO)});
    EXPECT_EQ(DataInputFile::Create(m_path)->GetSize(), ~ioSize{0});
    m_calls.Take();
    m_calls.Script("fopen", {Fail(EMFILE)});
    EXPECT_EQ(Thrown([&] { DataInputFile::Create(m_path); }).details, std::strerror(EMFILE));
    EXPECT_THAT(m_calls.Take(), ElementsAre("fopen(rb) = -1"));
}

TEST_F(FileFaults, OutputMakesTheCallsOfAnOperationOnce)
{
    auto stream = DataOutputFile::Create(m_path);
    EXPECT_THAT(m_calls.Take(), ElementsAre("fopen(wb) = ok", "fseek(0, end) = 0", "ftell() = 0", "fseek(0, set) = 0"));
    m_calls.Script("fwrite", {AtMost(3), Fail(EIO)});
    EXPECT_EQ(stream->Write(buffer, 5), 3U) << "only the flush decides about throwing";
    EXPECT_EQ(stream->Write(buffer, 5), 0U);
    EXPECT_EQ(stream->Write(nullptr, 0), 0U);
    EXPECT_THAT(
        m_calls.Take(),
        ElementsAre("fwrite(5) = 3", "fflush() = 0", "fwrite(5) = 0", "fflush() = 0", "fwrite(0) = 0", "fflush() = 0"));
    stream->SetSize(3);
    stream->SetSize(2);
    m_calls.Script("ftell", {Fail(EIO)});
    EXPECT_EQ(stream->GetPosition(), ~ioSize{0});
    EXPECT_EQ(stream->GetSize(), 0U);
    EXPECT_THAT(
        m_calls.Take(),
        ElementsAre(
            "ftell() = 3", "ftruncate(3) = 0", "ftell() = 3", "ftruncate(2) = 0", "fseek(2, set) = 0", "ftell() = -1"));
    stream = nullptr;
    EXPECT_THAT(m_calls.Take(), ElementsAre("fclose() = 0"));
}

TEST_F(FileFaults, OutputSaysWhatFailedAndStaysUsable)
{
    const auto stream = DataOutputFile::Create(m_path);
    m_calls.Take();
    struct Case
    {
        std::function<void()> operation;
        const char* function;
        std::vector<Outcome> outcomes;
        const char* thrower;
        std::vector<std::string> calls;
    };
    const auto open = [this] { DataOutputFile::Create(m_path); };
    const auto write = [&stream] { stream->Write(buffer, 5); };
    const auto seek = [&stream] { stream->SetPosition(3); };
    const auto cut = [&stream] { stream->SetSize(0); };
    for (const auto& [operation, function, outcomes, thrower, calls] :
         {Case{open, "fopen", {Fail(EMFILE)}, kConstructor, {"fopen(wb) = -1"}},
          {open, "fseek", {Fail(ENOSPC)}, kConstructor, {"fopen(wb) = ok", "fseek(0, end) = -1", "fclose() = 0"}},
          {open,
           "ftell",
           {Fail(EIO)},
           kConstructor,
           {"fopen(wb) = ok", "fseek(0, end) = 0", "ftell() = -1", "fclose() = 0"}},
          {open,
           "fseek",
           {Pass(), Fail(EINVAL)},
           kConstructor,
           {"fopen(wb) = ok", "fseek(0, end) = 0", "ftell() = 0", "fseek(0, set) = -1", "fclose() = 0"}},
          {write, "fflush", {Fail(ENOSPC)}, kWrite, {"fwrite(5) = 5", "fflush() = -1"}},
          {seek, "fseek", {Fail(EIO)}, kSetPosition, {"fseek(3, set) = -1"}},
          {cut, "ftell", {Fail(EINVAL)}, kSetSize, {"ftell() = -1"}},
          {cut, "ftruncate", {Fail(EROFS)}, kSetSize, {"ftell() = 5", "ftruncate(0) = -1"}},
          {cut, "fseek", {Fail(ENOSPC)}, kSetSize, {"ftell() = 5", "ftruncate(0) = 0", "fseek(0, set) = -1"}}})
    {
        m_calls.Script(function, outcomes);
        EXPECT_THAT(Thrown(operation), Says(outcomes.back().error, thrower));
        EXPECT_THAT(m_calls.Take(), ElementsAreArray(calls));
    }
    stream->SetPosition(3);
    EXPECT_EQ(stream->Write(buffer, 2), 2U);
    EXPECT_EQ(m_directory.Content(m_path), "01201") << "what the failed flush kept came first";
}

TEST(FileStreams, LeaveNothingBehindWhereverMemoryRunsOut)
{
    const TemporaryDirectory directory;
    const std::string path = directory.Path("missing");
    const std::string fifo = directory.Fifo("fifo");
    const int otherEnd = ::open(fifo.c_str(), O_RDWR);
    const std::function<void()> actions[] = {[&] { DataInputFile::Create(fifo); },
                                             [&] { DataInputFile::Create(path); },
                                             [&] { DataOutputFile::Create(fifo); },
                                             [&] { DataOutputFile::Create(path); }};
    int failuresAfterOpening = 0;
    MemoryLimits& memory = ThisThreadsMemory();
    for (const auto& action : actions)
    {
        bool enough = false;
        for (std::size_t allocations = 0; !enough; ++allocations)
        {
            const auto before = std::pair(memory.held, Descriptors());
            try
            {
                memory.allocations = allocations;
                action();
                enough = true;
            }
            catch (const std::exception& error)
            {
                enough = dynamic_cast<const IOException*>(&error) != nullptr;
                failuresAfterOpening += !enough && ::access(path.c_str(), F_OK) == 0 ? 1 : 0;
            }
            memory.allocations = MemoryLimits().allocations;
            EXPECT_EQ(std::pair(memory.held, Descriptors()), before);
        }
    }
    EXPECT_GT(failuresAfterOpening, 0);
    ::close(otherEnd);
}
