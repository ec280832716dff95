#include <algorithm>
#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <fcntl.h>
#include <iterator>
#include <map>
#include <random>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

#include <boost/thread/exceptions.hpp>
#include <boost/uuid/entropy_error.hpp>
#include <gtest/gtest.h>
#include <unicode/uclean.h>

#include <TarselIO/KitIO.h>

#include "Support/LogCapture.h"
#include "Support/Records.h"
#include "Support/SystemCalls.h"
#include "Support/TemporaryDirectory.h"

// Runs each scenario once for every call that it makes into the system and the allocator, and for every error of that
// call, and looks at how it ends. The log shows what goes wrong and nothing else: its lines come after the fault, so
// the one fault of a run never befalls the log itself, which does not bear all of them.

using namespace Tarsel;
using namespace Tarsel::Core;

// NOLINTNEXTLINE(readability-identifier-naming,readability-inconsistent-declaration-parameter-name)
extern "C" char* tempnam(const char* directory, const char* prefix) noexcept
{
    auto* const real = reinterpret_cast<decltype(&::tempnam)>(::dlsym(RTLD_NEXT, "tempnam"));
    return FailsInSweep("tempnam") ? nullptr : real(directory, prefix);
}

namespace
{

// ICU 72 follows null pointers when some of its own allocations fail, so these are exempt.
void* IcuAllocate(const void* /*context*/, size_t size)
{
    const Exempt icus;
    return std::malloc(size);
}
void* IcuReallocate(const void* /*context*/, void* block, size_t size)
{
    const Exempt icus;
    return std::realloc(block, size);
}
void IcuFree(const void* /*context*/, void* block)
{
    std::free(block);
}

constexpr unsigned kPatience = 25;  // seconds
constexpr ioSize kSize = 2500;

/// Where a scenario plays, and what it has to show for it. All bytes are those of `pattern`, at whatever position they
/// are read or written, so that wrong ones tell themselves.
struct Stage
{
    Stage()
    {
        std::generate(pattern.begin(), pattern.end(), std::minstd_rand());
        std::ofstream(input) << pattern;
        seen.reserve(4096), arrived.reserve(1U << 17U), lines.reserve(1U << 14U);
    }
    ~Stage() { ::close(far), ::close(near); }

    const uint8_t* Data() const { return reinterpret_cast<const uint8_t*>(pattern.data()); }
    void Saw(const char* what, ioSize value)
    {
        const Exempt own;
        seen.append(what).append(" ").append(std::to_string(value)).append("\n");
    }
    /// The library says to have read these bytes, or written so many that end there.
    void Got(const void* data, ioSize count)
    {
        const Exempt own;
        const std::string_view bytes(static_cast<const char*>(data), count);
        const std::size_t where = pattern.find(bytes);
        EXPECT_NE(where, std::string::npos) << count << " bytes that nobody sent";
        seen.append("got ").append(std::to_string(count)).append(" from ").append(std::to_string(where)).append("\n");
    }
    void Wrote(ioSize count, ioSize end)
    {
        Saw("wrote", count);
        claimed = count != 0 ? std::max(claimed, end) : claimed;
    }
    /// Sends what the library's end is to read.
    void Send(const std::string& bytes) const
    {
        const Exempt own;
        EXPECT_EQ(::write(far, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    bool AllTaken() const
    {
        int waiting = 0;
        return ::ioctl(far, FIONREAD, &waiting) == 0 && waiting == 0;
    }
    bool ReadingFailed()
    {
        const Exempt own;
        for (const LogLine& line : log.Take())
        {
            lines += line.text + '\n';
        }
        return lines.find("The read syscall ") != std::string::npos || lines.find("stops reading") != std::string::npos;
    }
    static void Drain(int descriptor, std::string& into)
    {
        char bytes[4096];
        for (ssize_t count = 0; (count = ::read(descriptor, bytes, sizeof bytes)) > 0;)
        {
            into.append(bytes, static_cast<std::size_t>(count));
        }
    }

    std::string pattern = std::string(kSize, '\0');
    TemporaryDirectory directory;
    const std::string input = directory.Path("input");
    const std::string root = directory.Path("made");
    const std::string output = root + "/on/the/way";
    const std::string incoming = directory.Fifo("incoming");
    const std::string outgoing = directory.Fifo("outgoing");
    const int far = ::open(incoming.c_str(), O_RDWR | O_NONBLOCK);  // the other ends, so that nobody waits
    const int near = ::open(outgoing.c_str(), O_RDWR | O_NONBLOCK);
    LogCapture log;
    std::string seen;     // compared with what a run without a fault has seen
    std::string arrived;  // what has been written in truth
    std::string lines;    // of the log
    ioSize claimed = 0;   // how much of the pattern has been written according to the library
    uint8_t buffer[kSize] = {};
};

void WritesAFile(Stage& stage)
{
    const auto stream = DataOutputFile::Create(stage.output);
    const ioSize count = stream->Write(stage.Data(), 2000);
    stage.Wrote(count, count);
    if (count != 2000)
    {
        return;
    }
    stream->SetPosition(100);
    stage.Saw("again", stream->Write(stage.Data() + 100, 100));
    stage.claimed = 50;
    stream->SetSize(50);
    stage.Saw("position", stream->GetPosition() + stream->GetSize());
}

void ReadsAFile(Stage& stage)
{
    const auto stream = DataInputFile::Create(stage.input);
    stage.Saw("size", stream->GetSize());
    stage.Got(stage.buffer, stream->Read(stage.buffer, 100));
    stream->SetPosition(2000);
    stage.Saw("position", stream->GetPosition());
    stage.Got(stage.buffer, stream->Read(stage.buffer, kSize));
}

void UsesMemoryAndStrings(Stage& stage)
{
    const auto memory = DataInputMemory::Create(stage.Data(), kSize);
    stage.Got(stage.buffer, memory->Read(stage.buffer, kSize));
    std::string target;
    const auto output = DataOutputString::Create(&target);
    stage.Saw("written", output->Write(stage.Data(), 1000));
    output->SetPosition(500);
    stage.Saw("written", output->Write(stage.Data() + 500, 1000));
    output->SetSize(1200);
    const auto input = DataInputString::Create(&target);
    stage.Got(stage.buffer, input->Read(stage.buffer, kSize));
    stage.Saw("placeholders", DataInputFF::Create("a name")->GetSize() + DataOutputFF::Create("a name")->GetSize());
    memory->SetPosition(kSize + 1);  // which throws, in the end
}

void PacksBits(Stage& stage)
{
    const auto input = DataInputFile::Create(stage.input);
    DataBitInput reader(input);
    DataBitOutput writer(DataOutputFile::Create(stage.root + "/packed"));  // a byte lost goes unnoticed, by contract
    for (ioSize at = 0; at != 8; ++at)
    {
        writer.WriteBits(static_cast<uint8_t>(reader.ReadBits(3)), 3);
        writer.WriteBits(static_cast<uint8_t>(reader.ReadBits(5)), 5);
    }
    writer.Flush();
    reader.ReadBits(8);
}

template <class Protocol>
void ReadsAPipe(Stage& stage)
{
    stage.Send(stage.pattern);
    const auto pipe = DataInputPipe::Create(stage.incoming, std::make_unique<Protocol>(), true);
    stage.Got(stage.buffer, pipe->Read(stage.buffer, kSize));
}

template <class Protocol>
void WritesAPipe(Stage& stage)
{
    const auto pipe = DataOutputPipe::Create(stage.outgoing, std::make_unique<Protocol>(), true);
    const ioSize count = pipe->Write(stage.Data(), kSize);
    stage.Wrote(count, count);
}

void UsesTheEndpoints(Stage& stage)
{
    stage.Send(stage.pattern);
    const SP<DataInputOutputPipe> duplex(new DataInputOutputPipe("", false));
    duplex->SetInputPipe(DataInputPipe::Create(stage.incoming, true));
    duplex->SetOutputPipe(DataOutputPipe::Create(stage.outgoing, true));
    stage.Got(stage.buffer, duplex->Read(stage.buffer, 1500));
    const ioSize count = duplex->Write(stage.Data(), 1500);
    stage.Wrote(count, count);
    const SP<DataStdInput> standardInput(new DataStdInput);
    const SP<DataStdOutput> standardOutput(new DataStdOutput);
    standardInput->SetInputPipe(duplex);
    standardOutput->SetOutputPipe(duplex);
    stage.Got(stage.buffer, standardInput->Read(stage.buffer, 500));
    stage.Saw("more", count == 1500 ? standardOutput->Write(stage.Data() + 1500, 500) : 0);
}

std::string Header(ioSize size)
{
    return {reinterpret_cast<const char*>(&size), sizeof size};
}

SP<IDataChannel> Connect(Stage& stage, bool threaded)
{
    stage.Send(Header(kSize) + stage.pattern + Header(0));
    const auto input = DataInputPipe::Create(stage.incoming, true);
    return CommunicationChannel::Create(input, DataOutputPipe::Create(stage.outgoing, true), threaded);
}

void TalksDirectly(Stage& stage)
{
    const auto channel = Connect(stage, false);
    const ioSize length = channel->ReadHeader();
    stage.Saw("length", length);
    stage.Got(stage.buffer, length == kSize ? channel->Read(stage.buffer, kSize) : 0);
    const ioSize count = channel->Write(stage.Data(), kSize);
    stage.Wrote(count, count);
}

struct Silence : IDataAvailableHandler
{
    void OnDataAvailable(ioSize /*size*/) override {}
};

void TalksByAThread(Stage& stage)
{
    Silence handler;
    const auto channel = Connect(stage, true);
    channel->SetDataAvailableHandler(&handler);
    while (!channel->IsDataAvaliable() && !stage.ReadingFailed())
    {
        std::this_thread::yield();
    }
    if (!stage.ReadingFailed())
    {
        stage.Got(stage.buffer, channel->Read(stage.buffer, kSize));
    }
    const ioSize count = channel->Write(stage.Data(), kSize);
    stage.Wrote(count, count);
    while (!stage.AllTaken() && !stage.ReadingFailed())  // so that every run reads the farewell
    {
        std::this_thread::yield();
    }
}

void UsesTheHelpers(Stage& stage)
{
    const auto file = DataInputFile::Create(stage.input);
    const std::vector<uint8_t> bytes = StreamToBuffer(file.get(), true);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size() - 1);
    stage.Saw("bytes", text == stage.pattern);
    file->SetPosition(0);
    stage.Saw("text", StreamToBufferString(file.get()) == stage.pattern);
    stage.Saw("digest", MD5Generate(DataInputMemory::Create(stage.Data(), kSize), "a text").Hex().size());
    std::string target;
    stage.Saw("written", BufferToStream(bytes, DataOutputString::Create(&target).get()));
    stage.Saw("written", BufferToStream(stage.pattern, DataOutputString::Create(&target).get()));
}

void MakesNames(Stage& stage)
{
    stage.Saw("names", GenerateTempFileName().size() + GeneratePipeName().size());
}

void AsksForADate(Stage& stage)
{
    stage.Saw("date", GetFileCreationDateString(stage.input).size());
}

// What the programs that move a file do: from a file through a pipe to another file, and its digest.
void MovesAFile(Stage& stage)
{
    const auto input = DataInputFile::Create(stage.input);
    const auto writer = DataOutputPipe::Create(stage.incoming, true);
    const auto reader = DataInputPipe::Create(stage.incoming, true);
    const auto output = DataOutputFile::Create(stage.output);
    ioSize total = 0;
    ioSize count = 0;
    while ((count = input->Read(stage.buffer, 1000)) != 0 && writer->Write(stage.buffer, count) == count &&
           reader->Read(stage.buffer, count) == count && output->Write(stage.buffer, count) == count)
    {
        total += count;
        stage.Wrote(count, total);
    }
    stage.Saw("digest", MD5Generate(DataInputFile::Create(stage.output), "a text").bytes[0]);
}

// Words are separated and enclosed by blanks.
bool Has(const std::string& words, const std::string& word)
{
    return words.find(' ' + word + ' ') != std::string::npos;
}

using Rules = std::vector<std::pair<std::string, std::string>>;

// How a run may end when one of these functions fails, "function:4" by an interruption, "function:cut" by moving less.
//   same     as if nothing had happened
//   less     without an exception, but less was read or written, and the counts or the log say so
//   system   IOException with the records of its class and the words of this very error
//   other    IOException about what comes of it: a missing folder, the end of a stream
//   memory, thread, name, random, digest, length: what passes through from others, and CoreException
const Rules kRules = {{" malloc ", " memory system thread name digest same "},
                      {" close fclose signal open:4 read:4 write:4 read:cut write:cut ", " same "},
                      {" open fopen fseek ftell fflush ftruncate ", " system "},
                      {" read write fread fwrite statx localtime_r ", " less "},
                      {" stat mkdir ", " same other "},
                      {" mkdir:2 ", " system "},
                      {" tempnam ", " name "},
                      {" pthread_create pthread_mutex_init pthread_cond_init ", " thread "}};

struct Scenario
{
    const char* name;
    void (*play)(Stage& stage);
    Rules rules = {};  // they come first
    friend std::ostream& operator<<(std::ostream& stream, const Scenario& scenario) { return stream << scenario.name; }
};

// An input file cannot report where it stands, nor can GetPosition of either.
constexpr char kSeeks[] = " fseek ftell ";
const Scenario kScenarios[] = {
    {"WritesAFile", &WritesAFile, {{" ftell ", " system less "}}},
    {"ReadsAFile", &ReadsAFile, {{kSeeks, " same less "}}},
    {"UsesMemoryAndStrings", &UsesMemoryAndStrings},
    {"PacksBits",
     &PacksBits,
     {{" fwrite fread:cut ", " same "}, {" fread ", " other "}, {kSeeks, " same other system "}}},
    {"ReadsAPipe", &ReadsAPipe<ByteDataInputDefaultProtocol>},
    {"ReadsAPipeRaw", &ReadsAPipe<ByteDataInputRawProtocol>},
    {"WritesAPipe", &WritesAPipe<ByteDataOutputDefaultProtocol>},
    {"WritesAPipeRaw", &WritesAPipe<ByteDataOutputRawProtocol>},
    {"UsesTheEndpoints", &UsesTheEndpoints},
    {"TalksDirectly", &TalksDirectly},
    {"TalksByAThread", &TalksByAThread, {{" malloc ", " memory system thread less same "}, {" read ", " less same "}}},
    {"UsesTheHelpers", &UsesTheHelpers, {{kSeeks, " same less length "}}},
    {"MakesNames", &MakesNames, {{" open open:4 read ", " random "}, {" read:4 read:cut ", " same "}}},
    {"AsksForADate", &AsksForADate, {{" localtime_r ", " less same "}}},
    {"MovesAFile", &MovesAFile, {{" fread ", " less same "}, {kSeeks, " same less length system "}}}};

const std::vector<std::pair<std::string, std::vector<int>>> kErrors = {
    {" open fopen ", {EINTR, EMFILE, ENFILE, ENOENT, EACCES, ENOMEM, ELOOP,     ENAMETOOLONG, ENOTDIR, EISDIR,
                      EPERM, EROFS,  ENOSPC, ENXIO,  ENODEV, EDQUOT, EOVERFLOW, ETXTBSY,      EAGAIN,  EINVAL}},
    {" read fread ", {EINTR, EIO, EAGAIN, EBADF, EFAULT, EINVAL, EISDIR}},
    {" write fwrite fflush fclose close ",
     {EINTR, EIO, EAGAIN, EBADF, EFAULT, EINVAL, ENOSPC, EDQUOT, EFBIG, EPIPE, EPERM, EDESTADDRREQ}},
    {" fseek ftell ", {EINTR, EBADF, EINVAL, EOVERFLOW, ESPIPE, EIO, ENOSPC, EFBIG}},
    {" ftruncate ", {EINTR, EIO, EBADF, EINVAL, EFBIG, EPERM, EROFS, ETXTBSY}},
    {" stat statx ", {EACCES, EIO, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR, EOVERFLOW}},
    {" mkdir ", {EACCES, EDQUOT, EMLINK, ENAMETOOLONG, ENOENT, ENOMEM, ENOSPC, ENOTDIR, EPERM, EROFS}},
    {" malloc tempnam ", {ENOMEM}},
    {" signal ", {EINVAL}},
    {" localtime_r ", {EOVERFLOW}},
    {" pthread_create pthread_mutex_init pthread_cond_init ", {EAGAIN, ENOMEM, EPERM}}};

template <class Table>
const auto* Find(const Table& table, const std::string& word)
{
    const auto row =
        std::find_if(table.begin(), table.end(), [&](const auto& entry) { return Has(entry.first, word); });
    return row != table.end() ? &row->second : nullptr;
}

std::string EndOfIO(const IOException& error, int cause)
{
    const Exempt own;
    const Records records = RecordsOf(error);
    const std::string words = std::strerror(cause);
    if (records.description == words)
    {
        return records.details || records.systemErrorCode || records.filename ? "incomplete" : "system";
    }
    if (records.details != words)
    {
        return "other";
    }
    const bool pipe =
        records.description == "Failed to open input pipe" || records.description == "Failed to open output pipe";
    const bool file = records.description == "Can not open file for reading" && records.filename && records.callStack;
    return (pipe && records.systemErrorCode == cause) || (file && !records.systemErrorCode) ? "system" : "incomplete";
}

std::string NameOf(const std::exception& error, int cause)
{
    const auto is = [&error](const auto* type) { return dynamic_cast<decltype(type)>(&error) != nullptr; };
    if (const auto* const own = dynamic_cast<const IOException*>(&error))
    {
        return EndOfIO(*own, cause);
    }
    return is(static_cast<const CoreException*>(nullptr))                  ? "name"
           : is(static_cast<const boost::thread_resource_error*>(nullptr)) ? "thread"
           : is(static_cast<const std::bad_alloc*>(nullptr))               ? "memory"
           : is(static_cast<const boost::uuids::entropy_error*>(nullptr))  ? "random"
           : is(static_cast<const std::length_error*>(nullptr))            ? "length"
                                                                           : "digest";
}

std::string current;  // for the watchdog
void StopAHang(int /*signal*/)
{
    constexpr char kText[] = "This run hangs: ";
    [[maybe_unused]] ssize_t ignored = ::write(STDERR_FILENO, kText, sizeof kText - 1);
    ignored = ::write(STDERR_FILENO, current.data(), current.size());
    ::abort();
}

std::ptrdiff_t OpenDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

class FaultSweep : public testing::TestWithParam<Scenario>
{
protected:
    FaultSweep()
    {
        UErrorCode status = U_ZERO_ERROR;
        u_setMemoryFunctions(nullptr, &IcuAllocate, &IcuReallocate, &IcuFree, &status);
        FLAGS_minloglevel = google::GLOG_WARNING;
        std::signal(SIGALRM, &StopAHang);
        LOG(ERROR) << "The first line, for what the log makes once.";
        for (int warmUp = 0; warmUp != 2; ++warmUp)  // others make things once, too: ICU its data, OpenSSL its tables
        {
            Around([this] { points = CallsOf([this] { Play(0); }); });
            clean = stage.seen + end;
        }
    }
    ~FaultSweep() override { ::alarm(0); }

    void Play(int cause)
    {
        try
        {
            GetParam().play(stage);
            end = "";
        }
        catch (const std::exception& error)
        {
            end = NameOf(error, cause);
        }
    }

    // Clears up after a run, collects what it has brought about and checks what holds for every run.
    template <class Run>
    void Around(Run run)
    {
        stage.seen.clear(), stage.arrived.clear(), stage.lines.clear();
        stage.claimed = 0;
        stage.log.Take();
        Stage::Drain(stage.far, stage.arrived);
        Stage::Drain(stage.near, stage.arrived);
        stage.arrived.clear();
        std::filesystem::remove_all(stage.root);
        ::alarm(kPatience);
        const std::ptrdiff_t descriptors = OpenDescriptors();
        const long blocks = LiveBlocks();
        run();
        end.shrink_to_fit();
        stage.ReadingFailed();
        const long left = LiveBlocks() - blocks;
        EXPECT_TRUE(left == 0 || warm < 0) << left << " blocks are lost";
        EXPECT_EQ(OpenDescriptors(), descriptors) << "a descriptor is left";
        std::error_code none;
        stage.arrived += std::filesystem::exists(stage.output, none) ? TemporaryDirectory::Content(stage.output) : "";
        Stage::Drain(stage.near, stage.arrived);
        const bool framed = stage.arrived.rfind(Header(kSize), 0) == 0;
        stage.arrived.erase(0, framed ? sizeof(ioSize) : 0);
        stage.Saw("framed", framed);  // a channel does not look at what becomes of the length
        EXPECT_GE(stage.arrived.size(), stage.claimed) << "something was not written";
        EXPECT_EQ(stage.pattern.rfind(stage.arrived, 0), 0U) << "something else was written";
    }

    void Sweep(const CallPoint& point, const Outcome& outcome, const std::string& kind)
    {
        current = point.function + (':' + kind) + (point.background ? " background " : " ");
        current += std::to_string(point.number) + '\n';
        SCOPED_TRACE(current);
        unsigned fired = 0;
        for (warm = Has(" malloc ", point.function) ? -1 : 0; warm <= 0;
             ++warm)  // others keep what the first failure takes
        {
            Around([&] { fired = RunWithFault(point, outcome, [&] { Play(outcome.error); }); });
        }
        EXPECT_EQ(fired, 1U) << "the fault came about not once";
        const std::string shown = stage.seen + end == clean ? "same" : end.empty() ? "less" : end;
        const std::string* ends = nullptr;
        for (const Rules& rules : {std::cref(kRules), std::cref(GetParam().rules)})
        {
            for (const std::string& word : {std::string(point.function), point.function + (':' + kind)})
            {
                const std::string* const found = Find(rules, word);
                ends = found != nullptr ? found : ends;
            }
        }
        ASSERT_NE(ends, nullptr);
        EXPECT_TRUE(Has(*ends, shown)) << "ends as \"" << shown << "\", having seen\n" << stage.seen;
        const bool told = !Has(" read write ", point.function) || outcome.error == 0 ||
                          stage.lines.find("errno == " + kind) != std::string::npos ||
                          Find(GetParam().rules, "open:4") != nullptr;
        EXPECT_TRUE(told) << "the log does not tell why";
        ++runs;
    }

    int warm = -1;  // whether everything exists that is made once
    std::vector<CallPoint> points;
    unsigned runs = 0;
    Stage stage;
    std::string end;
    std::string clean;
};

INSTANTIATE_TEST_SUITE_P(All,
                         FaultSweep,
                         testing::ValuesIn(kScenarios),
                         [](const auto& test) { return test.param.name; });

TEST_P(FaultSweep, EndsAsDocumented)
{
    ASSERT_GT(points.size(), 0U);
    for (const CallPoint& point : points)
    {
        const std::string function = point.function;
        for (const int error : *Find(kErrors, function))
        {
            Sweep(point, Fail(error), std::to_string(error));
        }
        if (Has(" read write fread fwrite ", function))
        {
            Sweep(point, AtMost(1), "cut");
        }
    }
    std::cout << points.size() << " calls, " << runs << " runs\n";
}

// The sweep has looked at the descriptors of each of its runs; here the system itself has none left.
TEST(Descriptors, RunOutLikeAnythingElse)
{
    FLAGS_minloglevel = google::GLOG_FATAL;
    Stage stage;
    GenerateTempFileName();
    const std::ptrdiff_t before = OpenDescriptors();
    rlimit normal{};
    ::getrlimit(RLIMIT_NOFILE, &normal);
    const rlimit none{3, normal.rlim_max};
    for (int round = 0; round != 2000; ++round)
    {
        ::setrlimit(RLIMIT_NOFILE, &none);
        EXPECT_EQ(Thrown([&] { DataInputFile::Create(stage.input); }).details, std::strerror(EMFILE));
        EXPECT_EQ(Thrown([&] { DataOutputFile::Create(stage.output); }).description, std::strerror(EMFILE));
        EXPECT_EQ(Thrown([&] { DataInputPipe::Create(stage.incoming, true); }).systemErrorCode, EMFILE);
        EXPECT_EQ(Thrown([&] { DataOutputPipe::Create(stage.outgoing, true); }).systemErrorCode, EMFILE);
        EXPECT_THROW(GeneratePipeName(), boost::uuids::entropy_error);
        ::setrlimit(RLIMIT_NOFILE, &normal);
        WritesAPipe<ByteDataOutputRawProtocol>(stage);
        Stage::Drain(stage.near, stage.arrived);
        ReadsAFile(stage);
        stage.seen.clear(), stage.arrived.clear();
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
