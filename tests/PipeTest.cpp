#include <cerrno>
#include <sys/time.h>

#include "Support/Mocks.h"
#include "Support/PipeFixture.h"
#include "Support/Records.h"

using namespace Tarsel::Core;
using namespace testing;

namespace
{

template <class End>
struct Pipe : PipeFixture<End>
{
    // Runs `blocks`, which a timer's signals interrupt. The first line that begins like this sets off `release`, which
    // lets it succeed.
    void Interrupt(const std::string& line, const std::function<void()>& release, const std::function<void()>& blocks)
    {
        struct sigaction handler = {};
        handler.sa_handler = [](int) {};
        ::sigaction(SIGALRM, &handler, nullptr);  // without SA_RESTART
        const itimerval often = {{0, 2000}, {0, 2000}};
        const itimerval never = {};
        this->log.When(line, release);
        ::setitimer(ITIMER_REAL, &often, nullptr);
        blocks();
        ::setitimer(ITIMER_REAL, &never, nullptr);
    }
};
using InputPipe = Pipe<InputEnd>;
using OutputPipe = Pipe<OutputEnd>;
TYPED_TEST_SUITE(Pipe, Ends);

TYPED_TEST(Pipe, OpensMovesInChunksAndCloses)
{
    const int descriptor = ::dup(this->other);  // the lowest that is free
    ::close(descriptor);
    const std::string opened = "The pipe " + this->name + TypeParam::kOpened + std::to_string(descriptor);
    auto whileLogging = SIG_ERR;
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
    EXPECT_EQ(this->Lines(), "I " + opened + '\n' + steps + TypeParam::kClosing);
}

TYPED_TEST(Pipe, OpensAndMovesOnAfterASignal)
{
    const std::string line = "The open syscall has been interrupted by a signal";
    this->Detach();
    this->Interrupt(
        line, [this] { this->Attach(); }, [this] { this->pipe = TypeParam::Pipe::Create(this->name, false); });
    EXPECT_THAT(this->Lines(), StartsWith("W " + line + "\nI The pipe "));

    const auto capacity = static_cast<ioSize>(::fcntl(this->other, F_SETPIPE_SZ, 1));
    this->sent.resize(capacity);
    this->received.resize(capacity);
    TypeParam::kReads ? void() : this->Send(0, capacity);
    const auto release = [&] { TypeParam::kReads ? this->Send(0, 100) : this->Receive(capacity); };
    this->Interrupt(TypeParam::kFailed, release, [this] { EXPECT_EQ(this->Move(100), 100); });
    EXPECT_TRUE(this->Arrived(100));
    EXPECT_EQ(this->Lines(), this->Interrupted("100") + this->Step("100", "100"));
}

TYPED_TEST(Pipe, FailsToOpenWhatIsMissing)
{
    const std::string missing = this->directory.Path("missing");
    auto protocol = std::make_unique<StrictMock<MockProtocol>>();
    EXPECT_CALL(*protocol, Die);
    const Records records = Thrown([&] { TypeParam::Pipe::Create(missing, std::move(protocol), false); });
    EXPECT_EQ(records.description, TypeParam::kDescription);
    EXPECT_EQ(records.details, "No such file or directory");
    EXPECT_EQ(records.systemErrorCode, ENOENT);
    EXPECT_EQ(records.throwFile, TypeParam::kFile);
    EXPECT_EQ(records.throwFunction, TypeParam::kThrower);
    EXPECT_FALSE(records.filename || records.callStack || records.seek);
    EXPECT_EQ(this->Lines(), TypeParam::kNotOpened + missing + '\n');
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
    EXPECT_CALL(*second, Die).WillOnce([this] { EXPECT_THAT(this->Lines(), EndsWith(TypeParam::kClosing)); });

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
    EXPECT_EQ(TypeParam::Limit(*this->pipe), 1024);
    EXPECT_EQ(this->Raw(0), std::pair(true, ioSize{0}));
    this->pipe->Cancel();
    EXPECT_EQ(this->Lines(), "");

    const std::string reason = "Bad file descriptor";
    EXPECT_EQ(this->Raw(5), std::pair(false, ioSize{0}));
    EXPECT_EQ(this->Lines(), this->Failed("5", "9", reason) + TypeParam::GaveUp(reason));
    dynamic_cast<typename TypeParam::Pipe&>(*this->pipe).SetProtocol(nullptr);
    EXPECT_EQ(this->Move(5), 0);
    this->pipe = nullptr;
    EXPECT_EQ(this->Lines(), std::string("E Protocol not defined.\n") + TypeParam::kClosing + TypeParam::kNotClosed);
}

TEST_F(InputPipe, AwaitsTheRestOfARequestUntilTheDataEnds)
{
    Open();
    Send(0, 60);
    log.When("60 bytes", [this] { Send(60, 100); });
    EXPECT_EQ(Raw(100), Moved(true, 100));
    EXPECT_TRUE(Arrived(100));
    EXPECT_EQ(Lines(), Step("100", "60") + Step("40", "40"));
    Send(0, 1500);
    Detach();
    EXPECT_EQ(Raw(2500), Moved(false, 1500));
    EXPECT_EQ(Lines(), Step("1024", "1024") + Step("1024", "476") + InputEnd::Trying("1000") + InputEnd::kEnd);
    Attach();
    Send(0, 1500);
    EXPECT_TRUE(pipe->ReadRaw(Data(), 500, nullptr));
    Detach();
    EXPECT_EQ(Move(2500), 0) << "a part counts as nothing";
}

TEST_F(OutputPipe, FailsWithoutAReaderAndWritesToALaterOne)
{
    Open();
    log.When("1024 bytes", [this] { Detach(); });
    EXPECT_EQ(Move(2500), 0) << "a part counts as nothing";
    EXPECT_EQ(Lines(), Step("1024", "1024") + Failed("1024", "32", "Broken pipe"));
    Attach();
    log.When("1024 bytes", [this] { Detach(); });
    EXPECT_EQ(Raw(2500), Moved(false, 1024));
    Attach();
    EXPECT_TRUE(pipe->WriteRaw(Data(), 500, nullptr));
}

}  // namespace
