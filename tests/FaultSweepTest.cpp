#include <TarselIO/KitIO.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <random>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

#include <boost/thread/exceptions.hpp>
#include <boost/uuid/entropy_error.hpp>
#include <gmock/gmock.h>
#include <unicode/uclean.h>

#include <TarselGuard/GuardedFrameInput.h>
#include <TarselStdStream/InputStreambuf.h>
#include <TarselStdStream/OutputStreambuf.h>

#include "Support/Await.h"
#include "Support/LogCapture.h"
#include "Support/Records.h"
#include "Support/ScriptedStreams.h"
#include "Support/SizeLimit.h"
#include "Support/SystemCalls.h"
#include "Support/TemporaryDirectory.h"

// Runs each scenario once for every call that it makes to the system and the allocator, and for every error, and checks
// how it ends. The log shows only failures, which come after the fault: so the one fault of a run never hits the log
// itself, which does not survive all of them.

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

constexpr ioSize kSize = 2500;
constexpr unsigned kPatience = 25;                              // seconds
const bool kInMemory = ::setenv("TMPDIR", "/dev/shm", 0) == 0;  // a disk would take most of the time

/// What a scenario works on. All bytes that are read or written are those of `pattern`, at any position.
struct Stage
{
    Stage()
    {
        std::generate(pattern.begin(), pattern.end(), std::minstd_rand());
        directory.File("input", pattern);
        seen.reserve(1U << 14U), lines.reserve(1U << 14U);
    }
    ~Stage() { ::close(inputsEnd), ::close(outputsEnd); }

    const uint8_t* Data() const { return reinterpret_cast<const uint8_t*>(pattern.data()); }

    /// Records a value that is compared with a run without a fault.
    void Saw(const std::string& what, ioSize value)
    {
        const Exempt notes;
        seen += what + ' ' + std::to_string(value) + '\n';
    }
    /// The library reports that it has read these bytes, or written as many, up to `end`.
    void Got(ioSize count)
    {
        const Exempt notes;
        const std::size_t where = pattern.find(std::string(buffer, buffer + count));
        EXPECT_NE(where, std::string::npos) << count << " bytes that were never sent";
        Saw("read from " + std::to_string(where), count);
        std::fill_n(buffer, kSize, uint8_t{0});  // for the next read to fill
    }
    void Wrote(ioSize count, ioSize end)
    {
        Saw("wrote", count);
        claimed = count != 0 ? end : claimed;
    }
    /// Collects the failures in the log and returns whether reading has failed.
    bool ReadingFailed()
    {
        const Exempt notes;
        for (const LogLine& line : log.Take())
        {
            lines += line.text + '\n';
        }
        return lines.find("The read syscall ") != std::string::npos || lines.find("stops reading") != std::string::npos;
    }
    static std::string Drain(int descriptor)
    {
        const Exempt notes;
        char bytes[1U << 16U];  // more than there can ever be
        return {bytes, static_cast<std::size_t>(std::max<ssize_t>(::read(descriptor, bytes, sizeof bytes), 0))};
    }

    std::string pattern = std::string(kSize, '\0');
    TemporaryDirectory directory;
    const std::string input = directory.Path("input");
    const std::string output = directory.Path("made/on/the/way");
    const std::string incoming = directory.Fifo("incoming");
    const std::string outgoing = directory.Fifo("outgoing");
    const int inputsEnd = ::open(incoming.c_str(), O_RDWR | O_NONBLOCK);  // so that no open waits
    const int outputsEnd = ::open(outgoing.c_str(), O_RDWR | O_NONBLOCK);
    LogCapture log;
    uint8_t buffer[kSize] = {};
    std::string seen;
    std::string lines;
    ioSize claimed = 0;  // how much of the pattern the library claims to have written
};

void WritesAFile(Stage& stage)
{
    const auto stream = DataOutputFile::Create(stage.output);
    stage.Wrote(stream->Write(stage.Data(), 2000), 2000);
    stream->SetPosition(0);
    stage.Saw("again", stream->Write(stage.Data(), 100));
    stage.claimed = 0;
    stream->SetSize(50);
    stage.Saw("position", stream->GetPosition() + stream->GetSize());
}

// There is no room for all of it: a write throws or returns a short count.
void FillsADisk(Stage& stage)
{
    const SizeLimit limit(1500);
    const auto stream = DataOutputFile::Create(stage.output);
    const auto note = [&stage](const IDataOutput* output) { stage.Saw("position", output->GetPosition()); };
    const std::unique_ptr<const IDataOutput, decltype(note)> atTheEnd(stream.get(), note);
    for (const ioSize end : {1000U, 2000U})
    {
        if (stream->Write(stage.Data() + end - 1000, 1000) != 1000)
        {
            throw IOException();
        }
        stage.Wrote(1000, end);
    }
}

void ReadsAFile(Stage& stage)
{
    const auto stream = DataInputFile::Create(stage.input);
    stage.Got(stream->Read(stage.buffer, 100));
    stream->SetPosition(2000);
    stage.Saw("position", stream->GetPosition() + stream->GetSize());
    stage.Got(stream->Read(stage.buffer, kSize));
}

void PacksBits(Stage& stage)
{
    DataBitInput reader(DataInputFile::Create(stage.input));
    DataBitOutput writer(DataOutputFile::Create(stage.output + "packed"));  // a lost byte goes unnoticed, by contract
    for (int i = 0; i != 5; ++i)
    {
        writer.WriteBits(static_cast<uint8_t>(reader.ReadBits(7)), 7);
    }
    writer.Flush();
}

void UsesMemoryAndHelpers(Stage& stage)
{
    std::string target;
    const auto output = DataOutputString::Create(&target);
    const auto file = DataInputFile::Create(stage.input);
    const std::vector<uint8_t> bytes = StreamToBuffer(file.get(), true);
    stage.Saw("written", BufferToStream(bytes, output.get()) + BufferToStream(stage.pattern, output.get()));
    output->SetSize(kSize);
    const auto input = DataInputString::Create(&target);
    stage.Saw("same", StreamToBufferString(input.get()) == stage.pattern);
    stage.Saw("digest", MD5Generate(DataInputMemory::Create(stage.Data(), kSize), "a text").Hex().size());
    stage.Saw("placeholders", DataInputFF::Create("a name")->GetSize() + DataOutputFF::Create("a name")->GetSize());
    input->SetPosition(kSize + 1);  // which throws
}

template <class Protocol>
void ReadsAPipe(Stage& stage)
{
    const auto pipe = DataInputPipe::Create(stage.incoming, std::make_unique<Protocol>(), true);
    stage.Got(pipe->Read(stage.buffer, kSize));
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
    const SP<DataInputOutputPipe> duplex(new DataInputOutputPipe("", false));
    const SP<DataStdInput> input(new DataStdInput);
    const SP<DataStdOutput> output(new DataStdOutput);
    duplex->SetInputPipe(DataInputPipe::Create(stage.incoming, true));
    duplex->SetOutputPipe(DataOutputPipe::Create(stage.outgoing, true));
    input->SetInputPipe(duplex);
    output->SetOutputPipe(duplex);
    stage.Got(input->Read(stage.buffer, kSize));
    const ioSize count = output->Write(stage.Data(), kSize);
    stage.Wrote(count, count);
}

std::string Header(ioSize size)
{
    return {reinterpret_cast<const char*>(&size), sizeof size};
}

void ReadsByAnIstream(Stage& stage)
{
    InputStreambuf buffer(DataInputFile::Create(stage.input), 1000);
    std::istream stream(&buffer);
    stream.exceptions(std::ios::badbit);
    for (const int position : {0, 1400, 200})  // also past the buffer, and back
    {
        stream.seekg(position);
        stream.read(reinterpret_cast<char*>(stage.buffer), 1100);
        stage.Got(static_cast<ioSize>(stream.gcount()));
    }
    stage.Saw("good", stream.good());
}

void WritesByAnOstream(Stage& stage)
{
    OutputStreambuf buffer(DataOutputFile::Create(stage.output), 1000);
    std::ostream stream(&buffer);
    const auto write = [&](std::size_t position, std::streamsize size)
    {
        stream.write(stage.pattern.data() + position, size).flush();
        buffer.Failure() != nullptr ? std::rethrow_exception(buffer.Failure()) : stage.Saw("good", stream.good());
    };
    stream.write(stage.pattern.data(), 1500);
    write(1500, 500);
    stage.Wrote(2000, 2000);
    stream.seekp(100);
    write(100, 50);
}

enum class Mode
{
    Direct,
    Threaded,
    Guarded
};

template <Mode ChannelMode>
void Talks(Stage& stage)
{
    constexpr bool kThreaded = ChannelMode != Mode::Direct;
    SP<IByteDataInput> input = DataInputPipe::Create(stage.incoming, true);
    if (ChannelMode == Mode::Guarded)
    {
        input = GuardedFrameInput::Create(input, kSize, [](FrameEnd /*end*/) {});
    }
    const auto output = DataOutputPipe::Create(stage.outgoing, true);
    const auto channel = CommunicationChannel::Create(input, output, kThreaded);
    const auto wait = [&stage](const auto& condition)
    {
        while (!condition() && !stage.ReadingFailed())
        {
            std::this_thread::yield();
        }
    };
    kThreaded ? wait([&] { return channel->IsDataAvaliable(); }) : stage.Saw("length", channel->ReadHeader());
    stage.Got(!stage.ReadingFailed() ? channel->Read(stage.buffer, kSize) : 0);
    const ioSize count = channel->Write(stage.Data(), kSize);
    stage.Wrote(count, count);
    int left = kThreaded ? 1 : 0;  // every run must also read the empty frame
    wait([&] { return left == 0 || (::ioctl(stage.inputsEnd, FIONREAD, &left) == 0 && left == 0); });
}

void AsksForNamesAndADate(Stage& stage)
{
    stage.Saw("date", GetFileCreationDateString(stage.input).size());
    stage.Saw("names", GenerateTempFileName().size() + GeneratePipeName().size());
}

// Copies a file through a pipe to another file and computes its digest, as programs do.
void MovesAFile(Stage& stage)
{
    Stage::Drain(stage.inputsEnd);
    const auto input = DataInputFile::Create(stage.input);
    const auto writer = DataOutputPipe::Create(stage.incoming, true);
    const auto reader = DataInputPipe::Create(stage.incoming, true);
    const auto output = DataOutputFile::Create(stage.output);
    ioSize total = 0;
    for (ioSize count = 1; count != 0; stage.Wrote(count, total += count))
    {
        count = input->Read(stage.buffer, 1000);
        count = writer->Write(stage.buffer, count) == count ? count : 0;
        std::fill_n(stage.buffer, kSize, uint8_t{0});  // for the reader to fill again
        count = reader->Read(stage.buffer, count) == count ? count : 0;
        count = output->Write(stage.buffer, count) == count ? count : 0;
    }
    stage.Saw("digest", MD5Generate(DataInputFile::Create(stage.output), "a text").bytes[0]);
}

// Each word has a blank before and after it.
bool Has(const std::string& words, const std::string& word)
{
    return words.find(' ' + word + ' ') != std::string::npos;
}

// How a run may end when one of these functions fails: "function:4" with this error, "function:cut" by moving fewer
// bytes. The last rule that applies counts.
//   same     as without the fault
//   less     without an exception, but less was read or written, and the counts or the log show it
//   system   IOException with the records of its class and the system's text for this error
//   other    IOException about the consequence: a missing directory, the end of a stream
//   memory, thread, name, random, digest, length: CoreException, and exceptions of other libraries
using Rules = std::vector<std::pair<std::string, std::string>>;
const Rules kRules = {{" malloc ", " memory system thread name same "},
                      {" close fclose signal ", " same "},
                      {" open fopen fseek ftell fflush ftruncate ", " system "},
                      {" read write fread fwrite statx localtime_r ", " less "},
                      {" open:4 read:4 write:4 read:cut write:cut ", " same "},
                      {" stat mkdir ", " same other "},
                      {" mkdir:2 ", " system "},
                      {" tempnam ", " name "},
                      {" pthread_create pthread_mutex_init pthread_cond_init ", " thread "}};

struct Scenario
{
    const char* name;
    void (*play)(Stage& stage);
    Rules rules = {};  // in addition to kRules
    friend std::ostream& operator<<(std::ostream& stream, const Scenario& scenario) { return stream << scenario.name; }
};
constexpr char kSeeks[] = " fseek ftell ";  // neither an input file nor GetPosition can report these
const Rules kThreadRules = {{" malloc ", " memory system thread less same "}, {" read ", " less same "}};
const Scenario kScenarios[] = {
    {"WritesAFile", &WritesAFile, {{" ftell ", " system less "}}},
    {"FillsADisk",  // ends with EFBIG by itself
     &FillsADisk,
     {{" ftell ", " system less "}, {" stat mkdir ", " same less system "}, {" fclose:27 ", " system "}}},
    {"ReadsAFile", &ReadsAFile, {{kSeeks, " same less "}}},
    {"PacksBits",
     &PacksBits,
     {{" fread ", " other "}, {" fwrite fread:cut ", " same "}, {kSeeks, " same other system "}}},
    {"UsesMemoryAndHelpers",
     &UsesMemoryAndHelpers,
     {{kSeeks, " same less length other "}, {" malloc ", " memory system digest same "}}},
    {"ReadsAPipe", &ReadsAPipe<ByteDataInputDefaultProtocol>},
    {"ReadsAPipeRaw", &ReadsAPipe<ByteDataInputRawProtocol>},
    {"WritesAPipe", &WritesAPipe<ByteDataOutputDefaultProtocol>},
    {"WritesAPipeRaw", &WritesAPipe<ByteDataOutputRawProtocol>},
    {"UsesTheEndpoints", &UsesTheEndpoints},
    {"ReadsByAnIstream",
     &ReadsByAnIstream,
     {{" fread ", " other "}, {" fread:cut ", " same "}, {kSeeks, " same less other "}}},
    {"WritesByAnOstream",
     &WritesByAnOstream,
     {{" fwrite ", " other "}, {" fwrite:cut ", " same "}, {" ftell ", " system less same "}}},
    {"TalksDirectly", &Talks<Mode::Direct>},
    {"TalksByAThread", &Talks<Mode::Threaded>, kThreadRules},
    {"TalksThroughAGuard", &Talks<Mode::Guarded>, kThreadRules},
    {"AsksForNamesAndADate",
     &AsksForNamesAndADate,
     {{" localtime_r ", " less same "}, {" open open:4 read ", " random "}, {" read:4 read:cut ", " same "}}},
    {"MovesAFile",
     &MovesAFile,
     {{" fread fwrite ", " less same "},
      {kSeeks, " same less length system "},
      {" malloc ", " memory system digest same "}}}};

// More than any one call can return. Only the interruption is handled differently from the others.
const std::vector<int> kErrors = {EINTR,  EIO,    EAGAIN,  EBADF,  EACCES, ENOENT,   ENOMEM, ENOSPC,
                                  EMFILE, ENFILE, EPIPE,   EFAULT, EINVAL, EISDIR,   EFBIG,  EDQUOT,
                                  EROFS,  EPERM,  ENOTDIR, ENXIO,  ELOOP,  EOVERFLOW};

std::string EndOf(const std::exception& error, int cause)
{
    const Exempt notes;
    const auto is = [&error](const auto* type) { return dynamic_cast<decltype(type)>(&error) != nullptr; };
    const auto* const own = dynamic_cast<const IOException*>(&error);
    if (own == nullptr)
    {
        return is(static_cast<const CoreException*>(nullptr))                                    ? "name"
               : is(static_cast<const boost::thread_resource_error*>(nullptr))                   ? "thread"
               : is(static_cast<const std::bad_alloc*>(nullptr))                                 ? "memory"
               : is(static_cast<const boost::uuids::entropy_error*>(nullptr))                    ? "random"
               : is(static_cast<const std::length_error*>(nullptr))                              ? "length"
               : std::strcmp(error.what(), "The cryptography library does not provide MD5") == 0 ? "digest"
                                                                                                 : error.what();
    }
    const Records records = RecordsOf(*own);
    const std::string words = std::strerror(cause);
    const bool output = records.description == words && !records.details && !records.systemErrorCode;
    const bool input = records.details == words && records.description == "Can not open file for reading" &&
                       records.filename && records.callStack && !records.systemErrorCode;
    const bool pipe = records.details == words && records.systemErrorCode == cause &&
                      records.description.value_or("").rfind("Failed to open ", 0) == 0;
    return output || input || pipe ? "system" : "other";
}

std::string current;  // for the watchdog
void StopAHang(int /*signal*/)
{
    [[maybe_unused]] const ssize_t ignored = ::write(STDERR_FILENO, current.data(), current.size());
    ::abort();
}

std::ptrdiff_t OpenDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

struct FaultSweep : testing::TestWithParam<Scenario>
{
    FaultSweep()
    {
        // ICU 72 follows null pointers when some of its own allocations fail, so these are exempt.
        const auto allocate = [](const void*, size_t size)
        {
            const Exempt icus;
            return std::malloc(size);
        };
        const auto reallocate = [](const void*, void* block, size_t size)
        {
            const Exempt icus;
            return std::realloc(block, size);
        };
        UErrorCode status = U_ZERO_ERROR;
        u_setMemoryFunctions(
            nullptr, allocate, reallocate, [](const void*, void* block) { std::free(block); }, &status);
        FLAGS_minloglevel = google::GLOG_WARNING;
        std::signal(SIGALRM, &StopAHang);
        for (int warmUp = 0; warmUp != 2; ++warmUp)  // ICU, OpenSSL and the log create some things only once
        {
            LOG(ERROR) << "Expected failures follow.";
            Around([this] { points = CallsOf([this] { Play(0); }); });
            clean = stage.seen;
            cleanEnd = end;
        }
    }
    ~FaultSweep() override { ::alarm(0); }

    void Play(int cause)
    {
        try
        {
            end = "";
            GetParam().play(stage);
        }
        catch (const std::exception& error)
        {
            end = EndOf(error, cause);
        }
    }

    // Prepares the stage, runs the scenario with `run` and checks what is true for every run.
    template <class Run>
    void Around(Run run)
    {
        const bool talks = GetParam().name[0] == 'T';
        std::string sent = talks ? Header(kSize) + stage.pattern + Header(0) : stage.pattern;
        Stage::Drain(stage.inputsEnd), Stage::Drain(stage.outputsEnd);
        EXPECT_EQ(::write(stage.inputsEnd, sent.data(), sent.size()), static_cast<ssize_t>(sent.size()));
        std::filesystem::remove_all(stage.directory.Path("made"));
        stage.seen.clear(), stage.lines.clear(), stage.log.Take();
        stage.claimed = 0;
        std::fill_n(stage.buffer, kSize, uint8_t{0});
        ::alarm(kPatience);
        const std::ptrdiff_t descriptors = OpenDescriptors();
        const long blocks = LiveBlocks();
        run();
        stage.ReadingFailed();
        const long left = LiveBlocks() - blocks;
        EXPECT_TRUE(left == 0 || warm < 0) << left << " blocks of memory are leaked";
        EXPECT_EQ(OpenDescriptors(), descriptors) << "a descriptor is leaked";
        std::string arrived = Stage::Drain(stage.outputsEnd) + TemporaryDirectory::Content(stage.output);
        // A channel does not check whether the length was written.
        const bool framed = arrived.rfind(Header(kSize), 0) == 0;
        stage.Saw("framed", framed);
        arrived.erase(0, framed ? sizeof(ioSize) : 0);
        EXPECT_GE(arrived.size(), stage.claimed) << "not everything was written";
        EXPECT_EQ(stage.pattern.rfind(arrived, 0), 0U) << "something else was written";
    }

    void Sweep(const CallPoint& point, const Outcome& outcome, const std::string& kind)
    {
        const std::string failing = point.function + ':' + kind;
        current =
            failing + " at call " + std::to_string(point.number) + (point.background ? " in the background\n" : "\n");
        SCOPED_TRACE(current);
        unsigned fired = 0;
        // Twice for an allocation: after its first failure another library may keep memory.
        for (warm = point.function == "malloc" ? -1 : 0; warm <= 0; ++warm)
        {
            Around([&] { fired = RunWithFault(point, outcome, [&] { Play(outcome.error); }); });
        }
        EXPECT_EQ(fired, 1U) << "how often the fault occurred";
        const std::string shown = end != cleanEnd ? end : stage.seen != clean ? "less" : "same";
        std::string documented;
        for (const Rules& rules : {std::cref(kRules), std::cref(GetParam().rules)})
        {
            for (const auto& [functions, ends] : rules)
            {
                documented = Has(functions, point.function) || Has(functions, failing) ? ends : documented;
            }
        }
        EXPECT_TRUE(Has(documented, shown)) << "ends as \"" << shown << "\", having seen\n" << stage.seen;
        const bool logged = Has(" read write ", point.function) && outcome.error != 0 && GetParam().name[0] != 'A';
        EXPECT_TRUE(!logged || stage.lines.find("errno == " + kind + ',') != std::string::npos)
            << "the log does not show why";
        ++runs;
    }

    Stage stage;
    std::vector<CallPoint> points;
    std::string end;
    std::string cleanEnd;
    std::string clean;
    int warm = -1;  // negative while one-time allocations may still happen
    int runs = 0;
};

INSTANTIATE_TEST_SUITE_P(All,
                         FaultSweep,
                         testing::ValuesIn(kScenarios),
                         [](const auto& test) { return test.param.name; });

TEST_P(FaultSweep, EndsAsDocumented)
{
    for (const CallPoint& point : points)
    {
        for (const int error : point.function == "malloc" ? std::vector<int>{ENOMEM} : kErrors)
        {
            Sweep(point, Fail(error), std::to_string(error));
        }
        if (Has(" read write fread fwrite ", point.function))
        {
            Sweep(point, AtMost(1), "cut");
        }
    }
    EXPECT_GT(runs, 0);
    std::cout << points.size() << " calls, " << runs << " runs\n";
}

// Once it has delivered a payload, there is no memory for a second copy.
struct LastBlockInput : ScriptedInput
{
    using ScriptedInput::ScriptedInput;
    ioSize Read(uint8_t* data, ioSize count) override
    {
        const ioSize done = ScriptedInput::Read(data, count);
        ThisThreadsMemory().largest = count > sizeof count ? count - 1 : MemoryLimits().largest;
        return done;
    }
};

TEST(Guard, IsNotNotifiedIfItsChannelRunsOutOfMemory)
{
    FLAGS_minloglevel = google::GLOG_WARNING;
    LogCapture log;
    const std::string payload(1U << 20U, 'x');
    const SP<LastBlockInput> source(new LastBlockInput(Header(payload.size()) + payload + Header(1) + "y"));
    std::vector<FrameEnd> ends;
    const auto note = [&ends](FrameEnd end) { ends.push_back(end); };
    std::string sent;
    auto channel = CommunicationChannel::Create(
        GuardedFrameInput::Create(source, payload.size(), note), DataOutputString::Create(&sent), true);
    std::vector<LogLine> lines;
    ASSERT_NO_FATAL_FAILURE(Await([&] { return !(lines = log.Take()).empty(); }));
    EXPECT_EQ(lines.size(), 1U);
    EXPECT_THAT(lines[0].text, testing::HasSubstr("std::bad_alloc"));
    EXPECT_FALSE(channel->IsDataAvaliable());
    channel = nullptr;
    EXPECT_THAT(ends, testing::IsEmpty());
    EXPECT_THAT(source->reads, testing::ElementsAre(8, payload.size())) << "the next message is not read";
}

// The sweep checks the descriptors after each of its runs; in this test the process has no descriptor left.
TEST(Descriptors, RunOutWithoutALeak)
{
#ifdef KITIO_SANITIZER_NEEDS_DESCRIPTORS
    GTEST_SKIP() << "UndefinedBehaviorSanitizer needs a pipe to check the memory of a class.";
#endif
    FLAGS_minloglevel = google::GLOG_FATAL;
    Stage stage;
    const std::ptrdiff_t before = OpenDescriptors();
    rlimit normal{};
    ::getrlimit(RLIMIT_NOFILE, &normal);
    const rlimit none{3, normal.rlim_max};
    for (int round = 0; round != 2000; ++round)
    {
        ::setrlimit(RLIMIT_NOFILE, &none);
        EXPECT_EQ(Thrown([&] { ReadsAFile(stage); }).details, std::strerror(EMFILE));
        EXPECT_EQ(Thrown([&] { DataOutputFile::Create(stage.output); }).description, std::strerror(EMFILE));
        EXPECT_EQ(Thrown([&] { DataInputPipe::Create(stage.incoming, true); }).systemErrorCode, EMFILE);
        EXPECT_EQ(Thrown([&] { DataOutputPipe::Create(stage.outgoing, true); }).systemErrorCode, EMFILE);
        EXPECT_THROW(GeneratePipeName(), boost::uuids::entropy_error);
        ::setrlimit(RLIMIT_NOFILE, &normal);
        ReadsAFile(stage);
        WritesAPipe<ByteDataOutputRawProtocol>(stage);
        EXPECT_EQ(Stage::Drain(stage.outputsEnd), stage.pattern);
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
