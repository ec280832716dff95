#include <TarselIO/DataInputFF.h>
#include <TarselIO/DataInputFile.h>
#include <TarselIO/DataOutputFF.h>
#include <TarselIO/DataOutputFile.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/OutputFileFailure.h"
#include "Support/Records.h"
#include "Support/TemporaryDirectory.h"

using namespace Tarsel;
using namespace Tarsel::Core;
using testing::FieldsAre;
using testing::Not;
using testing::Optional;

namespace
{

constexpr auto kNone = std::nullopt;
constexpr ioSize kTooFar = ioSize{1} << 63U;
constexpr ioSize kUnknown = ~ioSize{0};

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

std::string Zeros(std::size_t count)
{
    return std::string(count, '\0');
}

}  // namespace

TEST(DataInputFile, ReadsWhereItStands)
{
    const TemporaryDirectory directory;
    const std::string path = directory.File("žluťoučký файл", "0123456789");
    const auto stream = DataInputFile::Create(path);
    EXPECT_EQ(stream->GetFilename().utf8string(), path);
    std::ofstream(path, std::ios::app) << "grown";
    EXPECT_EQ(stream->GetSize(), 10U);
    EXPECT_EQ(Read(stream, 4), "0123");
    EXPECT_EQ(stream->Read(nullptr, 0), 0U);
    EXPECT_EQ(stream->GetPosition(), 4U);
    for (const ioSize ignored : {kTooFar, kUnknown})
    {
        stream->SetPosition(ignored);
        EXPECT_EQ(stream->GetPosition(), 4U);
    }
    stream->SetPosition(100);
    EXPECT_EQ(stream->GetPosition(), 100U);
    EXPECT_EQ(Read(stream, 4), "");
    stream->SetPosition(13);
    EXPECT_EQ(Read(stream, 4), "wn");
}

TEST(DataInputFile, ReadsWhatHasNoSize)
{
    const TemporaryDirectory directory;
    EXPECT_EQ(Read(DataInputFile::Create(directory.Path("")), 4), "");
    const auto empty = DataInputFile::Create(directory.File("empty", ""));
    EXPECT_EQ(empty->GetSize(), 0U);
    EXPECT_EQ(Read(empty, 4), "");

    const std::string fifo = directory.Fifo("fifo");
    const int otherEnd = ::open(fifo.c_str(), O_RDWR);
    ASSERT_EQ(::write(otherEnd, "abc", 3), 3);
    const auto stream = DataInputFile::Create(fifo);
    stream->SetPosition(1);
    EXPECT_EQ(stream->GetSize(), kUnknown);
    EXPECT_EQ(stream->GetPosition(), kUnknown);
    EXPECT_EQ(Read(stream, 3), "abc");
    ::close(otherEnd);
}

TEST(DataInputFile, ReportsWhatItCannotOpen)
{
    static constexpr char kDescription[] = "Can not open file for reading";
    static constexpr char kFile[] = "IO/TarselIO/DataInputFile.cpp";
    static constexpr char kThrower[] = "static SP<IDataInput> Tarsel::Core::DataInputFile::Create(const ioPath &)";
    const TemporaryDirectory directory;
    for (const auto& [path, error] :
         {std::pair(directory.Path("missing"), ENOENT), {directory.File("file", "") + "/below", ENOTDIR}, {"", ENOENT}})
    {
        const std::string words = std::strerror(error);
        EXPECT_THAT(Thrown([&name = path] { DataInputFile::Create(name); }),
                    FieldsAre(path, kDescription, words, Optional(Not("")), kNone, kNone, kFile, kThrower));
        EXPECT_FALSE(DataInputFile(path).Good());
    }
    EXPECT_TRUE(DataInputFile(directory.Path("file")).Good());
}

TEST(DataOutputFile, CreatesItsFileAndTheDirectoriesAbove)
{
    const TemporaryDirectory directory;
    const std::string path = directory.Path("a/β/ц/soubor");
    Write(DataOutputFile::Create(path), "old");
    const auto stream = DataOutputFile::Create(path);
    EXPECT_EQ(directory.Content(path), "");
    EXPECT_EQ(stream->GetFilename().utf8string(), path);
    EXPECT_TRUE(DataOutputFile(path).Good());
    DataOutputFile::Fclose(nullptr);
}

TEST(DataOutputFile, WritesThroughToTheFile)
{
    const TemporaryDirectory directory;
    const std::string path = directory.Path("file");
    const auto stream = DataOutputFile::Create(path);
    EXPECT_EQ(Write(stream, "12345"), 5U);
    EXPECT_EQ(stream->Write(nullptr, 0), 0U);
    EXPECT_EQ(stream->GetPosition(), 5U);
    EXPECT_EQ(stream->GetSize(), 0U);
    EXPECT_EQ(directory.Content(path), "12345");
    for (const ioSize refused : {kTooFar, kUnknown})
    {
        EXPECT_THAT(Thrown([&stream, refused] { stream->SetPosition(refused); }), Says(EINVAL, kSetPosition));
        EXPECT_EQ(stream->GetPosition(), 5U);
    }
    stream->SetPosition(10);
    Write(stream, "x");
    stream->SetPosition(1);
    Write(stream, "y");
    EXPECT_EQ(directory.Content(path), "1y345" + Zeros(5) + "x");
}

TEST(DataOutputFile, SetsTheLengthOfItsFile)
{
    const TemporaryDirectory directory;
    const std::string path = directory.Path("file");
    const auto stream = DataOutputFile::Create(path);
    Write(stream, "123");
    stream->SetSize(6);
    EXPECT_EQ(directory.Content(path), "123" + Zeros(3));
    EXPECT_EQ(stream->GetPosition(), 3U);
    for (const ioSize refused : {kTooFar, kUnknown})
    {
        EXPECT_THAT(Thrown([&stream, refused] { stream->SetSize(refused); }), Says(EINVAL, kSetSize));
    }
    stream->SetSize(4);
    EXPECT_EQ(stream->GetPosition(), 3U);
    stream->SetSize(2);
    EXPECT_EQ(stream->GetPosition(), 2U);
    Write(stream, "x");
    EXPECT_EQ(directory.Content(path), "12x");
    EXPECT_EQ(stream->GetSize(), 0U);
}

TEST(DataOutputFile, TellsWhyItCannotOpen)
{
    const TemporaryDirectory directory;
    const std::string fifo = directory.Fifo("fifo");
    const int otherEnd = ::open(fifo.c_str(), O_RDWR);
    for (const auto& [path, error] : {std::pair(directory.Path(""), EISDIR),
                                      {directory.File("file", "") + "/below", ENOTDIR},
                                      {"", ENOENT},
                                      {fifo, ESPIPE}})
    {
        EXPECT_THAT(Thrown([&name = path] { DataOutputFile::Create(name); }), Says(error, kConstructor));
    }
    ::close(otherEnd);
}

TEST(DataOutputFile, ReportsAFullDeviceAndAFileThatMayNotGrow)
{
    EXPECT_THAT(Thrown([] { Write(DataOutputFile::Create("/dev/full"), "abc"); }), Says(ENOSPC, kWrite));

    const TemporaryDirectory directory;
    const std::string path = directory.Path("file");
    const auto stream = DataOutputFile::Create(path);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit limit{10, before.rlim_max};
    auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    EXPECT_THAT(Thrown([&] { Write(stream, "0123456789abc"); }), Says(EFBIG, kWrite));
    EXPECT_THAT(Thrown([&] { stream->SetSize(11); }), Says(EFBIG, kSetSize));
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(directory.Content(path), "0123456789");
    stream->SetPosition(0);
    EXPECT_EQ(Write(stream, "x"), 1U);
    EXPECT_EQ(directory.Content(path), "x123456789");
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
    EXPECT_EQ(Read(input, 8), Zeros(2) + "x" + Zeros(2));
    EXPECT_EQ(input->GetPosition(), kFar + 3);
}

TEST(PlaceholderStreams, CarryANameAndNoData)
{
    const TemporaryDirectory directory;
    const std::string path = directory.Path("missing/file");
    const auto input = DataInputFF::Create(path);
    const auto output = DataOutputFF::Create(path);
    uint8_t byte = 7;
    input->SetPosition(50);
    output->SetSize(10);
    output->SetPosition(5);
    EXPECT_EQ(input->Read(&byte, 100), 0U);
    EXPECT_EQ(output->Write(&byte, 1), 0U);
    EXPECT_EQ(output->Write(nullptr, 100), 0U);
    EXPECT_EQ(byte, 7);
    EXPECT_EQ(input->GetSize() + input->GetPosition() + output->GetSize() + output->GetPosition(), 0U);
    EXPECT_EQ(input->GetFilename().utf8string(), path);
    EXPECT_EQ(output->GetFilename().utf8string(), path);
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path("")));
}
