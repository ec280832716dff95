#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <random>
#include <sstream>

#include <gmock/gmock.h>

#include <TarselIO/DataInputFile.h>
#include <TarselIO/DataOutputFile.h>
#include <TarselStdStream/DataInputIstream.h>
#include <TarselStdStream/DataOutputOstream.h>
#include <TarselStdStream/InputStreambuf.h>
#include <TarselStdStream/OutputStreambuf.h>

#include "Support/Records.h"
#include "Support/ScriptedStreams.h"
#include "Support/TemporaryDirectory.h"

using namespace Tarsel::Core;
using std::ios;
using Tarsel::SP;

namespace
{

constexpr ioSize kFar = (ioSize{1} << 32) + 12345;
const std::string kText = "first\nsecond line\n\nthe last one, which is longer than all others";

// A buffer of `size` bytes that is filled with other bytes.
std::string bytes;
uint8_t* Data(std::size_t size)
{
    bytes = kText.substr(0, size);
    return reinterpret_cast<uint8_t*>(bytes.data());
}

template <class Subject>
using Steps = std::vector<std::function<std::string(Subject&, std::size_t)>>;
constexpr ios::seekdir kFrom[] = {ios::beg, ios::cur, ios::end};

const Steps<std::istream> kReads = {
    [](auto& s, auto) { return std::to_string(s.get()); },
    [](auto& s, auto) { return std::to_string(s.tellg()) + (std::getline(s, bytes), bytes); },
    [](auto& s, auto) { return s.unget(), ""; },
    [](auto& s, auto n) { return s.putback(kText[n]), ""; },
    [](auto& s, auto n) { return s.seekg(long(n) - 20, kFrom[n % 3]), ""; },
    [](auto& s, auto n) { return std::to_string(s.read(reinterpret_cast<char*>(Data(n)), long(n)).gcount()) + bytes; }};
const Steps<std::ostream> kWrites = {[](auto& s, auto) { return s.put('x'), ""; },
                                     [](auto& s, auto) { return s.flush(), ""; },
                                     [](auto& s, auto) { return std::to_string(s.tellp()); },
                                     [](auto& s, auto n) { return s << kText.substr(n, n / 3), ""; },
                                     [](auto& s, auto n) { return s.seekp(long(n) - 20, kFrom[n % 3]), ""; }};
const Steps<IDataInput> kInputs = {
    [](auto& s, auto n) { return std::to_string(s.Read(Data(n), n)) + bytes; },
    [](auto& s, auto) { return std::to_string(s.GetPosition() + 1000 * s.GetSize()); },
    [](auto& s, auto n) { return s.SetPosition(n), ""; },
    [](auto& s, auto n) { return std::to_string(*Thrown([&] { s.SetPosition(s.GetSize() + n + 1); }).seek); }};
const Steps<IDataOutput> kOutputs = {
    [](auto& s, auto n) { return std::to_string(s.Write(Data(n), n)); },
    [](auto& s, auto) { return std::to_string(s.GetPosition() + 1000 * s.GetSize()); },
    [](auto& s, auto n) { return s.SetPosition(std::min<ioSize>(n, s.GetSize())), ""; },
    [](auto& s, auto n) { return s.SetSize(s.GetSize() + n), ""; },
    [](auto& s, auto n) { return std::to_string(*Thrown([&] { s.SetPosition(s.GetSize() + n + 1); }).seek); }};

// Takes many of the steps on our buffer and the standard one, and compares what they show.
template <class Subject>
void Compare(const Steps<Subject>& steps, Subject& ours, Subject& theirs)
{
    static std::minstd_rand random;  // the same numbers in each run
    for (int i = 0; i < 100 && !testing::Test::HasFailure(); ++i)
    {
        const std::size_t step = random() % steps.size();
        const std::size_t argument = random() % 40;
        EXPECT_EQ(steps[step](ours, argument), steps[step](theirs, argument)) << step << ' ' << argument;
        if constexpr (std::is_base_of_v<std::ios, Subject>)
        {
            EXPECT_EQ(ours.rdstate(), theirs.rdstate()) << step << ' ' << argument;
            ours.clear();
            theirs.clear();
        }
    }
}

TEST(StdStream, BuffersWorkLikeThoseOfStringStreams)
{
    for (std::size_t size = 0; size < 200; ++size)
    {
        InputStreambuf input(DataInputString::Create(&kText), size % 10);
        std::istream reader(&input);
        std::istringstream theirReader(kText);
        Compare<std::istream>(kReads, reader, theirReader);
        std::string written;
        OutputStreambuf output(DataOutputString::Create(&written), size % 10);
        std::ostream writer(&output);
        std::ostringstream theirWriter;
        Compare<std::ostream>(kWrites, writer, theirWriter);
        writer.flush();
        ASSERT_EQ(written, theirWriter.str());
    }
}

TEST(StdStream, StandardStreamsWorkLikeOurs)
{
    std::istringstream source(kText);
    source.exceptions(ios::badbit | ios::failbit | ios::eofbit);
    Compare(kInputs, *DataInputIstream::Create(&source), *DataInputString::Create(&kText));
    EXPECT_TRUE(source.good());
    std::string written;
    std::ostringstream target;
    const SP<IDataOutput> output = DataOutputOstream::Create(&target);
    Compare(kOutputs, *output, *DataOutputString::Create(&written));
    output->SetSize(output->GetSize());
    EXPECT_EQ(target.str(), written);
    EXPECT_EQ(Thrown([&] { output->SetSize(1); }).description, "A standard stream cannot be cut");

    const SP<ScriptedInput> broken(new ScriptedInput(kText));
    broken->failing = {0};
    InputStreambuf buffer(broken);
    std::istream unreadable(&buffer);
    unreadable.exceptions(ios::badbit);
    EXPECT_EQ(DataInputIstream::Create(&unreadable)->Read(Data(1), 1), 0);
    std::ofstream full("/dev/full");
    const std::vector<uint8_t> large(100'000);
    EXPECT_EQ(Thrown([&] { DataOutputOstream::Create(&full)->Write(large.data(), large.size()); }).description,
              "The standard stream cannot be written");
    EXPECT_TRUE(unreadable.bad() && full.bad());
    EXPECT_EQ(Thrown([&] { DataInputIstream::Create(&unreadable); }).description,
              "The standard stream cannot be positioned");
}

// Moves at most two bytes at a time, as a buffer over a device may.
struct SlowBuffer : std::stringbuf
{
    using std::stringbuf::stringbuf;
    std::streamsize xsgetn(char* data, std::streamsize size) override
    {
        return std::stringbuf::xsgetn(data, std::min<std::streamsize>(size, 2));
    }
    std::streamsize xsputn(const char* data, std::streamsize size) override
    {
        return std::stringbuf::xsputn(data, std::min<std::streamsize>(size, 2));
    }
};

TEST(StdStream, StandardStreamsThatMovePartsLoseNothing)
{
    SlowBuffer buffer(kText);
    std::iostream stream(&buffer);
    const SP<IDataInput> input = DataInputIstream::Create(&stream);
    for (const ioSize size : {1U, 5U, 2U, 100U})
    {
        const ioSize position = input->GetPosition();
        const std::string expected = kText.substr(position, size);
        EXPECT_EQ(input->Read(Data(100), size), expected.size());
        EXPECT_EQ(bytes.substr(0, expected.size()), expected);
        EXPECT_EQ(input->GetPosition(), position + expected.size());
    }
    const SP<IDataOutput> output = DataOutputOstream::Create(&stream);
    for (const std::string_view text : {"a", "bcdef", "gh"})
    {
        EXPECT_EQ(output->Write(reinterpret_cast<const uint8_t*>(text.data()), text.size()), text.size());
    }
    output->SetSize(kText.size() + 3);
    EXPECT_EQ(output->GetPosition(), 8);
    EXPECT_EQ(buffer.str(), "abcdefgh" + kText.substr(8) + std::string(3, '\0'));
}

template <class Stream>
void ExpectTheRestOfAStream(const SP<Stream>& stream)
{
    EXPECT_EQ(stream->GetRefCount(), 1);
    EXPECT_TRUE(stream->GetFilename().empty());
    const auto tryOnAnotherThread = [&]
    { return std::async(std::launch::async, [&] { return stream->TryLock(); }).get(); };
    stream->Lock();
    EXPECT_FALSE(tryOnAnotherThread());
    stream->Unlock();
    EXPECT_TRUE(stream->TryLock());
    EXPECT_FALSE(tryOnAnotherThread());
    stream->Unlock();
}

TEST(StdStream, CountsLocksAndNamesLikeAnyStream)
{
    std::stringstream text(kText);
    ExpectTheRestOfAStream(DataInputIstream::Create(&text));
    ExpectTheRestOfAStream(DataOutputOstream::Create(&text));
}

TEST(StdStream, SmallPiecesAreBufferedAndLargeOnesBypassTheBuffer)
{
    const SP<ScriptedInput> source(new ScriptedInput(kText));
    InputStreambuf input(source, 10);
    char data[100];
    EXPECT_EQ(input.in_avail(), kText.size());
    EXPECT_EQ(input.sgetn(data, 3), 3);
    EXPECT_EQ(input.sgetn(data, 20), 20);
    EXPECT_THAT(source->reads, testing::ElementsAre(10, 13));
    EXPECT_EQ(input.in_avail(), kText.size() - 23);
    EXPECT_EQ(input.sgetn(data, sizeof data), kText.size() - 23);
    EXPECT_EQ(input.in_avail() + input.pubsync(), 0);
    EXPECT_EQ(input.pubseekoff(0, ios::cur, ios::out), -1) << "the other direction";
    source->size = ioSize{1} << 63;
    EXPECT_EQ(input.pubseekoff(-100, ios::end), -1) << "farther than an offset can reach";

    const SP<ScriptedOutput> target(new ScriptedOutput);
    OutputStreambuf output(target, 4);
    for (const char character : kText.substr(0, 5))
    {
        output.sputc(character);
    }
    EXPECT_THAT(target->writes, testing::ElementsAre(4));
    EXPECT_EQ(output.sputn(data, 2), 2);
    EXPECT_EQ(output.sputn(data, 1), 1);
    EXPECT_THAT(target->writes, testing::ElementsAre(4)) << "a piece that just fits is buffered";
    EXPECT_EQ(output.sputn(data, 5), 5);
    EXPECT_THAT(target->writes, testing::ElementsAre(4, 4, 5));
    EXPECT_EQ(output.pubsync(), 0);
}

TEST(StdStream, MovesNothingForAZeroOrNegativeCount)
{
    InputStreambuf input(DataInputString::Create(&kText));
    std::string written;
    OutputStreambuf output(DataOutputString::Create(&written));
    EXPECT_EQ(input.sbumpc() + output.sputc('x'), 'f' + 'x');
    char data[100] = {};
    for (const std::streamsize count : {std::streamsize{0}, std::streamsize{-1}, std::numeric_limits<long>::min()})
    {
        EXPECT_EQ(input.sgetn(data, count) + output.sputn(data, count), 0);
        EXPECT_EQ(input.in_avail(), kText.size() - 1);
    }
    EXPECT_EQ(std::istream(&input).read(data, -1).gcount(), 0);
    EXPECT_EQ(output.sputc('y') + output.pubsync(), 'y');
    EXPECT_EQ(written, "xy");
    EXPECT_EQ(input.sbumpc(), 'i');
}

// Writes and reads a word at a position beyond 32 bits, through each of the four classes.
TEST(StdStream, PositionsHave64Bits)
{
    const TemporaryDirectory directory;
    const std::string path = directory.Path("sparse");
    {
        OutputStreambuf buffer(DataOutputFile::Create(path));
        std::ostream file(&buffer);
        std::filesystem::resize_file(path, kFar);
        file.seekp(kFar) << "middle";
        EXPECT_EQ(file.seekp(0).seekp(-3, ios::end).tellp(), kFar + 3) << "the stream itself reports the size 0";
    }
    std::ofstream target(path, ios::in | ios::out);
    const SP<IDataOutput> output = DataOutputOstream::Create(&target);
    output->SetPosition(kFar + 3);
    EXPECT_EQ(output->Write(reinterpret_cast<const uint8_t*>("point"), 5), 5);
    target.close();
    InputStreambuf buffer(DataInputFile::Create(path));
    EXPECT_EQ(buffer.pubseekoff(-8, ios::end), kFar);
    EXPECT_EQ(buffer.sbumpc(), 'm');
    EXPECT_EQ(buffer.pubseekoff(-static_cast<std::streamoff>(kFar), ios::cur), 1);
    std::ifstream source(path);
    const SP<IDataInput> input = DataInputIstream::Create(&source);
    input->SetPosition(kFar + 1);
    EXPECT_EQ(input->Read(Data(8), 8), 7);
    EXPECT_EQ(bytes, "idpointe");
    EXPECT_EQ(input->GetPosition() + output->GetPosition(), 2 * input->GetSize());
}

TEST(InputStreambuf, TurnsAFailureIntoBadbitAndKeepsIt)
{
    const SP<ScriptedInput> source(new ScriptedInput(kText));
    source->failing = {1, 2};
    InputStreambuf buffer(source, 4);
    std::istream text(&buffer);
    EXPECT_EQ(text.get() == 'f' ? buffer.in_avail() : 0, 3) << "the bytes that it has read ahead";
    EXPECT_EQ(text.sync() + static_cast<int>(source->GetPosition()), 1) << "back at the reader's position";
    std::string word;
    EXPECT_EQ(buffer.Failure(), nullptr);
    EXPECT_TRUE((text >> word).bad());
    EXPECT_THROW(std::rethrow_exception(buffer.Failure()), std::runtime_error);
    text.clear();
    text.exceptions(ios::badbit);
    EXPECT_THROW(text >> word, std::runtime_error);
    text.clear();
    EXPECT_FALSE(text.seekg(1000));
    EXPECT_EQ(Thrown([&] { std::rethrow_exception(buffer.Failure()); }).seek, 1000U);
    text.clear();
    EXPECT_TRUE(text >> word);
    EXPECT_EQ(word, "irst");
    const TemporaryDirectory directory;
    const std::string path = directory.File("shrinks", std::string(100'000, 'x'));
    InputStreambuf file(DataInputFile::Create(path));
    std::filesystem::resize_file(path, 0);  // the file stream does not report it, since it has read ahead a little
    ASSERT_TRUE((std::istream(&file) >> word).bad());
    const Records failure = Thrown([&] { std::rethrow_exception(file.Failure()); });
    EXPECT_EQ(failure.filename, path);
    EXPECT_EQ(failure.description, "The stream ended before its size");
}

TEST(OutputStreambuf, WritesAgainAfterAFailure)
{
    const SP<ScriptedOutput> target(new ScriptedOutput);
    target->failing = {1};
    {
        OutputStreambuf buffer(target, 4);
        std::ostream text(&buffer);
        EXPECT_TRUE(text << "one " << std::flush << "two" << std::unitbuf);
        EXPECT_FALSE(text << '.') << "the flush that follows it must not throw";
        EXPECT_THROW(std::rethrow_exception(buffer.Failure()), std::runtime_error);
        text.clear();
        target->SetPosition(0);  // after the failure it could be anywhere
        EXPECT_TRUE(text << std::nounitbuf << std::flush);
        EXPECT_EQ(target->bytes, "one two.");
        text.exceptions(ios::badbit);
        target->result = 0;
        EXPECT_EQ(Thrown([&] { text << "four or more"; }).description, "The stream takes no more bytes");
        target->result.reset();
        text.clear();
        text << "4";
    }
    EXPECT_EQ(target->bytes, "one two.4our or more") << "the stream had written these bytes, but returned 0";

    const auto next = static_cast<unsigned>(target->writes.size());
    target->failing = {next, next + 1, next + 2};
    OutputStreambuf buffer(target);
    std::ostream text(&buffer);
    text << "abc";
    EXPECT_TRUE(text.seekp(0).fail());
    EXPECT_FALSE(text.bad());
    EXPECT_THROW(std::rethrow_exception(buffer.Failure()), std::runtime_error);
    text.clear();
    text.exceptions(ios::badbit | ios::failbit);
    EXPECT_THROW(text.seekp(0), ios::failure);
    text.clear();
    EXPECT_THROW(text.flush(), ios::failure);
    EXPECT_TRUE(text.bad());
}

TEST(DataOutputOstream, AppendsToAnExistingFile)
{
    const TemporaryDirectory directory;
    const std::string path = directory.File("log", "one ");
    {
        std::fstream file(path, ios::in | ios::out);
        const SP<IDataOutput> output = DataOutputOstream::Create(&file);
        output->SetPosition(output->GetSize());
        output->Write(Data(5), 5);
    }
    EXPECT_EQ((std::ostringstream() << std::ifstream(path).rdbuf()).str(), "one first");
}

TEST(OutputStreambuf, WritesAtItsOldPositionAfterASeekThatFailedHalfway)
{
    struct Target : ScriptedOutput
    {
        bool seeksFail = false;
        void SetPosition(ioSize position) override
        {
            ScriptedOutput::SetPosition(position);
            seeksFail ? throw std::runtime_error("seek") : void();
        }
    };
    const SP<Target> target(new Target);
    OutputStreambuf buffer(target);
    std::ostream text(&buffer);
    text << "abc" << std::flush;
    target->seeksFail = true;
    EXPECT_TRUE(text.seekp(0).fail());
    target->seeksFail = false;
    text.clear();
    text << "d" << std::flush;
    EXPECT_EQ(target->bytes, "abcd");
}

}  // namespace
