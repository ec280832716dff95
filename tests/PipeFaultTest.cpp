#include <cerrno>
#include <new>

#include <TarselIO/DataInputOutputPipe.h>
#include <gmock/gmock.h>

#include "Support/PipeFixture.h"
#include "Support/Records.h"
#include "Support/SystemCalls.h"

using namespace testing;

namespace
{

// Makes every log line fail while it is alive: one that is begun within another takes memory of its own.
struct NoLines
{
    NoLines() : outer(__FILE__, __LINE__) { ThisThreadsMemory().largest = google::LogMessage::kMaxLogMessageLen; }
    ~NoLines() { ThisThreadsMemory().largest = MemoryLimits().largest; }

    google::LogMessage outer;
};

template <class End>
struct PipeFault : PipeFixture<End>
{
    SystemCallWatch watch{this->name};
};
using OutputFault = PipeFault<OutputEnd>;
TYPED_TEST_SUITE(PipeFault, Ends);

TYPED_TEST(PipeFault, OpensUntilThereIsAnAnswerAndClosesOnce)
{
    const std::string interrupted = "W The open syscall has been interrupted by a signal\n";
    this->watch.Script("open", {Fail(EINTR), Fail(EINTR), Fail(EMFILE), Fail(EINTR)});
    this->watch.Script("close", {Fail(EINTR)});
    EXPECT_EQ(Thrown([this] { this->Open(); }).systemErrorCode, EMFILE);
    EXPECT_EQ(this->Lines(), interrupted + interrupted + TypeParam::kNotOpened + this->name + '\n');
    this->Open();
    this->pipe = nullptr;
    EXPECT_EQ(this->Lines(), std::string(TypeParam::kClosing) + TypeParam::kNotClosed);
    EXPECT_THAT(this->watch.Take(), AllOf(SizeIs(6), Contains(TypeParam::kOpenCall), Contains("close() = -1")));
}

TYPED_TEST(PipeFault, MovesOnAfterInterruptionsAndPartsAndAfterAFailedRequest)
{
    const std::string reason = "Input/output error";
    this->Open();
    this->watch.Script(TypeParam::kCall, {Fail(EINTR), Fail(EINTR), ::AtMost(60), Fail(EIO)});
    this->Provide(100);
    EXPECT_EQ(this->Raw(100), std::pair(false, ioSize{60}));
    EXPECT_EQ(this->Raw(40), std::pair(true, ioSize{40}));
    EXPECT_EQ(this->Lines(),
              this->Interrupted("100") + this->Interrupted("100") + this->Step("100", "60") +
                  this->Failed("40", "5", reason) + TypeParam::GaveUp(reason) + this->Step("40", "40"));
}

TEST_F(OutputFault, WritesOnAfterWritingNothing)
{
    Open();
    watch.Script("write", {::AtMost(0)});
    EXPECT_EQ(Raw(5), Moved(true, 5));
    EXPECT_EQ(Lines(), Step("5", "0") + Step("5", "5"));
}

TYPED_TEST(PipeFault, ClosesItsDescriptorWhenALineFails)
{
    EXPECT_THROW((NoLines(), this->Open()), std::bad_alloc);
    EXPECT_THAT(this->watch.Take(), ElementsAre(TypeParam::kOpenCall, "close() = 0"));
}

TYPED_TEST(PipeFault, BuildsNoLineThatWouldNotBeShown)
{
    FLAGS_minloglevel = google::GLOG_WARNING;
    this->Provide(100);
    EXPECT_NO_THROW((NoLines(), this->Open(), this->Raw(100), this->pipe.reset()));
    FLAGS_minloglevel = google::GLOG_INFO;
}

TEST(DuplexPipeFault, MakesOneTransferPerRequestByItself)
{
    SystemCallWatch watch(-1);
    watch.Script("read", {Pretend(60), Fail(EIO)});
    watch.Script("write", {Pretend(30), Fail(EIO)});
    std::vector<uint8_t> data(100);
    unsigned long limit = 0;
    const auto pipe = Tarsel::Core::DataInputOutputPipe::Create("", false, limit);
    EXPECT_EQ(pipe->Read(data.data(), 100), 60);
    EXPECT_EQ(pipe->Write(data.data(), 100), 30);
}

}  // namespace
