#include <TarselIO/CommunicationChannel.h>

#include <atomic>
#include <chrono>
#include <dlfcn.h>
#include <future>
#include <pthread.h>

#include <boost/thread/scoped_thread.hpp>
#include <boost/thread/thread.hpp>
#include <gmock/gmock.h>

#include <TarselGuard/GuardedFrameInput.h>
#include <TarselIO/DataInputString.h>
#include <TarselIO/DataOutputFF.h>

#include "Support/Await.h"
#include "Support/LogCapture.h"
#include "Support/SystemCalls.h"

using namespace Tarsel::Core;
using Tarsel::SP;
using testing::ElementsAre;

namespace
{

constexpr ioSize kLarge = ioSize{1} << 20;

std::string Frame(ioSize length)
{
    return std::string(reinterpret_cast<const char*>(&length), sizeof length) + std::string(length, 'x');
}

// Once it has read a payload, its thread can allocate no more memory.
struct StarvingInput : DataInputString
{
    using DataInputString::DataInputString;
    ioSize Read(uint8_t* data, ioSize size) override
    {
        ThisThreadsMemory().largest = size == kLarge ? kLarge - 1 : MemoryLimits().largest;
        return DataInputString::Read(data, size);
    }
};

TEST(ChannelFaults, HasNoMessageIfThereIsNoMemoryToStoreIt)
{
    const std::string frame = Frame(kLarge);
    LogCapture log;
    std::promise<void> logged;
    log.When("A communication channel stops reading because of an exception. ", [&] { logged.set_value(); });
    const auto channel =
        CommunicationChannel::Create(SP<IByteDataInput>(new StarvingInput(&frame)), DataOutputFF::Create(""), true);
    ASSERT_EQ(logged.get_future().wait_for(kDeadline), std::future_status::ready);
    EXPECT_FALSE(channel->IsDataAvaliable());
    EXPECT_THAT(log.Take(), ElementsAre(testing::Field(&LogLine::text, testing::HasSubstr("bad_alloc"))));
}

TEST(GuardFaults, HoldsOnePayloadAtATime)
{
    const std::string frames = Frame(kLarge) + Frame(2 * kLarge);
    const auto guard = GuardedFrameInput::Create(DataInputString::Create(&frames), 2 * kLarge, nullptr);
    std::vector<uint8_t> message(kLarge);
    MemoryLimits& memory = ThisThreadsMemory();
    memory.inUse = memory.peak = 0;
    for (const ioSize size : {ioSize{8}, kLarge, ioSize{8}})
    {
        EXPECT_EQ(guard->Read(message.data(), size), size);
    }
    EXPECT_GE(memory.peak, 2 * kLarge);
    EXPECT_LT(memory.peak, 3 * kLarge);
}

// ThreadSanitizer needs its own pthread_mutex_lock.
#ifndef KITIO_SANITIZER_WATCHES_MUTEXES

// Stops a thread before it locks a chosen mutex.
thread_local int mutexesToGo = 0;
std::atomic<bool> arrived = false;
std::atomic<bool> mayGoOn = false;

void PauseAtChosenMutex()
{
    if (mutexesToGo != 0 && --mutexesToGo == 0)
    {
        arrived = true;
        Await([] { return mayGoOn.load(); });
    }
}

// Its Read returns when the test allows it, and ignores Cancel.
struct StubbornInput : DataInputString
{
    explicit StubbornInput(const std::string* source) : DataInputString(source) {}
    ioSize Read(uint8_t* /*data*/, ioSize /*size*/) override
    {
        isReading = true;
        Await([this] { return mayReturn.load(); });
        return 0;
    }
    void Cancel() override { cancelled = true; }
    std::atomic<bool> isReading = false;
    std::atomic<bool> mayReturn = false;
    std::atomic<bool> cancelled = false;
};

// The reader has found nothing and is about to wait, while the destructor looks for readers to wake.
TEST(ChannelFaults, WakesAReaderThatIsAboutToWaitWhenItIsDestroyed)
{
    const std::string nothing;
    const SP<StubbornInput> input(new StubbornInput(&nothing));
    SP<IDataChannel> channel = CommunicationChannel::Create(input, DataOutputFF::Create(""), true);
    std::packaged_task<ioSize()> read(
        [plain = channel.get()]
        {
            mutexesToGo = 2;  // the channel's, which it then holds, and the first one that Boost's wait locks
            uint8_t byte = 0;
            return plain->Read(&byte, 1);
        });
    std::future<ioSize> count = read.get_future();
    const boost::scoped_thread<boost::interrupt_and_join_if_joinable> reader(boost::thread(std::move(read)));
    Await([] { return arrived.load(); });
    Await([&] { return input->isReading.load(); });  // or the background thread could end without waiting for the test
    std::future<void> destruction = std::async(std::launch::async, [&] { channel.reset(); });
    Await([&] { return input->cancelled.load(); });
    EXPECT_NE(destruction.wait_for(std::chrono::milliseconds(20)), std::future_status::ready);
    mayGoOn = true;
    ASSERT_EQ(count.wait_for(kDeadline), std::future_status::ready);
    EXPECT_EQ(count.get(), 0);
    input->mayReturn = true;
    EXPECT_EQ(destruction.wait_for(kDeadline), std::future_status::ready);
}

#endif

}  // namespace

#ifndef KITIO_SANITIZER_WATCHES_MUTEXES

// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    static auto* const kReal = reinterpret_cast<decltype(&::pthread_mutex_lock)>(::dlsym(RTLD_NEXT, __func__));
    PauseAtChosenMutex();
    return kReal(mutex);
}

#endif
