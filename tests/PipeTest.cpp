#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <thread>

#include "Support/Await.h"
#include "Support/Mocks.h"
#include "Support/PipeFixture.h"
#include "Support/Records.h"

using namespace Tarsel::Core;
using namespace testing;

namespace
{

template <class End>
using Pipe = PipeFixture<End>;
using InputPipe = Pipe<InputEnd>;
using OutputPipe = Pipe<OutputEnd>;
TYPED_TEST_SUITE(Pipe, Ends, );

// Interrupts this thread every millisecond, with a signal that does not restart system calls.
struct SignalStorm
{
    SignalStorm()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        ::sigaction(SIGUSR1, &action, nullptr);
        sigevent event = {};
        event.sigev_notify = SIGEV_THREAD_ID;
        event.sigev_signo = SIGUSR1;
        event._sigev_un._tid = ::gettid();
        const itimerspec everyMillisecond{{0, 1'000'000}, {0, 1'000'000}};
        EXPECT_EQ(::timer_create(CLOCK_MONOTONIC, &event, &timer), 0);
        EXPECT_EQ(::timer_settime(timer, 0, &everyMillisecond, nullptr), 0);
    }
    ~SignalStorm() { ::timer_delete(timer); }
    timer_t timer = nullptr;
};

TYPED_TEST(Pipe, LosesNothingInAStormOfSignals)
{
    constexpr ioSize kSize = ioSize{3} << 20U;
    constexpr ioSize kPart = kSize / 8;  // more than a pipe holds
    this->Detach();
    this->sent.resize(kSize);
    this->received.resize(kSize);
    std::generate(this->sent.begin(), this->sent.end(), std::minstd_rand());
    // The other side makes the library's end wait, each time until it has been interrupted.
    const auto awaitInterruption = [this](const std::string& call)
    {
        std::atomic<bool> interrupted = false;
        this->log.When("The " + call + " syscall has been interrupted", [&] { interrupted = true; });
        Await([&] { return interrupted.load(); });
    };
    std::thread otherSide(
        [&]
        {
            awaitInterruption("open");
            const int end = ::open(this->name.c_str(), TypeParam::kReads ? O_WRONLY : O_RDONLY);
            for (ioSize total = 0; total != kSize;)
            {
                total % kPart == 0 ? awaitInterruption(TypeParam::kCall) : void();
                const ioSize count = kPart - total % kPart;
                const ssize_t moved = TypeParam::kReads ? ::write(end, &this->sent[total], count)
                                                        : ::read(end, &this->received[total], count);
                ASSERT_GT(moved, 0);
                total += static_cast<ioSize>(moved);
            }
            ::close(end);
        });
    {
        const SignalStorm storm;
        this->pipe = TypeParam::Pipe::Create(this->name, true);
        EXPECT_EQ(this->Move(kSize), kSize);
    }
    otherSide.join();
    EXPECT_TRUE(this->sent == this->received);
    const std::vector<LogLine> lines = this->log.Take();
    const std::string again = "The " + TypeParam::kCall + " syscall has been interrupted. Trying to ";
    int interruptions = 0;
    for (std::size_t i = 1; i + 2 < lines.size(); ++i)
    {
        if (lines[i].severity == 'E')
        {
            ++interruptions;
            EXPECT_THAT(lines[i].text, HasSubstr(" failed, errno == 4, descrption:Interrupted system call"));
            EXPECT_EQ(lines[i + 1].text.rfind(again, 0), 0);
            EXPECT_EQ(lines[i + 2], lines[i - 1]) << "the same request is repeated";
        }
    }
    EXPECT_GE(interruptions, 8);
}

TYPED_TEST(Pipe, OpensMovesInChunksAndCloses)
{
    const int descriptor = ::dup(this->other);  // the lowest that is free
    ::close(descriptor);
    const std::string opened = "The pipe " + this->name + " has been opened for " +
                               (TypeParam::kReads ? "reading" : "writing") +
                               " successfully, id == " + std::to_string(descriptor);
    auto whileLogging = SIG_ERR;
    std::signal(SIGPIPE, SIG_DFL);
    this->log.When(opened, [&] { whileLogging = std::signal(SIGPIPE, SIG_DFL); });
    this->pipe = TypeParam::Pipe::Create(this->name, true);
    EXPECT_EQ(whileLogging, SIG_DFL);
    EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_IGN);
    this->Provide(2500);
    EXPECT_EQ(this->Move(2500), 2500);
    EXPECT_TRUE(this->Arrived(2500));
    this->pipe = nullptr;
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
    const std::string steps = this->Step("1024", "1024") + this->Step("1024", "1024") + this->Step("452", "452");
    EXPECT_EQ(this->Lines(), "I " + opened + '\n' + steps + this->closing);
}

TYPED_TEST(Pipe, FailsToOpenAMissingFile)
{
    const std::string missing = this->directory.Path("missing");
    auto protocol = std::make_unique<StrictMock<MockProtocol>>();
    EXPECT_CALL(*protocol, Die);
    std::signal(SIGPIPE, SIG_DFL);
    const Records records = Thrown([&] { TypeParam::Pipe::Create(missing, std::move(protocol), false); });
    const std::string& type = TypeParam::kClass;
    EXPECT_EQ(records.description, "Failed to open " + TypeParam::kPipe);
    EXPECT_EQ(records.details, "No such file or directory");
    EXPECT_EQ(records.systemErrorCode, ENOENT);
    EXPECT_EQ(records.throwFile, "IO/TarselIO/" + type + ".cpp");
    EXPECT_EQ(records.throwFunction, "Tarsel::Core::" + type + "::" + type + "(const std::string &, bool)");
    EXPECT_FALSE(records.filename || records.callStack || records.seek);
    EXPECT_EQ(this->Lines(), "E Failed to open the " + TypeParam::kPipe + ' ' + missing + '\n');
    EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_DFL);
}

TYPED_TEST(Pipe, OwnsItsProtocolAndBindsOnlyTheFirst)
{
    const void* bound = nullptr;
    auto first = std::make_unique<StrictMock<MockProtocol>>();
    auto second = std::make_unique<StrictMock<MockProtocol>>();
    InSequence inOrder;
    EXPECT_CALL(*first, Bind).WillOnce(SaveArg<0>(&bound));
    EXPECT_CALL(*first, Move(this->Data(), 5)).WillOnce(Return(3));
    EXPECT_CALL(*first, Die);
    EXPECT_CALL(*second, Move(this->Data(), 6)).WillOnce(Return(7));
    EXPECT_CALL(*second, Die).WillOnce([this] { EXPECT_THAT(this->Lines(), EndsWith(this->closing)); });

    this->pipe = TypeParam::Pipe::Create(this->name, std::move(first), false);
    EXPECT_EQ(bound, this->pipe.get());
    EXPECT_EQ(this->Move(5), 3);
    dynamic_cast<typename TypeParam::Pipe&>(*this->pipe).SetProtocol(std::move(second));
    EXPECT_EQ(this->Move(6), 7);
    this->pipe = nullptr;
}

TYPED_TEST(Pipe, HasNoDescriptorFromAHandle)
{
    auto protocol = std::make_unique<NiceMock<MockProtocol>>();
    EXPECT_CALL(*protocol, Bind);
    this->pipe = TypeParam::Pipe::Create(this, std::move(protocol));
    EXPECT_EQ(std::invoke(TypeParam::kLimit, *this->pipe), 1024);
    EXPECT_EQ(this->Raw(0), std::pair(true, ioSize{0}));
    this->pipe->Cancel();
    EXPECT_EQ(this->Lines(), "");

    EXPECT_EQ(this->Raw(5), std::pair(false, ioSize{0}));
    EXPECT_EQ(this->Lines(), this->Failed("5", "9", "Bad file descriptor"));
    dynamic_cast<typename TypeParam::Pipe&>(*this->pipe).SetProtocol(nullptr);
    EXPECT_EQ(this->Move(5), 0);
    this->pipe = nullptr;
    EXPECT_EQ(this->Lines(), "E Protocol not defined.\n" + this->closing + this->notClosed);
}

TEST_F(InputPipe, WaitsForTheRestOfARequestUntilTheDataEnds)
{
    Open();
    Send(0, 60);
    log.When("60 bytes", [this] { Send(60, 100); });
    EXPECT_EQ(Raw(100), std::pair(true, ioSize{100}));
    EXPECT_TRUE(Arrived(100));
    EXPECT_EQ(Lines(), Step("100", "60") + Step("40", "40"));
    const std::string end = "W The read syscall returned EOF. The other process probably has crashed.\n";
    Send(0, 1500);
    Detach();
    EXPECT_EQ(Raw(2500), std::pair(false, ioSize{1500}));
    EXPECT_EQ(Lines(), Step("1024", "1024") + Step("1024", "476") + Trying("1000") + end);
    Attach();
    Send(0, 1500);
    EXPECT_TRUE(pipe->ReadRaw(Data(), 500, nullptr));
    Detach();
    EXPECT_EQ(Move(2500), 0) << "an incomplete transfer returns 0";
}

TEST_F(OutputPipe, FailsWithoutAReaderAndWritesToALaterOne)
{
    Open();
    log.When("1024 bytes", [this] { Detach(); });
    EXPECT_EQ(Move(2500), 0) << "an incomplete transfer returns 0";
    EXPECT_EQ(Lines(), Step("1024", "1024") + Failed("1024", "32", "Broken pipe"));
    Attach();
    log.When("1024 bytes", [this] { Detach(); });
    EXPECT_EQ(Raw(2500), std::pair(false, ioSize{1024}));
    Attach();
    EXPECT_TRUE(pipe->WriteRaw(Data(), 500, nullptr));
}

}  // namespace
