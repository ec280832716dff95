// Pairs of processes that talk over channels in both directions while one of each pair is killed at random moments and
// replaced. Every message is checked; the survivors must end each talk as documented and keep no memory.

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <iostream>
#include <malloc.h>
#include <random>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <glog/logging.h>

#include <TarselIO/KitIO.h>

#include "Support/TemporaryDirectory.h"

using namespace Tarsel::Core;
using Tarsel::SP;
using Clock = std::chrono::steady_clock;
using Random = std::independent_bits_engine<std::minstd_rand, 16, unsigned>;

namespace
{

constexpr char kDescription[] = "Kills processes that exchange messages over channels and checks the others.\n\n";
constexpr char kUsage[] = "Usage: kitio_soak [SECONDS | --deaths NUMBER]\n";
constexpr char kOptions[] =
    "  SECONDS            how long to run (default: 60)\n"
    "  --deaths NUMBER    how many processes to kill, in quick succession\n";

constexpr std::size_t kPairs = 3;
constexpr ioSize kLargest = ioSize{4} << 20U;
constexpr std::chrono::seconds kPatience(60);  // anything that takes longer hangs
using Phase = std::size_t;                     // open, header, payload, idle
// Four places hold a message, or two while they grow. After its first talk, a survivor allocates that much once. From
// then on its peak may grow by the gaps between its blocks, a few messages' worth, and its heap in use by a little.
constexpr ioSize kWarmUp = 8 * kLargest;
using Memory = std::array<long, 3>;  // the peak in bytes, the heap in use in bytes, and the open descriptors
constexpr Memory kMayGrow = {4 * static_cast<long>(kLargest), 16 << 10, 0};
/// Two processes: one is killed repeatedly, the other one survives. In memory that they share with their supervisor.
struct Pair
{
    std::string toSurvivor;
    std::string toMortal;
    pid_t survivor = 0;
    pid_t mortal = 0;
    unsigned killed = 0;
    std::atomic<Phase> phase = 0;       // of the mortal process
    std::atomic<unsigned> turn = 0;     // the number of the talk that may begin
    std::atomic<bool> talking = false;  // the survivor has opened both pipes
    std::atomic<unsigned> talks = 0;    // how many talks the survivor has ended
    std::atomic<bool> stop = false;
    std::atomic<std::uint64_t> messages = 0;
    std::atomic<std::uint64_t> bytes = 0;
    Memory start = {};
    Memory end = {};
};

/// A separate message before each message: its number, its size and the 16 bytes of its digest.
using Head = std::array<std::uint64_t, 4>;

Head MakeHead(std::uint64_t number, const std::vector<uint8_t>& message)
{
    Head head = {number, message.size()};
    std::memcpy(&head[2], MD5Generate(message, {}).bytes.data(), 2 * sizeof head[2]);
    return head;
}

void Require(bool condition, const char* what)
{
    if (!condition)
    {
        std::cerr << "soak: " << what << std::endl;
        std::_Exit(EXIT_FAILURE);
    }
}

Memory MeasureMemory()
{
    struct rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto heap = static_cast<long>(::mallinfo2().uordblks + ::mallinfo2().hblkhd);
    // A sanitizer's allocator keeps freed memory on purpose, so its figures mean nothing.
    return {heap != 0 ? usage.ru_maxrss * 1024 : 0,
            heap,
            std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {})};
}

/// A channel's two streams. Notifies the reader when the input has ended, which the channel itself does not report, and
/// shows in which phase the output is.
class Streams : public DataInputOutputPipe, public IDataAvailableHandler
{
public:
    Streams(SP<IByteDataInput> input, SP<IByteDataOutput> output, std::atomic<Phase>& phase)
        : DataInputOutputPipe("", false), m_phase(phase)
    {
        SetInputPipe(std::move(input));
        SetOutputPipe(std::move(output));
    }
    ioSize Read(uint8_t* data, ioSize size) override
    {
        const ioSize count = DataInputOutputPipe::Read(data, size);
        count != size ? Note(m_ended) : void();
        return count;
    }
    /// Pauses, so that a process can be killed in the middle of each phase.
    ioSize Write(const uint8_t* data, ioSize size) override
    {
        m_phase = std::exchange(m_header, !m_header) ? 1 : 2;
        const ioSize count = DataInputOutputPipe::Write(data, size / 2);
        ::usleep(m_phase == 1 ? 100 : 0);
        const ioSize all = count + DataInputOutputPipe::Write(data + size / 2, size - size / 2);
        m_phase = 3;
        return all;
    }
    void OnDataAvailable(ioSize /*size*/) override { Note(m_arrived); }
    /// Waits and returns whether another complete message has arrived.
    bool WaitForMessage()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_arrived || m_ended; });
        return std::exchange(m_arrived, false) && !m_ended;
    }

private:
    void Note(bool& what)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        what = true;
        m_changed.notify_one();
    }
    std::atomic<Phase>& m_phase;
    bool m_header = true;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_arrived = false;  // guarded by m_mutex
    bool m_ended = false;    // guarded by m_mutex
};

/// Sends messages of random sizes, small ones as often as large ones, until the other side has gone.
void SendMessages(IDataChannel& channel)
{
    Random random(std::random_device{}());
    std::uniform_real_distribution<double> exponent(0, 22);
    std::vector<uint8_t> message;
    bool sent = true;
    for (std::uint64_t number = 0; sent; ++number)
    {
        message.resize(static_cast<ioSize>(std::exp2(exponent(random))));
        std::generate_n(message.begin(), std::min<ioSize>(message.size(), 256), std::ref(random));
        const Head head = MakeHead(number, message);
        sent = channel.Write(reinterpret_cast<const uint8_t*>(&head), sizeof head) == sizeof head &&
               channel.Write(message.data(), message.size()) == message.size();
        ::usleep(random() % 4 == 0 ? random() % 2000 : 0);
    }
}

void ReceiveMessages(IDataChannel& channel, Streams& streams, Pair& pair)
{
    std::vector<uint8_t> message;
    Head head = {};
    for (std::uint64_t number = 0; streams.WaitForMessage(); ++number)
    {
        const ioSize count = channel.Read(reinterpret_cast<uint8_t*>(&head), sizeof head);
        Require(count == sizeof head && head[1] <= kLargest, "a message is damaged");
        if (streams.WaitForMessage())
        {
            message.resize(head[1]);
            Require(channel.Read(message.data(), head[1]) == head[1], "a message has the wrong length");
            Require(MakeHead(number, message) == head, "a message is lost, repeated or damaged");
            ++pair.messages;
            pair.bytes += head[1];
        }
    }
}

/// One talk, until the other side has gone. Both sides open the pipes in the same order.
void Talk(Pair& pair, bool mortal)
{
    SP<IByteDataInput> input = mortal ? DataInputPipe::Create(pair.toMortal, false) : nullptr;
    const SP<IByteDataOutput> output = DataOutputPipe::Create(mortal ? pair.toSurvivor : pair.toMortal, false);
    input = mortal ? input : DataInputPipe::Create(pair.toSurvivor, false);
    mortal ? void() : pair.talking.store(true);
    std::atomic<Phase> unused;
    const SP<Streams> streams(new Streams(input, output, mortal ? pair.phase : unused));
    const SP<IDataChannel> channel = CommunicationChannel::Create(streams, streams, true);
    channel->SetDataAvailableHandler(streams.get());
    channel->IsDataAvaliable() ? streams->OnDataAvailable(0)
                               : void();  // for a message that arrived before the handler was set
    std::thread sender([&] { SendMessages(*channel); });
    ReceiveMessages(*channel, *streams, pair);
    sender.join();
}

[[noreturn]] void Survive(Pair& pair)
{
    for (unsigned talks = 1;; ++talks)
    {
        for (; pair.turn < talks; ::usleep(100))
        {
            pair.stop ? std::_Exit(EXIT_SUCCESS) : void();
        }
        Talk(pair, false);
        talks == 1 ? static_cast<void>(std::string(kWarmUp, 'x')) : void();
        pair.end = MeasureMemory();
        pair.start = talks == 1 ? pair.end : pair.start;
        pair.talking = false;
        pair.talks = talks;
    }
}

pid_t Start(const std::function<void()>& body)
{
    const pid_t process = ::fork();
    Require(process >= 0, "cannot start a process");
    if (process == 0)
    {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        body();
        Require(false, "a process has ended its talk too early");
    }
    return process;
}

void Await(Pair& pair, const char* what, const std::function<bool()>& condition)
{
    for (const auto deadline = Clock::now() + kPatience; !condition(); ::usleep(100))
    {
        Require(Clock::now() < deadline && ::waitpid(pair.survivor, nullptr, WNOHANG) == 0, what);
    }
}

void Replace(Pair& pair)
{
    pair.phase = 0;
    pair.turn = pair.killed + 1;
    pair.mortal = Start([&pair] { Talk(pair, true); });
}

/// Kills the mortal process, waits until the survivor has ended the talk and returns the phase of the mortal one.
Phase Kill(Pair& pair)
{
    int status = 0;
    ::kill(pair.mortal, SIGKILL);
    ::waitpid(pair.mortal, &status, 0);
    Require(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL, "a process has ended by itself");
    const Phase phase = pair.phase;
    // A survivor that is still opening its pipes rightly waits for another process. These descriptors end the wait.
    const int first = ::open(pair.toMortal.c_str(), O_RDWR | O_NONBLOCK);
    const int second = ::open(pair.toSurvivor.c_str(), O_RDWR | O_NONBLOCK);
    Await(pair, "a survivor hangs in an open or has failed", [&] { return pair.talking || pair.talks > pair.killed; });
    ::close(first);
    ::close(second);
    ++pair.killed;
    Await(pair, "a survivor hangs or has failed", [&] { return pair.talks == pair.killed; });
    return phase;
}

/// Ends the survivor, which must not have kept memory or descriptors.
void Finish(Pair& pair)
{
    Kill(pair);
    pair.stop = true;
    int status = 0;
    Require(::waitpid(pair.survivor, &status, 0) > 0 && status == 0, "a survivor has failed");
    std::cout << "survivor: peak memory " << (pair.start[0] >> 20) << " MiB at the start, " << (pair.end[0] >> 20)
              << " MiB at the end; heap in use " << (pair.start[1] >> 10) << " KiB, " << (pair.end[1] >> 10)
              << " KiB\n";
    for (std::size_t i = 0; i != kMayGrow.size(); ++i)
    {
        Require(pair.end.at(i) <= pair.start.at(i) + kMayGrow.at(i), "a survivor keeps memory or descriptors");
    }
}

/// How long to run: until `amount` processes have been killed, or for `amount` seconds.
struct Extent
{
    bool countsDeaths;
    unsigned long amount;
};

/// Exits after --help, and if the command line is wrong.
Extent ReadCommandLine(int argc, char** argv)
{
    const std::string option = argc > 1 ? argv[1] : "60";
    if (option == "-h" || option == "--help")
    {
        std::cout << kDescription << kUsage << kOptions;
        std::exit(EXIT_SUCCESS);
    }
    const bool countsDeaths = argc == 3 && option == "--deaths";
    const unsigned long amount = std::strtoul(countsDeaths ? argv[2] : option.c_str(), nullptr, 10);
    if (amount == 0 || argc > (countsDeaths ? 3 : 2))
    {
        std::cerr << "kitio_soak: wrong arguments\n" << kUsage;
        std::exit(2);
    }
    return {countsDeaths, amount};
}

}  // namespace

int main(int argc, char** argv)  // NOLINT(bugprone-exception-escape): an exception ends the program, as intended
{
    // The allocator counts the blocks that it caches for a thread as used. Without the cache, every byte counts.
    if (std::getenv("GLIBC_TUNABLES") == nullptr && ::setenv("GLIBC_TUNABLES", "glibc.malloc.tcache_count=0", 0) == 0)
    {
        ::execv("/proc/self/exe", argv);
    }
    FLAGS_minloglevel = google::GLOG_FATAL;
    const auto [counts, amount] = ReadCommandLine(argc, argv);
    const TemporaryDirectory directory;
    constexpr int kAccess = PROT_READ | PROT_WRITE;
    auto& pairs = *static_cast<std::array<Pair, kPairs>*>(
        ::mmap(nullptr, kPairs * sizeof(Pair), kAccess, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    for (Pair& pair : pairs)
    {
        const std::string name = std::to_string(&pair - pairs.data());
        new (&pair) Pair{directory.Fifo(name + "in"), directory.Fifo(name + "out")};
        pair.survivor = Start([&pair] { Survive(pair); });
        Replace(pair);
    }
    Random random(std::random_device{}());
    Pair* latest = pairs.data();
    std::array<unsigned, 4> deaths = {};
    const auto deadline = Clock::now() + std::chrono::seconds(amount);
    for (unsigned long death = 0; counts ? death < amount : Clock::now() < deadline; ++death)
    {
        ::usleep(counts ? 0 : random() * 8);
        const auto phase = random() % 4;
        Pair& pair = phase == 0 ? *latest : pairs[random() % kPairs];
        for (int i = 0; i != 1000 && pair.phase != phase;
             ++i)  // the phase may never come: then any moment is good enough
        {
            ::usleep(50);
        }
        ::usleep(random() % 200);
        ++deaths.at(Kill(pair));
        Replace(*(latest = &pair));
    }
    std::for_each(pairs.begin(), pairs.end(), &Finish);
    const auto sum = [&pairs](auto member) { return pairs[0].*member + pairs[1].*member + pairs[2].*member; };
    std::cout << sum(&Pair::messages) << " messages, " << (sum(&Pair::bytes) >> 20U) << " MiB; faults survived: ";
    std::cout << deaths[0] << " in open, " << deaths[1] << " in header, " << deaths[2] << " in payload, " << deaths[3]
              << " when idle\n";
    Require(sum(&Pair::messages) != 0, "no message came through");
    std::destroy(pairs.begin(), pairs.end());
}
