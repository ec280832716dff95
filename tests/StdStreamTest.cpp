#include <filesystem>
#include <fstream>
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

std::minstd_rand random_;  // the same numbers in each run
int Any(int from, int to)
{
    return std::uniform_int_distribution<int>(from, to)(random_);
}
const ios::seekdir kDirections[] = {ios::beg, ios::cur, ios::end};

template <class Bytes>
std::string Taken(IDataInput& stream, Bytes size)
{
    std::string bytes(size, '-');
    bytes.resize(stream.Read(reinterpret_cast<uint8_t*>(bytes.data()), size));
    return bytes;
}

ioSize Put(IDataOutput& stream, const std::string& text)
{
    return stream.Write(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

// Whether `action` throws what a stream of the library throws for a position, or a size, that cannot be.
template <class Action>
bool Refuses(Action action)
{
    try
    {
        action();
        return false;
    }
    catch (const IOException&)
    {
        return true;
    }
}

// Does one operation and tells what it read, where the stream stands and in which state.
std::string ReadStep(std::istream& stream, int operation, int argument)
{
    std::string read;
    const auto byte = static_cast<char>(kText[static_cast<std::size_t>(argument)]);
    switch (operation)
    {
        case 0:
            read = std::to_string(stream.get());
            break;
        case 1:
            stream.unget();
            break;
        case 2:
            stream.putback(byte);
            break;
        case 3:
            std::getline(stream, read);
            break;
        case 4:
            read = std::to_string(stream.peek());
            break;
        case 5:
            stream.seekg(argument - 20, kDirections[argument % 3]);
            break;
        default:
            read.resize(static_cast<std::size_t>(argument));
            stream.read(read.data(), argument);
            read.resize(static_cast<std::size_t>(stream.gcount()));
    }
    read += stream.eof() ? " at the end" : stream.fail() ? " failed" : "";
    stream.clear();
    return read + " at " + std::to_string(stream.tellg());
}

TEST(InputStreambuf, ReadsSeeksAndPutsBackLikeAStringStream)
{
    for (int round = 0; round < 200 && !testing::Test::HasFailure(); ++round)
    {
        InputStreambuf buffer(DataInputString::Create(&kText), static_cast<std::size_t>(round % 9));
        std::istream ours(&buffer);
        std::istringstream theirs(kText);
        for (int step = 0; step < 100 && !testing::Test::HasFailure(); ++step)
        {
            const int operation = Any(0, 6);
            const int argument = Any(0, 40);
            EXPECT_EQ(ReadStep(ours, operation, argument), ReadStep(theirs, operation, argument))
                << operation << ' ' << argument;
        }
    }
}

std::string WriteStep(std::ostream& stream, int operation, int argument)
{
    switch (operation)
    {
        case 0:
            stream.put(static_cast<char>('a' + argument % 26));
            break;
        case 1:
            stream.seekp(argument - 20, kDirections[argument % 3]);
            break;
        case 2:
            stream.flush();
            break;
        default:
            stream << kText.substr(static_cast<std::size_t>(argument), static_cast<std::size_t>(argument) / 3);
    }
    const bool failed = stream.fail();
    stream.clear();
    return (failed ? "failed at " : "at ") + std::to_string(stream.tellp());
}

TEST(OutputStreambuf, WritesAndSeeksLikeAStringStream)
{
    for (int round = 0; round < 200 && !testing::Test::HasFailure(); ++round)
    {
        std::string written;
        std::ostringstream theirs;
        {
            OutputStreambuf buffer(DataOutputString::Create(&written), static_cast<std::size_t>(round % 9));
            std::ostream ours(&buffer);
            for (int step = 0; step < 100 && !testing::Test::HasFailure(); ++step)
            {
                const int operation = Any(0, 3);
                const int argument = Any(0, 40);
                EXPECT_EQ(WriteStep(ours, operation, argument), WriteStep(theirs, operation, argument))
                    << operation << ' ' << argument;
            }
        }
        EXPECT_EQ(written, theirs.str());
    }
}

// Writes and reads a marker at a position that takes more than 32 bits, through each of the four classes.
TEST(StdStream, CountsIn64Bits)
{
    const TemporaryDirectory directory;
    const std::string path = directory.Path("sparse");
    {
        OutputStreambuf buffer(DataOutputFile::Create(path));
        std::ostream file(&buffer);
        file << "begin" << std::flush;
        std::filesystem::resize_file(path, kFar);
        file.seekp(kFar) << "middle";
        EXPECT_EQ(file.tellp(), kFar + 6);
        EXPECT_EQ(file.seekp(0).tellp(), 0);
        EXPECT_EQ(file.seekp(-2, ios::end).tellp(), kFar + 4) << "the stream itself tells that its size is 0";
        EXPECT_TRUE(file.flush());
    }
    {
        std::ofstream file(path, ios::in | ios::out);
        const SP<IDataOutput> stream = DataOutputOstream::Create(&file);
        EXPECT_EQ(stream->GetSize(), kFar + 6);
        stream->SetPosition(kFar + 3);
        EXPECT_EQ(Put(*stream, "point"), 5);
        EXPECT_EQ(stream->GetPosition(), kFar + 8);
        EXPECT_EQ(stream->GetSize(), kFar + 8);
    }
    InputStreambuf buffer(DataInputFile::Create(path));
    std::istream file(&buffer);
    std::string word;
    EXPECT_EQ(file.seekg(-8, ios::end).tellg(), kFar);
    EXPECT_TRUE(file >> word);
    EXPECT_EQ(word, "midpoint");
    file.clear();
    EXPECT_EQ(file.seekg(-static_cast<std::streamoff>(kFar) - 8, ios::cur).get(), 'b');
    EXPECT_EQ(buffer.in_avail(), 16383) << "what is buffered";

    std::ifstream source(path);
    const SP<IDataInput> stream = DataInputIstream::Create(&source);
    EXPECT_EQ(stream->GetSize(), kFar + 8);
    stream->SetPosition(kFar + 1);
    EXPECT_EQ(Taken(*stream, 10U), "idpoint");
    EXPECT_EQ(stream->GetPosition(), kFar + 8);
    stream->SetPosition(1);
    EXPECT_EQ(Taken(*stream, 4U), "egin");
}

TEST(InputStreambuf, PutsTheStreamWhereTheReaderIs)
{
    const SP<IDataInput> stream = DataInputString::Create(&kText);
    InputStreambuf buffer(stream);
    std::istream text(&buffer);
    EXPECT_EQ(buffer.in_avail(), kText.size());
    EXPECT_EQ(text.get(), 'f');
    EXPECT_EQ(stream->GetPosition(), kText.size());
    EXPECT_EQ(text.sync(), 0);
    EXPECT_EQ(stream->GetPosition(), 1);
    EXPECT_EQ(text.get(), 'i');
}

TEST(InputStreambuf, TurnsAFailureIntoBadbitAndKeepsIt)
{
    const SP<ScriptedInput> source(new ScriptedInput(kText));
    source->failing = {1, 2};
    InputStreambuf buffer(source, 4);
    std::istream text(&buffer);
    std::string word;
    EXPECT_EQ(buffer.Failure(), nullptr);
    EXPECT_FALSE(text >> word);
    EXPECT_TRUE(text.bad());
    EXPECT_THROW(std::rethrow_exception(buffer.Failure()), std::runtime_error);
    text.clear();
    text.exceptions(ios::badbit);
    EXPECT_THROW(text >> word, std::runtime_error);
    text.clear();
    EXPECT_TRUE(text >> word);
    EXPECT_EQ(word, "t");
    EXPECT_FALSE(text.seekg(1000));
    EXPECT_EQ(Thrown([&] { std::rethrow_exception(buffer.Failure()); }).seek, 1000U);
    text.clear();
    EXPECT_EQ(text.tellg(), 5) << "where it was";

    InputStreambuf folder(DataInputFile::Create("/tmp"));  // which cannot be read, as the file stream does not tell
    EXPECT_FALSE(std::istream(&folder) >> word);
    const Records failure = Thrown([&] { std::rethrow_exception(folder.Failure()); });
    EXPECT_EQ(failure.filename, "/tmp");
    EXPECT_EQ(failure.description, "The stream ended before its size");
}

TEST(OutputStreambuf, BeginsAgainAfterAFailure)
{
    const SP<ScriptedOutput> target(new ScriptedOutput);
    target->failing = {1};
    {
        OutputStreambuf buffer(target, 4);
        std::ostream text(&buffer);
        EXPECT_TRUE(text << "one " << std::flush << "two" << std::unitbuf);
        EXPECT_FALSE(text << '.') << "after which it is flushed, where nothing may be thrown";
        EXPECT_THROW(std::rethrow_exception(buffer.Failure()), std::runtime_error);
        text.clear();
        target->SetPosition(0);  // wherever the failure has left it
        EXPECT_TRUE(text << std::nounitbuf << std::flush);
        EXPECT_EQ(target->bytes, "one two.");
        text.exceptions(ios::badbit);
        target->result = 0;
        EXPECT_EQ(Thrown([&] { text << "four or more"; }).description, "The stream takes no more bytes");
        target->result.reset();
        text.clear();
        text << "4";
    }
    EXPECT_EQ(target->bytes, "one two.4our or more") << "which it has written, unlike what it said";
}

TEST(DataOutputOstream, DoesWhatAStringStreamOfTheLibraryDoes)
{
    std::string written;
    const SP<IDataOutput> theirs = DataOutputString::Create(&written);
    std::ostringstream target;
    const SP<IDataOutput> ours = DataOutputOstream::Create(&target);
    for (int step = 0; step < 500; ++step)
    {
        const auto argument = static_cast<ioSize>(Any(0, 60));
        ASSERT_EQ(Put(*ours, kText.substr(argument)), Put(*theirs, kText.substr(argument)));
        const ioSize position = argument * written.size() / 40;  // also past the end
        ASSERT_EQ(Refuses([&] { ours->SetPosition(position); }), Refuses([&] { theirs->SetPosition(position); }));
        ours->SetSize(written.size() + argument);
        theirs->SetSize(written.size() + argument);
        ASSERT_EQ(ours->GetPosition(), theirs->GetPosition());
        ASSERT_EQ(ours->GetSize(), theirs->GetSize());
    }
    EXPECT_EQ(target.str(), written);
    EXPECT_TRUE(Refuses([&] { ours->SetSize(written.size() - 1); }));

    std::ofstream full("/dev/full");
    full.exceptions(ios::badbit | ios::failbit);
    const SP<IDataOutput> failing = DataOutputOstream::Create(&full);
    EXPECT_EQ(Thrown([&] { Put(*failing, std::string(1'000'000, 'x')); }).description,
              "The standard stream cannot be written");
    EXPECT_TRUE(full.bad());
}

TEST(DataInputIstream, DoesWhatAStringStreamOfTheLibraryDoes)
{
    std::istringstream source(kText);
    source.exceptions(ios::badbit | ios::failbit | ios::eofbit);
    const SP<IDataInput> ours = DataInputIstream::Create(&source);
    const SP<IDataInput> theirs = DataInputString::Create(&kText);
    for (int step = 0; step < 500; ++step)
    {
        const auto argument = static_cast<ioSize>(Any(0, 80));
        ASSERT_EQ(Taken(*ours, argument), Taken(*theirs, argument));
        ASSERT_EQ(Refuses([&] { ours->SetPosition(argument); }), Refuses([&] { theirs->SetPosition(argument); }));
        ASSERT_EQ(ours->GetPosition(), theirs->GetPosition());
    }
    EXPECT_EQ(ours->GetSize(), kText.size());
    EXPECT_TRUE(source.good());
}

TEST(DataInputIstream, ReportsAFailureByBadbitAndWhatCannotBePositionedByAnException)
{
    std::ifstream folder("/tmp");  // opens, but cannot be read
    folder.exceptions(ios::badbit);
    EXPECT_EQ(Taken(*DataInputIstream::Create(&folder), 9U), "");
    EXPECT_TRUE(folder.bad());

    struct Unseekable : std::streambuf
    {
    } unseekable;
    std::istream pipe(&unseekable);
    std::istream empty(nullptr);
    for (std::istream* const stream : {&pipe, &empty})
    {
        EXPECT_EQ(Thrown([&] { DataInputIstream::Create(stream); }).description,
                  "The standard stream cannot be positioned");
    }
}

}  // namespace
