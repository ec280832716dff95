#include <TarselIO/DataInputFF.h>
#include <TarselIO/DataInputFile.h>
#include <TarselIO/DataOutputFF.h>
#include <TarselIO/DataOutputFile.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <future>
#include <optional>
#include <random>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/LogCapture.h"
#include "Support/OutputFileFailure.h"
#include "Support/Records.h"
#include "Support/SizeLimit.h"
#include "Support/TemporaryDirectory.h"

using namespace Tarsel;
using namespace Tarsel::Core;
using namespace testing;
using namespace std::string_literals;

namespace
{

constexpr auto kNone = std::nullopt;
constexpr ioSize kTooFar = ioSize{1} << 63U;

std::string Read(const SP<IDataInput>& stream, ioSize size)
{
    std::string text(size, '\0');
    text.resize(stream->Read(reinterpret_cast<uint8_t*>(text.data()), size));
    return text;
}

ioSize Write(const SP<IDataOutput>& stream, const std::string& text)
{
    return stream->Write(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

// Returns whether all bytes are in the file. If not, GetPosition() returns how far the write got.
bool WriteAll(IDataOutput& output, const uint8_t* data, ioSize size)
{
    try
    {
        return output.Write(data, size) == size;
    }
    catch (const IOException&)
    {
        return false;
    }
}

// Returns what was appended since the last call.
std::string ReadNew(IDataInput& file)
{
    file.SetPosition(file.GetPosition());  // clears the stream's end of file
    uint8_t block[1000];
    std::string text;
    while (const ioSize count = file.Read(block, sizeof block))
    {
        text.append(block, block + count);
    }
    return text;
}

}  // namespace

TEST(DataInputFile, ReadsAtItsPosition)
{
    const TemporaryDirectory directory;
    const std::string path = directory.File("žluťoučký файл", "0123456789");
    const auto stream = DataInputFile::Create(path);
    std::ofstream(path, std::ios::app) << "grown";
    EXPECT_EQ(stream->GetSize(), 10U);
    EXPECT_EQ(Read(stream, 4), "0123");
    stream->SetPosition(kTooFar);
    EXPECT_EQ(stream->GetPosition(), 4U);
    stream->SetPosition(100);
    EXPECT_EQ(stream->GetPosition(), 100U);
    EXPECT_EQ(Read(stream, 4), "");
    stream->SetPosition(13);
    EXPECT_EQ(Read(stream, 4), "wn");
}

TEST(DataInputFile, RemembersTheEndUntilAPositionIsSet)
{
    const TemporaryDirectory directory;
    const std::string path = directory.File("file", "0123456789");
    const auto stream = DataInputFile::Create(path);
    EXPECT_EQ(Read(stream, 20), "0123456789");
    std::ofstream(path, std::ios::app) << "grown";
    EXPECT_EQ(Read(stream, 20), "");
    EXPECT_EQ(ReadNew(*stream), "grown");
    EXPECT_EQ(ReadNew(*stream), "");
    const std::string more(2500, 'x');
    std::ofstream(path, std::ios::app) << more;
    EXPECT_EQ(ReadNew(*stream), more);
}

TEST(DataInputFile, LeavesTheReasonOfAShortCountInErrno)
{
    LogCapture log;
    const TemporaryDirectory directory;
    const auto end = DataInputFile::Create(directory.File("file", "abc"));
    const auto unreadable = DataInputFile::Create(directory.Path(""));  // opens, since it is only a directory
    errno = 0;
    EXPECT_EQ(Read(end, 4), "abc");
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(Read(unreadable, 4), "");
    EXPECT_EQ(errno, EISDIR);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST(DataInputFile, ReportsWhatItCannotOpen)
{
    static constexpr char kDescription[] = "Can not open file for reading";
    static constexpr char kFile[] = "IO/TarselIO/DataInputFile.cpp";
    static constexpr char kThrower[] = "static SP<IDataInput> Tarsel::Core::DataInputFile::Create(const ioPath &)";
    const TemporaryDirectory directory;
    const std::string file = directory.File("file", "");
    for (const auto& [path, error] : {std::pair(directory.Path("missing"), ENOENT), {file + "/below", ENOTDIR}})
    {
        const std::string words = std::strerror(error);
        EXPECT_THAT(Thrown([&name = path] { DataInputFile::Create(name); }),
                    FieldsAre(path, kDescription, words, Optional(Not("")), kNone, kNone, kFile, kThrower));
        EXPECT_FALSE(DataInputFile(path).Good());
    }
    EXPECT_TRUE(DataInputFile(file).Good());
}

TEST(DataOutputFile, CreatesItsFileAndDirectoriesAndWritesThrough)
{
    const TemporaryDirectory directory;
    const std::string path = directory.Path("a/β/ц/soubor");
    Write(DataOutputFile::Create(path), "old");
    const SP<DataOutputFile> stream(new DataOutputFile(path));
    EXPECT_TRUE(stream->Good());
    EXPECT_EQ(directory.Content(path), "");
    DataOutputFile::Fclose(nullptr);
    EXPECT_EQ(Write(stream, "12345"), 5U);
    EXPECT_EQ(stream->GetPosition(), 5U);
    EXPECT_EQ(stream->GetSize(), 0U);
    EXPECT_EQ(directory.Content(path), "12345");
    stream->SetPosition(10);
    Write(stream, "x");
    stream->SetPosition(1);
    Write(stream, "y");
    EXPECT_EQ(directory.Content(path), "1y345\0\0\0\0\0x"s);
}

TEST(DataOutputFile, SetsTheLengthOfItsFile)
{
    const TemporaryDirectory directory;
    const std::string path = directory.Path("file");
    const auto stream = DataOutputFile::Create(path);
    Write(stream, "123");
    stream->SetSize(6);
    EXPECT_EQ(directory.Content(path), "123\0\0\0"s);
    EXPECT_EQ(stream->GetPosition(), 3U);
    stream->SetSize(2);
    EXPECT_EQ(stream->GetPosition(), 2U);
    Write(stream, "x");
    EXPECT_EQ(directory.Content(path), "12x");
}

TEST(DataOutputFile, ReportsWhatTheSystemRefuses)
{
    const TemporaryDirectory directory;
    const std::string fifo = directory.Fifo("fifo");
    const int otherEnd = ::open(fifo.c_str(), O_RDWR);
    const std::string below = directory.File("file", "") + "/below";
    for (const auto& [path, error] : {std::pair(directory.Path(""), EISDIR), {below, ENOTDIR}, {fifo, ESPIPE}})
    {
        EXPECT_THAT(Thrown([&name = path] { DataOutputFile::Create(name); }), Reports(error, kConstructor));
    }
    ::close(otherEnd);
    EXPECT_THAT(Thrown([] { Write(DataOutputFile::Create("/dev/full"), "abc"); }), Reports(ENOSPC, kWrite));
    const auto stream = DataOutputFile::Create(directory.Path("file"));
    Write(stream, "123");
    EXPECT_THAT(Thrown([&] { stream->SetPosition(kTooFar); }), Reports(EINVAL, kSetPosition));
    EXPECT_THAT(Thrown([&] { stream->SetSize(kTooFar); }), Reports(EINVAL, kSetSize));
    EXPECT_EQ(stream->GetPosition(), 3U);
}

TEST(DataOutputFile, WaitsForTheReaderOfAPipeBeforeItRefusesIt)
{
    const TemporaryDirectory directory;
    const std::string fifo = directory.Fifo("fifo");
    auto refused =
        std::async(std::launch::async, [&fifo] { return Thrown([&fifo] { DataOutputFile::Create(fifo); }); });
    EXPECT_EQ(refused.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    const int reader = ::open(fifo.c_str(), O_RDWR);
    EXPECT_THAT(refused.get(), Reports(ESPIPE, kConstructor));
    ::close(reader);
}

// The limit also applies to the output of the test itself.
TEST(DataOutputFile, ReportsThatItsFileMayNotGrow)
{
    const TemporaryDirectory directory;
    const auto stream = DataOutputFile::Create(directory.Path("file"));
    auto limit = std::make_optional<SizeLimit>(10);
    const auto write = Thrown([&] { Write(stream, "0123456789abc"); });
    const auto setSize = Thrown([&] { stream->SetSize(11); });
    limit.reset();
    EXPECT_THAT(write, Reports(EFBIG, kWrite));
    EXPECT_THAT(setSize, Reports(EFBIG, kSetSize));
    EXPECT_EQ(directory.Content(directory.Path("file")), "0123456789");
}

// Large writes return a short count, and small ones throw.
TEST(DataOutputFile, IsPositionedAfterTheBytesThatReachedAFullDisk)
{
    constexpr ioSize kRoom = 65000;
    constexpr ioSize kSize = 300000;
    const TemporaryDirectory directory;
    const std::string path = directory.Path("file");
    std::string data(kSize, '\0');
    std::generate(data.begin(), data.end(), std::minstd_rand());
    const auto* const bytes = reinterpret_cast<const uint8_t*>(data.data());
    const auto stream = DataOutputFile::Create(path);
    auto limit = std::make_optional<SizeLimit>(kRoom);
    std::vector<bool> wroteAll;
    std::vector<ioSize> positions;
    for (const ioSize size : {ioSize{60000}, kSize - 60000, kSize - kRoom, ioSize{5000}, ioSize{1}})
    {
        wroteAll.push_back(WriteAll(*stream, bytes + stream->GetPosition(), size));
        positions.push_back(stream->GetPosition());
    }
    limit.reset();
    EXPECT_THAT(wroteAll, ElementsAre(true, false, false, false, false));
    EXPECT_THAT(positions, ElementsAre(60000, kRoom, kRoom, kRoom, kRoom));
    EXPECT_EQ(directory.Content(path), data.substr(0, kRoom));
    EXPECT_TRUE(WriteAll(*stream, bytes + kRoom, kSize - kRoom)) << "there is room again";
    EXPECT_EQ(directory.Content(path), data);
}

TEST(FileStreams, ReachBeyondFourGigabytes)
{
    constexpr ioSize kFar = ioSize{5} << 30U;
    const TemporaryDirectory directory;
    const auto output = DataOutputFile::Create(directory.Path("file"));
    output->SetPosition(kFar);
    Write(output, "x");
    EXPECT_EQ(output->GetPosition(), kFar + 1);
    output->SetSize(kFar + 3);
    const auto input = DataInputFile::Create(directory.Path("file"));
    EXPECT_EQ(input->GetSize(), kFar + 3);
    input->SetPosition(kFar - 2);
    EXPECT_EQ(Read(input, 8), "\0\0x\0\0"s);
    EXPECT_EQ(input->GetPosition(), kFar + 3);
}

// The limit depends on the file system: 2^44 on ext4, higher on others.
TEST(FileStreams, KeepTheirPositionIfANewOneIsRefused)
{
    const TemporaryDirectory directory;
    const auto output = DataOutputFile::Create(directory.Path("file"));
    const auto input = DataInputFile::Create(directory.Path("file"));
    for (unsigned bit = 40; bit != 64; ++bit)
    {
        const ioSize position = ioSize{1} << bit;
        const ioSize before = output->GetPosition();
        input->SetPosition(position);
        if (input->GetPosition() == position)
        {
            output->SetPosition(position);
            EXPECT_EQ(output->GetPosition(), position);
        }
        else
        {
            EXPECT_EQ(input->GetPosition(), before);
            EXPECT_THAT(Thrown([&] { output->SetPosition(position); }), Reports(EINVAL, kSetPosition));
            EXPECT_EQ(output->GetPosition(), before);
        }
    }
    EXPECT_LE(output->GetPosition(), kTooFar / 2);
}

TEST(PlaceholderStreams, HaveANameAndNoData)
{
    const TemporaryDirectory directory;
    const auto input = DataInputFF::Create(directory.Path("missing/file"));
    const auto output = DataOutputFF::Create(directory.Path("missing/file"));
    uint8_t byte = 7;
    input->SetPosition(50);
    output->SetSize(10);
    output->SetPosition(5);
    EXPECT_EQ(input->Read(&byte, 100) + output->Write(nullptr, 100), 0U);
    EXPECT_EQ(byte, 7);
    EXPECT_EQ(input->GetSize() + input->GetPosition() + output->GetSize() + output->GetPosition(), 0U);
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path("")));
}
