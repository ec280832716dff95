#include <TarselIO/CommunicationChannel.h>

#include <cstring>
#include <deque>
#include <functional>
#include <future>
#include <pthread.h>
#include <stdexcept>

#include <boost/thread/scoped_thread.hpp>
#include <gmock/gmock.h>

#include <TarselException/GetCallStack.h>
#include <TarselIO/DataInputFF.h>

#include "Support/Await.h"
#include "Support/LogCapture.h"
#include "Support/ScriptedStreams.h"

using namespace Tarsel::Core;
using namespace std::string_literals;
using Tarsel::SP;
using testing::ElementsAre;
using testing::IsEmpty;
using Sizes = std::vector<ioSize>;

namespace
{

constexpr std::chrono::milliseconds kMoment(20);  // how long to watch for what must not happen
constexpr auto kReady = std::future_status::ready;
constexpr ioSize kInputsResult = 12345;  // unlike any real count, to see where it is returned

// Returns what a boost::thread is doing. Boost stores under its lock which condition a thread waits for, before any
// notification of that condition can be lost: no test has to guess.
using ThreadData = boost::detail::thread_data_base;
std::string StageOf(ThreadData* thread)
{
    const boost::lock_guard<boost::mutex> lock(thread->data_mutex);
    return thread->done ? "ended" : thread->current_cond != nullptr ? "waits" : "runs";
}

std::string Bytes(ioSize number)
{
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

// The outcome of one Read of the input: it delivers these bytes or throws.
struct Step
{
    std::string bytes;
    std::function<void()> fail = [] {};
};

std::vector<std::string> released;

// Each Read takes the next step and blocks while there is none; Cancel ends the wait, unless `obeysCancel` is false.
// The base class counts the references.
class BlockingInput : public DataInputFF
{
public:
    std::atomic<bool> obeysCancel = true;
    std::atomic<int> cancels = 0;
    std::function<void()> atCancel = [] {};
    std::atomic<ThreadData*> thread = nullptr;  // the last one that called Read

    BlockingInput() : DataInputFF("") {}
    ~BlockingInput() override { released.emplace_back("input"); }
    void Give(const std::vector<Step>& steps)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_steps.insert(m_steps.end(), steps.begin(), steps.end());
        m_changed.notify_all();
    }
    ioSize Read(uint8_t* data, ioSize size) override
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        thread = boost::detail::get_current_thread_data();
        m_requests.push_back(size);
        EXPECT_TRUE(m_changed.wait_for(lock, kDeadline, [this] { return !m_steps.empty(); }));
        const Step step = m_steps.at(0);
        m_steps.pop_front();
        lock.unlock();
        step.fail();
        step.bytes.copy(reinterpret_cast<char*>(data), size);
        return kInputsResult;
    }
    void Cancel() override
    {
        boost::this_thread::interruption_point();  // as any function that waits may have one
        ++cancels;
        atCancel();
        Give(std::vector<Step>(obeysCancel ? 1 : 0));
    }
    Sizes Requests()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_requests;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Step> m_steps;
    Sizes m_requests;
};

class Output : public ScriptedOutput
{
public:
    ~Output() override { released.emplace_back("output"); }
    void Cancel() override { ADD_FAILURE() << "the channel cancels its output"; }
};

// One Read of a channel on its own boost::thread, which waits or has ended when the constructor returns.
class Reader
{
public:
    using Thread = boost::scoped_thread<boost::interrupt_and_join_if_joinable>;

    Reader(const SP<IDataChannel>& owner, ioSize size)
    {
        const auto read = [this, size, channel = owner.get()]
        {
            m_data = boost::detail::get_current_thread_data();
            std::string data(100'000, '-');
            data.resize(channel->Read(reinterpret_cast<uint8_t*>(data.data()), size));
            return data;
        };
        std::packaged_task<std::string()> task(read);
        m_result = task.get_future();
        thread = Thread(boost::thread(std::move(task)));
        Await([this] { return m_data != nullptr && StageOf(m_data) != "runs"; });
    }
    bool Waits() const { return StageOf(m_data) == "waits"; }
    // Returns what the Read delivered. Rethrows its exception.
    std::string Result() { return m_result.wait_for(kDeadline) == kReady ? m_result.get() : "still waits"; }

    Thread thread;

private:
    std::future<std::string> m_result;
    std::atomic<ThreadData*> m_data = nullptr;
};

class DirectChannel : public testing::Test, protected IDataAvailableHandler
{
protected:
    explicit DirectChannel(bool threaded = false) { Make(threaded); }
    void Make(bool threaded)
    {
        m_channel = CommunicationChannel::Create(m_input, m_output, threaded);
        m_channel->SetDataAvailableHandler(this);
    }
    void OnDataAvailable(ioSize size) override
    {
        m_announced.push_back(size);
        m_onDataAvailable();
    }
    ioSize Write(const char* text) { return m_channel->Write(reinterpret_cast<const uint8_t*>(text), strlen(text)); }

    SP<BlockingInput> m_input{new BlockingInput};
    SP<Output> m_output{new Output};
    Sizes m_announced;
    std::function<void()> m_onDataAvailable = [] {};
    SP<IDataChannel> m_channel;
};

class ThreadedChannel : public DirectChannel
{
protected:
    ThreadedChannel() : DirectChannel(true) {}
    void Deliver(const std::string& message) { m_input->Give({{Bytes(message.size())}, {message}}); }
    std::string Receive(ioSize size) { return Reader(m_channel, size).Result(); }
    // Expects the thread in this state, after it has asked its input for these sizes.
    void ExpectThread(const char* stage, const Sizes& sizes)
    {
        Await([&] { return m_input->Requests().size() >= sizes.size() && StageOf(m_input->thread) == stage; });
        EXPECT_EQ(m_input->Requests(), sizes);
    }
    std::future<void> Destroy()
    {
        return std::async(std::launch::async, [channel = std::move(m_channel)]() mutable { channel.reset(); });
    }
    // Destroys the channel, which cancels its input and releases both streams, and makes another one over a new input.
    void Renew()
    {
        ASSERT_EQ(Destroy().wait_for(kDeadline), kReady);
        EXPECT_EQ(m_input->cancels, 1);
        EXPECT_EQ(m_input->GetRefCount() + m_output->GetRefCount(), 2);
        m_input = new BlockingInput;
        m_announced.clear();
        Make(true);
    }
};
using ThreadedChannelDeathTest = ThreadedChannel;

TEST_F(DirectChannel, WritesTheLengthThenTheBytesAndReturnsTheSecondResult)
{
    EXPECT_EQ(Write("abc"), 3);
    EXPECT_EQ(m_channel->Write(nullptr, 0), 0);
    EXPECT_EQ(m_output->bytes, "\3\0\0\0\0\0\0\0abc\0\0\0\0\0\0\0\0"s);
    m_output->failing = {4, 6};
    EXPECT_THROW(Write("abc"), std::runtime_error);
    EXPECT_THROW(Write("abc"), std::runtime_error);
    m_output->result = 1;
    EXPECT_EQ(Write("abc"), 1);
    EXPECT_THAT(m_output->writes, ElementsAre(8, 3, 8, 0, 8, 8, 3, 8, 3));
}

TEST_F(DirectChannel, ReadsStraightFromTheInputAndNotifiesNobody)
{
    m_input->Give({{"\3\0\0\0\0\0\0\0"s}, {"abc"}, {"\5"}, {""}, {"", [] { throw 1; }}, {"", [] { throw ""; }}});
    uint8_t data[4] = {};
    EXPECT_EQ(m_channel->ReadHeader(), 3);
    EXPECT_FALSE(m_channel->IsDataAvaliable());
    EXPECT_EQ(m_channel->Read(data, 4), kInputsResult);
    EXPECT_THAT(data, ElementsAre('a', 'b', 'c', 0));
    EXPECT_EQ(m_channel->ReadHeader(), 5);
    EXPECT_EQ(m_channel->ReadHeader(), 0);
    EXPECT_THROW(m_channel->ReadHeader(), int);
    EXPECT_THROW(m_channel->Read(data, 2), const char*);
    EXPECT_THAT(m_input->Requests(), ElementsAre(8, 4, 8, 8, 8, 2));
    EXPECT_THAT(m_announced, IsEmpty());
}

TEST_F(DirectChannel, CancelsItsInputOnlyOnRequestAndReleasesTheOutputThenTheInput)
{
    m_channel->Cancel();
    static_cast<IByteDataOutput&>(*m_channel).Cancel();
    EXPECT_EQ(m_input->GetRefCount() + m_output->GetRefCount(), 4);
    m_channel.reset();
    EXPECT_EQ(m_input->cancels, 2);
    Make(false);
    released.clear();
    m_input.reset();
    m_output.reset();
    EXPECT_THAT(released, IsEmpty());
    m_channel.reset();
    EXPECT_THAT(released, ElementsAre("output", "input"));
}

TEST_F(ThreadedChannel, AnnouncesAMessageAndReadsTheNextOnceItIsTaken)
{
    EXPECT_FALSE(m_channel->IsDataAvaliable());
    Deliver("0123456789");
    Deliver("ab");
    Deliver("c");
    ExpectThread("waits", {8, 10});
    EXPECT_TRUE(m_channel->IsDataAvaliable());
    EXPECT_EQ(Receive(4), "0123");
    ExpectThread("waits", {8, 10});
    EXPECT_TRUE(m_channel->IsDataAvaliable());
    EXPECT_EQ(Receive(6), "456789");
    ExpectThread("waits", {8, 10, 8, 2});
    EXPECT_THAT(m_announced, ElementsAre(10, 2));
    m_channel->SetDataAvailableHandler(nullptr);
    EXPECT_EQ(Receive(1), "a");
    EXPECT_EQ(Receive(~ioSize{0}), "b") << "the rest of the message";
    ExpectThread("waits", {8, 10, 8, 2, 8, 1});
    m_channel->SetDataAvailableHandler(this);
    EXPECT_TRUE(m_channel->IsDataAvaliable());
    EXPECT_THAT(m_announced, ElementsAre(10, 2));
    m_input->obeysCancel = false;
    Renew();  // destroyed with a message pending
}

TEST_F(ThreadedChannel, CallsTheHandlerOnItsThreadLockedAndWithTheMessageStored)
{
    auto* const channel = dynamic_cast<CommunicationChannel*>(m_channel.get());
    std::future<bool> flag;
    std::string callStack;
    m_onDataAvailable = [&]
    {
        flag = std::async(std::launch::async, [&] { return m_channel->IsDataAvaliable(); });
        EXPECT_NE(flag.wait_for(kMoment), kReady);
        EXPECT_TRUE(channel->ShouldAwakeReaderPredicate());
        EXPECT_FALSE(channel->ShouldAwakeThreadPredicate());
        EXPECT_EQ(Write("ok"), 2);
        callStack = Tarsel::GetCallStack();
    };
    EXPECT_FALSE(channel->ShouldAwakeReaderPredicate());
    EXPECT_TRUE(channel->ShouldAwakeThreadPredicate());
    Deliver("abc");
    ExpectThread("waits", {8, 3});
    EXPECT_TRUE(flag.get());
    EXPECT_THAT(callStack, testing::EndsWith("in Thread (IO/TarselIO/CommunicationChannel.cpp)\n"));
}

TEST_F(ThreadedChannel, ReadsAMessageThatIsAlreadyThere)
{
    for (int i = 0; i < 300 && !HasFailure(); ++i)
    {
        m_input = new BlockingInput;
        Deliver("abc");
        m_channel = CommunicationChannel::Create(m_input, m_output, true);
        if (i % 2 == 0)  // otherwise it is destroyed at any point of its thread's work
        {
            EXPECT_EQ(Receive(3), "abc");
        }
    }
}

TEST_F(ThreadedChannel, AsksItsThreadToStopBeforeItCancelsTheInput)
{
    Await([&] { return m_input->Requests().size() == 1; });
    bool asked = false;
    m_input->atCancel = [&] { asked = m_input->thread.load()->interrupt_requested; };
    m_channel = nullptr;
    EXPECT_TRUE(asked);
}

TEST_F(ThreadedChannel, WakesOneReaderAfterAnotherWhileBytesRemain)
{
    m_input->obeysCancel = false;
    Reader nothing(m_channel, 0);
    Reader some(m_channel, 2);
    Reader others(m_channel, 2);
    m_channel->Cancel();
    EXPECT_TRUE(nothing.Waits() && some.Waits() && others.Waits());
    Deliver("abab");
    Deliver("c");
    EXPECT_EQ(nothing.Result() + some.Result() + others.Result(), "abab");
    EXPECT_EQ(Receive(1), "c");
    m_input->obeysCancel = true;
}

TEST_F(ThreadedChannel, LosesNoWakeUpToAnInterruptedReader)
{
    Reader reader(m_channel, 1);
    reader.thread.interrupt();
    EXPECT_THROW(reader.Result(), boost::thread_interrupted);
    for (int i = 0; i < 300 && !HasFailure(); ++i)
    {
        Reader interrupted(m_channel, 1);
        Reader other(m_channel, 1);
        Deliver("x");
        // The message wakes one of them, mostly the first, which is often interrupted before it reads the message.
        Await([&] { return m_channel->IsDataAvaliable() || !interrupted.Waits() || !other.Waits(); });
        interrupted.thread.interrupt();
        Await([&] { return !m_channel->IsDataAvaliable(); });
    }
}

TEST_F(ThreadedChannel, FillsAShortMessageWithTheOldBytesOfItsBuffer)
{
    m_input->Give({{Bytes(4)}, {"ab"}, {Bytes(4)}, {"x"}, {Bytes(1)}, {"z"}, {Bytes(3)}, {""}});
    for (const auto& message : {"ab\0\0"s, "xb\0\0"s, "z"s, "z\0\0"s})
    {
        EXPECT_EQ(Receive(9), message);
    }
}

// Matches a log of one line that reports an exception whose description contains this text.
testing::Matcher<std::vector<LogLine>> Reports(const char* description)
{
    const char* const start = "A communication channel stops reading because of an exception. ";
    const auto text = testing::AllOf(testing::StartsWith(start), testing::HasSubstr(description));
    return ElementsAre(testing::AllOf(testing::Field(&LogLine::severity, 'E'),
                                      testing::Field(&LogLine::file, "IO/TarselIO/CommunicationChannel.cpp"),
                                      testing::Field(&LogLine::text, text)));
}

TEST_F(ThreadedChannel, StopsForeverAtTheEndOfItsInputOrAFailure)
{
    const Step boom = {"", [] { throw std::runtime_error("boom"); }};
    const Step number = {"", [] { throw 42; }};
    const Step interruption = {"", [] { throw boost::thread_interrupted(); }};
    struct Ending
    {
        std::size_t reads;  // that succeed: of the length, then of the bytes; the handler is next
        Step step;
        testing::Matcher<std::vector<LogLine>> log;
    };
    const Ending endings[] = {{0, {""}, IsEmpty()},
                              {0, {Bytes(0)}, IsEmpty()},
                              {0, {Bytes(ioSize{1} << 63)}, Reports("length_error")},
                              {0, boom, Reports("boom")},
                              {0, interruption, IsEmpty()},
                              {1, number, Reports("")},
                              {1, {"", [] { throw std::bad_alloc(); }}, Reports("bad_alloc")},
                              {1, interruption, IsEmpty()},
                              {2, boom, Reports("boom")},
                              {2, number, Reports("")},
                              {2, interruption, IsEmpty()}};
    const Step message[] = {{Bytes(3)}, {"abc"}};
    LogCapture log;
    for (const auto& [reads, step, report] : endings)
    {
        Renew();
        m_onDataAvailable = step.fail;
        Reader reader(m_channel, 2);
        m_input->Give(std::vector<Step>(message, message + reads));
        m_input->Give({step});
        ExpectThread("ended", reads == 0 ? Sizes{8} : Sizes{8, 3});
        EXPECT_THAT(log.Take(), report);
        EXPECT_EQ(m_channel->IsDataAvaliable(), reads == 2);
        if (reads == 2)
        {
            EXPECT_EQ(reader.Result(), "ab");
            EXPECT_EQ(Receive(2), "c");
        }
        EXPECT_TRUE(Reader(m_channel, 1).Waits());
    }
    Renew();
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(ThreadedChannel, IsDestroyedOnceABlockedInputReturnsAndDropsItsBytes)
{
    for (const auto& requests : {Sizes{8, 3, 8}, Sizes{8, 3, 8, 3}})
    {
        m_input->obeysCancel = false;
        Deliver("abc");
        EXPECT_EQ(Receive(3), "abc") << "the channel's buffer keeps these bytes";
        m_input->Give(std::vector<Step>(requests.size() - 3, {Bytes(3)}));
        ExpectThread("runs", requests);
        Reader reader(m_channel, 3);
        Reader another(m_channel, 3);
        const std::future<void> destruction = Destroy();
        EXPECT_EQ(reader.Result() + another.Result(), "");
        EXPECT_NE(destruction.wait_for(kMoment), kReady);
        EXPECT_EQ(m_input->cancels, 1);
        m_input->Give(std::vector<Step>(5 - requests.size(), {Bytes(3)}));
        ASSERT_EQ(destruction.wait_for(kDeadline), kReady);
        EXPECT_THAT(m_input->Requests(), ElementsAre(8, 3, 8, 3));
        EXPECT_THAT(std::exchange(m_announced, {}), ElementsAre(3));
        m_input = new BlockingInput;
        Make(true);
    }
}

// Waits for an interruption and swallows it.
void SwallowAnInterruption()
{
    boost::mutex mutex;
    boost::unique_lock<boost::mutex> lock(mutex);
    boost::condition_variable never;
    try
    {
        never.wait(lock);
    }
    catch (const boost::thread_interrupted&)
    {
    }
}

TEST_F(ThreadedChannel, IsDestroyedEvenIfItsInputOrHandlerSwallowsTheInterruption)
{
    for (const int swallower : {0, 1, 2})  // the read of the length, the read of the bytes, the handler
    {
        const auto swallows = [&](int step) -> std::function<void()>
        {
            if (step == swallower)
            {
                return &SwallowAnInterruption;
            }
            return [] {};
        };
        m_input->obeysCancel = false;  // the channel needs no other Read to end
        m_onDataAvailable = swallows(2);
        m_input->Give({{Bytes(3), swallows(0)}, {"abc", swallows(1)}});
        ExpectThread("waits", swallower == 0 ? Sizes{8} : Sizes{8, 3});
        Renew();
    }
}

TEST_F(ThreadedChannel, IsDestroyedOnAThreadWithAPendingInterruption)
{
    std::promise<void> interrupted;
    bool isPending = false;
    boost::thread thread(
        [&]
        {
            interrupted.get_future().wait();
            m_channel.reset();
            isPending = boost::this_thread::interruption_requested();
        });
    ExpectThread("runs", {8});
    thread.interrupt();
    interrupted.set_value();
    thread.join();
    EXPECT_TRUE(isPending);
    EXPECT_EQ(m_input->cancels, 1);
}

TEST_F(ThreadedChannelDeathTest, RefusesToBeDestroyedOnItsOwnThread)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    m_onDataAvailable = [this] { m_channel.reset(); };
    const auto run = [this]
    {
        Deliver("abc");
        ExpectThread("ended", {8, 3});
    };
    EXPECT_DEATH(run(),
                 "F.* CommunicationChannel.cpp.* A communication channel is destroyed on its own background thread");
}

TEST_F(ThreadedChannel, ReleasesItsStreamsIfNoThreadCanBeStarted)
{
    pthread_attr_t usual;
    ASSERT_EQ(::pthread_getattr_default_np(&usual), 0);
    pthread_attr_t huge = usual;  // a stack that no system can provide
    ::pthread_attr_setstacksize(&huge, std::size_t{1} << 48);
    ASSERT_EQ(::pthread_setattr_default_np(&huge), 0);
    EXPECT_THROW(CommunicationChannel::Create(m_input, m_output, true), boost::thread_resource_error);
    ASSERT_EQ(::pthread_setattr_default_np(&usual), 0);
    EXPECT_EQ(m_input->GetRefCount() + m_output->GetRefCount(), 4)
        << "the references of the test and of its other channel";
}

}  // namespace
