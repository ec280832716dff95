#include <cerrno>
#include <new>

#include <TarselIO/DataInputOutputPipe.h>

#include "Support/PipeFixture.h"
#include "Support/Records.h"
#include "Support/SystemCalls.h"

using namespace testing;

namespace
{

template <class End>
struct PipeFault : PipeFixture<End>
{
    SystemCallWatch watch{this->name};
    const std::string opening = End::kReads ? "open(0) = ok" : "open(1) = ok";
};
TYPED_TEST_SUITE(PipeFault, Ends, );

TYPED_TEST(PipeFault, RetriesAnInterruptedOpenAndClosesOnce)
{
    const std::string interrupted = "W The open syscall has been interrupted by a signal\n";
    this->watch.Script("open", {Fail(EINTR), Fail(EINTR), Fail(EMFILE), Fail(EINTR)});
    this->watch.Script("close", {Fail(EINTR)});
    EXPECT_EQ(Thrown([this] { this->Open(); }).systemErrorCode, EMFILE);
    EXPECT_THAT(this->Lines(), StartsWith(interrupted + interrupted + "E Failed to open the "));
    this->Open();
    this->pipe = nullptr;
    EXPECT_EQ(this->Lines(), this->closing + this->notClosed);
    EXPECT_THAT(this->watch.Take(), AllOf(SizeIs(6), Contains(this->opening), Contains("close() = -1")));
}

TYPED_TEST(PipeFault, ContinuesAfterInterruptionsPartsAndAFailedRequest)
{
    const std::string& call = TypeParam::kCall;
    const std::string interrupted = this->Trying("100") + TypeParam::kFailed +
                                    "4, descrption:Interrupted system call\nI The " + call +
                                    " syscall has been interrupted. Trying to " + call + " again...\n";
    this->Open();
    this->watch.Script(call, {Fail(EINTR), Fail(EINTR), ::AtMost(60), Fail(EIO)});
    this->Provide(100);
    EXPECT_EQ(this->Raw(100), std::pair(false, ioSize{60}));
    EXPECT_EQ(this->Raw(40), std::pair(true, ioSize{40}));
    const std::string failed = this->Failed("40", "5", "Input/output error");
    EXPECT_EQ(this->Lines(), interrupted + interrupted + this->Step("100", "60") + failed + this->Step("40", "40"));
}

TYPED_TEST(PipeFault, ClosesItsDescriptorIfALogLineFailsAndBuildsNoHiddenLine)
{
    const google::LogMessage outer(__FILE__, __LINE__);  // lines that begin inside of another one allocate memory
    ThisThreadsMemory().largest = google::LogMessage::kMaxLogMessageLen;
    EXPECT_THROW(this->Open(), std::bad_alloc);
    FLAGS_minloglevel = google::GLOG_WARNING;
    EXPECT_NO_THROW((this->Open(), this->pipe.reset()));
    FLAGS_minloglevel = google::GLOG_INFO;
    ThisThreadsMemory().largest = MemoryLimits().largest;
    EXPECT_THAT(this->watch.Take(), ElementsAre(this->opening, "close() = 0", this->opening, "close() = 0"));
}

TEST(DuplexPipeFault, MakesOneTransferPerRequestByItself)
{
    SystemCallWatch watch(-1);
    watch.Script("read", {Pretend(60), Fail(EIO)});
    watch.Script("write", {Pretend(30), Pretend(0), Fail(EIO)});  // writing nothing is not a failure
    std::vector<uint8_t> data(100);
    unsigned long limit = 0;
    const auto pipe = Tarsel::Core::DataInputOutputPipe::Create("", false, limit);
    EXPECT_EQ(pipe->Read(data.data(), 100), 60);
    EXPECT_EQ(pipe->Write(data.data(), 100), 30);
}

}  // namespace
