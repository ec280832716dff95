#include <TarselIO/KitIO.h>
#include <TarselPointer/RefCounted.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <functional>
#include <future>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Tarsel;
using namespace Tarsel::Core;

namespace
{

int destructions;

template <class Stream>
struct Observed : Stream
{
    using Stream::Stream;
    ~Observed() override { ++destructions; }
};

// A static_cast from a base to its class compiles only if the base is not virtual.
template <class Base, class Class, class = void>
constexpr bool kIsVirtual = std::is_base_of_v<Base, Class>;
template <class Base, class Class>
constexpr bool kIsVirtual<Base, Class, std::void_t<decltype(static_cast<Class*>(std::declval<Base*>()))>> = false;
template <class Base, class... Classes>
constexpr bool kVirtual = (kIsVirtual<Base, Classes> && ...);

// One of the concrete classes, with its path and the result of two reads of 2 bytes.
struct Kind
{
    const char* name;
    ioPath path;
    std::string text;
    std::function<IRefCountable*()> construct;
};

template <class Stream, class Interface, class... Arguments>
Kind Of(const char* name, const char* path, const char* text, Arguments... arguments)
{
    static_assert(kVirtual<Interface, Stream> != std::is_same_v<Stream, DataInputMemory>);
    static_assert(!std::is_base_of_v<RefCountImpl, Stream> && !std::is_base_of_v<LockImpl, Stream>);
    return {name, path, text, [=] { return destructions = 0, new Observed<Stream>(arguments...); }};
}

constexpr uint8_t kBytes[] = {'a', 'b', 'c', 'd'};
const std::string kSource = "abcd";
std::string target;
void* const kNoHandle = nullptr;

// A class that a program defines.
struct OwnInput : RefCounted<IByteDataInput>
{
    ioSize Read(uint8_t* /*data*/, ioSize /*size*/) override { return 0; }
};

const Kind kSeekable[] = {
    Of<DataInputFile, IDataInput>("DataInputFile", "/proc/self/exe", "\x7F\x45LF", "/proc/self/exe"),
    Of<DataOutputFile, IDataOutput>("DataOutputFile", "/dev/null", "", "/dev/null"),
    Of<DataInputFF, IDataInput>("DataInputFF", "no/where", "", "no/where"),
    Of<DataOutputFF, IDataOutput>("DataOutputFF", "no/where", "", "no/where"),
    Of<DataInputMemory, IDataInput>("DataInputMemory", "", "abcd", kBytes, ioSize{4}),
    Of<DataInputString, IDataInput>("DataInputString", "", "abcd", &kSource),
    Of<DataOutputString, IDataOutput>("DataOutputString", "", "", &target)};
const Kind kBytewise[] = {
    Of<DataInputPipe, IByteDataInputEx>("DataInputPipe", "", "", kNoHandle),
    Of<DataOutputPipe, IByteDataOutputEx>("DataOutputPipe", "", "", kNoHandle),
    Of<DataInputOutputPipe, IByteDataInputOutput>("DataInputOutputPipe", "", "", "", false),
    Of<DataStdInput, IByteDataInput>("DataStdInput", "", ""),
    Of<DataStdOutput, IByteDataOutput>("DataStdOutput", "", ""),
    Of<CommunicationChannel, IDataChannel>("Channel", "", "", DataInputFF::Create(""), DataOutputFF::Create(""), false),
    Of<OwnInput, IByteDataInput>("RefCounted", "", "")};

// Runs `work` on two threads at the same time, each with its own copy.
template <class Work>
void OnTwoThreads(int times, Work work)
{
    std::atomic<int> started{0};
    const auto repeat = [&started, times](const Work& own)
    {
        for (++started; started < 2;)
        {
            std::this_thread::yield();
        }
        for (int i = 0; i < times; ++i)
        {
            own();
        }
    };
    std::thread other(repeat, work);
    repeat(Work(std::move(work)));
    other.join();
}

class CountedObject : public testing::TestWithParam<Kind>
{
protected:
    SP<IRefCountable> m_object{GetParam().construct()};
    ILockable* const m_lock = dynamic_cast<ILockable*>(m_object.get());
};

class SeekableStream : public CountedObject
{
};

const auto kNameOf = [](const auto& info) { return info.param.name; };
INSTANTIATE_TEST_SUITE_P(Seekable, CountedObject, testing::ValuesIn(kSeekable), kNameOf);
INSTANTIATE_TEST_SUITE_P(Bytewise, CountedObject, testing::ValuesIn(kBytewise), kNameOf);
INSTANTIATE_TEST_SUITE_P(All, SeekableStream, testing::ValuesIn(kSeekable), kNameOf);

TEST_P(CountedObject, LivesUntilTheLastReferenceIsDropped)
{
    const IRefCountable& o = *m_object.detach();
    const int counts[] = {o.GetRefCount(), o.AddRef(), o.GetRefCount(), o.Release()};
    EXPECT_THAT(counts, testing::ElementsAre(1, 2, 2, 1));
    EXPECT_EQ(destructions, 0);
    EXPECT_EQ(o.Release(), 0);
    EXPECT_EQ(destructions, 1);
}

TEST_P(CountedObject, IsCountedExactlyByTwoThreads)
{
    OnTwoThreads(100000, [own = std::move(m_object)] { const SP<IRefCountable> copy = own; });
    EXPECT_EQ(destructions, 1);
}

TEST_P(CountedObject, IsNotChangedByCancelOrByReadingNothing)
{
    const AutoLock takenByNoOperation(m_lock);
    auto* const input = dynamic_cast<IByteDataInput*>(m_object.get());
    std::string text;
    for (int i = 0; input != nullptr && i < 2; ++i)
    {
        uint8_t data[2];
        text.append(data, data + input->Read(data, 2));
        EXPECT_EQ(input->Read(nullptr, 0), 0U);
        input->Cancel();
    }
    EXPECT_EQ(text, GetParam().text);
}

TEST_P(SeekableStream, ReturnsThePathThatItWasCreatedWith)
{
    const auto* const input = dynamic_cast<IDataInput*>(m_object.get());
    EXPECT_EQ(input ? input->GetFilename() : dynamic_cast<IDataOutput&>(*m_object).GetFilename(), GetParam().path);
}

TEST_P(SeekableStream, KeepsOtherThreadsOutForTheScopeOfAnAutoLock)
{
    const auto isFree = [this] { return m_lock->TryLock() && (m_lock->Unlock(), true); };
    {
        const AutoLock guard(m_lock);
        EXPECT_FALSE(std::async(std::launch::async, isFree).get());
    }
    EXPECT_TRUE(std::async(std::launch::async, isFree).get());

    int count = 0;
    const auto countUp = [&]
    {
        const AutoLock guard(m_lock);
        const int before = count;
        std::this_thread::yield();
        count = before + 1;
    };
    OnTwoThreads(1000, countUp);
    EXPECT_EQ(count, 2000);
}

TEST(Factories, ReturnOneReference)
{
    std::string text;
    unsigned long limit = 0;
    const SP<IRefCountable> objects[] = {
        DataInputFile::Create("/dev/null"),
        DataOutputFile::Create("/dev/null"),
        DataInputFF::Create(""),
        DataOutputFF::Create(""),
        DataInputMemory::Create(kBytes, 4),
        DataInputString::Create(&text),
        DataOutputString::Create(&text),
        DataInputPipe::Create(kNoHandle, std::make_unique<ByteDataInputRawProtocol>()),
        DataOutputPipe::Create(kNoHandle, std::make_unique<ByteDataOutputRawProtocol>()),
        DataInputOutputPipe::Create("", false, limit),
        CommunicationChannel::Create(DataInputFF::Create(""), DataOutputFF::Create(""), false)};
    EXPECT_THAT(objects, testing::Each(testing::Pointee(testing::Property(&IRefCountable::GetRefCount, 1))));
}

TEST(AutoLock, EndsTheProcessWhenUnlockThrows)
{
    struct : ILockable
    {
        void Lock() override {}
        bool TryLock() override { return true; }
        void Unlock() override { throw std::runtime_error("not yours"); }
    } stubborn;
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(AutoLock{&stubborn}, testing::KilledBySignal(SIGABRT), "not yours");
}

// Returns whether the virtual functions are in this order in the virtual table. In the Itanium C++ ABI the first word
// of a pointer to a virtual function gives its slot.
template <class... Functions>
bool InOrder(std::size_t first, Functions... functions)
{
    std::size_t word = 0;
    return ((std::memcpy(&word, &functions, sizeof word), word / sizeof(void*) == first++) && ...);
}

// The first two slots are the destructor's.
template <class S>
struct Order
{
    static bool Reads() { return InOrder(2, &S::AddRef, &S::GetRefCount, &S::Release, &S::Read, &S::Cancel); }
    static bool Writes() { return InOrder(2, &S::AddRef, &S::GetRefCount, &S::Release, &S::Write, &S::Cancel); }
    static bool Locks(std::size_t first) { return InOrder(first, &S::Lock, &S::TryLock, &S::Unlock); }
    static bool Inputs() { return Reads() && InOrder(7, &S::GetFilename, &S::GetSize) && MovesAndLocks(9); }
    static bool Outputs()
    {
        return Writes() && InOrder(7, &S::GetFilename, &S::GetSize, &S::SetSize) && MovesAndLocks(10);
    }
    static bool MovesAndLocks(std::size_t first)
    {
        return InOrder(first, &S::GetPosition, &S::SetPosition) && Locks(first + 2);
    }
};

TEST(BinaryInterface, KeepsTheOrderOfTheOperations)
{
    EXPECT_TRUE(Order<DataInputFile>::Inputs() && Order<DataInputFF>::Inputs());
    EXPECT_TRUE(Order<DataInputMemory>::Inputs() && Order<DataInputString>::Inputs());
    EXPECT_TRUE(Order<DataOutputFile>::Outputs() && Order<DataOutputFF>::Outputs());
    EXPECT_TRUE(Order<DataOutputString>::Outputs() && Order<ILockable>::Locks(2));
    EXPECT_TRUE(Order<DataStdInput>::Reads() && Order<DataStdOutput>::Writes());
    using Input = DataInputPipe;
    EXPECT_TRUE(Order<Input>::Reads() && InOrder(7, &Input::ReadRaw, &Input::GetMaxReadSizeAtTime));
    using Output = DataOutputPipe;
    EXPECT_TRUE(Order<Output>::Writes() && InOrder(7, &Output::WriteRaw, &Output::GetMaxWriteSizeAtTime));
    EXPECT_TRUE(Order<DataInputOutputPipe>::Reads() && InOrder(7, &DataInputOutputPipe::Write));
    using Channel = CommunicationChannel;
    EXPECT_TRUE(Order<Channel>::Reads() && InOrder(7, &Channel::SetDataAvailableHandler, &Channel::IsDataAvaliable));
    EXPECT_TRUE(InOrder(9, &Channel::ReadHeader, &Channel::Write, &Channel::Thread));
    EXPECT_TRUE(InOrder(0, &IDataAvailableHandler::OnDataAvailable));
    EXPECT_TRUE(InOrder(2, &IByteDataInputProtocol::Read, &IByteDataInputProtocol::SetByteDataInput));
    EXPECT_TRUE(InOrder(2, &IByteDataOutputProtocol::Write, &IByteDataOutputProtocol::SetByteDataOutput));
}

static_assert(kVirtual<IRefCountable, IByteDataInput, IByteDataOutput, IDataInput, IDataOutput, IByteDataInputOutput>);
static_assert(kVirtual<ILockable, IDataInput, IDataOutput> && kVirtual<INotifyingByteDataInput, IDataChannel>);
static_assert(kVirtual<IByteDataInput, IDataInput, IByteDataInputEx, IByteDataInputOutput, INotifyingByteDataInput>);
static_assert(kVirtual<IByteDataOutput, IDataOutput, IByteDataOutputEx, IByteDataInputOutput, IDataChannel>);
static_assert(kVirtual<IByteDataInputProtocol, ByteDataInputDefaultProtocol, ByteDataInputRawProtocol>);
static_assert(kVirtual<IByteDataOutputProtocol, ByteDataOutputDefaultProtocol, ByteDataOutputRawProtocol>);
static_assert(kVirtual<std::exception, Tarsel::Exception> && kVirtual<boost::exception, Tarsel::Exception>);
static_assert(kVirtual<Tarsel::Exception, CoreException> && kVirtual<CoreException, IOException>);

}  // namespace
