#include <TarselGuard/GuardedFrameInput.h>

#include <cstdio>
#include <fcntl.h>
#include <future>
#include <malloc.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <TarselIO/CommunicationChannel.h>
#include <TarselIO/DataInputPipe.h>
#include <TarselIO/Protocols/ByteDataInputRawProtocol.h>

#include "Support/Await.h"
#include "Support/LogCapture.h"
#include "Support/ScriptedStreams.h"
#include "Support/TemporaryDirectory.h"

using namespace Tarsel::Core;
using namespace std::string_literals;
using Tarsel::SP;
using testing::ElementsAre;

namespace
{

constexpr ioSize kLimit = 1000;
const std::string kLongest(kLimit, 'x');

std::string Frame(const std::string& payload, std::optional<ioSize> announced = {})
{
    const ioSize length = announced.value_or(payload.size());
    return std::string(reinterpret_cast<const char*>(&length), sizeof length) + payload;
}

struct Source : ScriptedInput
{
    using ScriptedInput::ScriptedInput;
    ioSize Read(uint8_t* data, ioSize count) override
    {
        largestBlock = std::max(largestBlock, count > sizeof count ? ::malloc_usable_size(data) : 0);
        return ScriptedInput::Read(data, count);
    }
    void Cancel() override { ++cancels; }
    std::size_t largestBlock = 0;
    int cancels = 0;
};

struct Guard : testing::Test
{
    void Open(const SP<IByteDataInput>& source, ioSize limit = kLimit)
    {
        input = GuardedFrameInput::Create(source, limit, [this](FrameEnd end) { ends.push_back(end); });
    }
    std::string Read(ioSize size)
    {
        std::string data(size, '-');
        return data.substr(0, input->Read(reinterpret_cast<uint8_t*>(data.data()), size));
    }
    SP<IByteDataInput> input;
    std::vector<FrameEnd> ends;
};

TEST_F(Guard, PassesOnAFrameOnceItIsWhole)
{
    const SP<Source> source(new Source(Frame("abcdef") + Frame("") + Frame("xyz")));
    Open(source);
    EXPECT_EQ(Read(0), "");
    EXPECT_THAT(source->reads, ElementsAre());
    EXPECT_EQ(Read(3), "\6\0\0"s);
    EXPECT_THAT(source->reads, ElementsAre(8, 6));
    EXPECT_EQ(Read(100), "\0\0\0\0\0"s) << "no header with a payload";
    EXPECT_EQ(Read(4), "abcd");
    EXPECT_EQ(Read(1), "e");
    EXPECT_EQ(Read(100), "f");
    EXPECT_EQ(Read(8), Frame(""));
    EXPECT_THAT(ends, ElementsAre(FrameEnd::Farewell)) << "after it a direct channel may continue";
    EXPECT_EQ(Read(8), Frame("", 3));
    EXPECT_THAT(source->reads, ElementsAre(8, 6, 8, 8, 3));
    input->Cancel();
    EXPECT_EQ(source->cancels, 1);
    Open(SP<Source>(new Source(Frame("x"))));
    EXPECT_EQ(Read(8), Frame("", 1));
    EXPECT_EQ(Read(8), "x");
}

// What follows a frame of the greatest length, and the end that it counts as.
const std::pair<std::string, FrameEnd> kEnds[] = {{"", FrameEnd::EndOfStream},
                                                  {"\1", FrameEnd::CutHeader},
                                                  {Frame("").substr(1), FrameEnd::CutHeader},
                                                  {Frame(""), FrameEnd::Farewell},
                                                  {Frame(kLongest + 'x'), FrameEnd::OverLimit},
                                                  {Frame("abc", ~ioSize{0}), FrameEnd::OverLimit},
                                                  {Frame("", 1), FrameEnd::CutPayload},
                                                  {Frame(kLongest.substr(1), kLimit), FrameEnd::CutPayload}};

// In both modes a channel receives the whole frame and nothing more, and the program is notified of the reason.
TEST_F(Guard, EndsAChannelAndReportsWhy)
{
    LogCapture log;
    for (std::size_t i = 0; i < 2 * std::size(kEnds); ++i)
    {
        const auto& [bytes, end] = kEnds[i / 2];
        const bool threaded = i % 2 != 0;
        SCOPED_TRACE(testing::PrintToString(bytes.substr(0, 9)));
        const SP<Source> source(new Source(Frame(kLongest) + bytes));
        std::promise<FrameEnd> why;
        input = GuardedFrameInput::Create(source, kLimit, [&why](FrameEnd reason) { why.set_value(reason); });
        const auto channel = CommunicationChannel::Create(input, SP<ScriptedOutput>(new ScriptedOutput), threaded);
        EXPECT_EQ(threaded ? kLimit : channel->ReadHeader(), kLimit);
        ASSERT_NO_FATAL_FAILURE(Await([&] { return !threaded || channel->IsDataAvaliable(); }));
        std::string message(kLimit, '-');
        EXPECT_EQ(channel->Read(reinterpret_cast<uint8_t*>(message.data()), kLimit), kLimit);
        EXPECT_EQ(message, kLongest);
        EXPECT_EQ(threaded ? 0 : channel->ReadHeader(), 0);
        std::future<FrameEnd> reported = why.get_future();
        ASSERT_EQ(reported.wait_for(kDeadline), std::future_status::ready);
        EXPECT_EQ(reported.get(), end);
        EXPECT_FALSE(channel->IsDataAvaliable());
        const std::size_t reads = source->reads.size();
        EXPECT_EQ(threaded || end == FrameEnd::Farewell ? 0 : channel->ReadHeader(), 0);
        EXPECT_EQ(source->reads.size(), reads) << "nothing is asked for after the end";
    }
    EXPECT_THAT(log.Take(), ElementsAre());
}

TEST_F(Guard, HoldsNoMoreThanTheLimit)
{
    const SP<Source> source(new Source(Frame(kLongest.substr(400)) + Frame(kLongest.substr(300)) + Frame(kLongest)));
    Open(source);
    for (const ioSize size : {600U, 700U, 1000U})
    {
        EXPECT_EQ(Read(8).size(), 8);
        EXPECT_EQ(Read(5000).size(), size);
        EXPECT_LE(source->largestBlock, size + 32) << "as the system rounds it up";
    }
    Open(SP<Source>(new Source(Frame("") + Frame("x"))), 0);
    EXPECT_EQ(Read(8), Frame(""));
    EXPECT_EQ(Read(8), "");
    EXPECT_THAT(ends, ElementsAre(FrameEnd::Farewell, FrameEnd::OverLimit));
}

TEST_F(Guard, PassesOnExceptionsAndEnds)
{
    const SP<Source> source(new Source(Frame("abc") + Frame("def")));
    for (const unsigned call : {0U, 1U})
    {
        source->reads.clear();
        source->failing = {call};
        Open(source);
        EXPECT_THROW(Read(8), std::runtime_error);
        EXPECT_EQ(Read(8), "");
    }
    EXPECT_THAT(ends, ElementsAre(FrameEnd::Failure, FrameEnd::Failure));
    input = GuardedFrameInput::Create(source, 0, [](FrameEnd) { throw std::logic_error(""); });
    EXPECT_THROW(Read(8), std::logic_error);
    EXPECT_EQ(Read(8), "");
}

TEST_F(Guard, ReportsACutHeaderOnlyThroughARawPipe)
{
    const LogCapture log;
    const TemporaryDirectory directory;
    const std::string name = directory.Fifo("pipe");
    for (std::size_t i = 0; i < 4; ++i)
    {
        const std::string bytes = i < 2 ? "\3" : Frame("ab", 3);
        const int other = ::open(name.c_str(), O_RDWR);
        Open(i % 2 == 0 ? DataInputPipe::Create(name, false)
                        : DataInputPipe::Create(name, std::make_unique<ByteDataInputRawProtocol>(), false));
        EXPECT_EQ(::write(other, bytes.data(), bytes.size()), bytes.size());
        ::close(other);
        EXPECT_EQ(Read(8), "");
    }
    using End = FrameEnd;
    EXPECT_THAT(ends, ElementsAre(End::EndOfStream, End::CutHeader, End::CutPayload, End::CutPayload));
}

// Runs the test before this one with these variables and returns what it writes to standard error.
std::string LogWith(const std::string& environment)
{
    const std::string program = std::filesystem::read_symlink("/proc/self/exe");
    const std::string command =
        environment + " '" + program + "' --gtest_filter=Guard.ReportsACutHeaderOnlyThroughARawPipe 2>&1 >/dev/null";
    std::FILE* const output = ::popen(command.c_str(), "r");
    std::string lines;
    for (char block[1000]; std::fgets(block, sizeof block, output) != nullptr;)
    {
        lines += block;
    }
    EXPECT_EQ(::pclose(output), 0);
    return lines;
}

TEST(Log, IsSilencedByTheEnvironment)
{
    const std::string everything = LogWith("GLOG_minloglevel=0");
    const std::string warnings = LogWith("GLOG_minloglevel=1");
    EXPECT_THAT(everything, testing::HasSubstr("bytes have been read"));
    EXPECT_THAT(warnings, testing::HasSubstr("The read syscall returned EOF"));
    EXPECT_THAT(warnings, testing::Not(testing::HasSubstr("bytes have been read")));
}

}  // namespace
