#include <algorithm>
#include <string>
#include <vector>

#include <TarselIO/DataInputFile.h>
#include <TarselIO/DataInputMemory.h>
#include <TarselIO/DataOutputFile.h>
#include <TarselIO/DataOutputString.h>
#include <TarselIO/StreamTools.h>
#include <openssl/evp.h>

#include "Floors.h"
#include "Row.h"
#include "Support/TemporaryDirectory.h"

namespace Bench
{
namespace
{

namespace Core = Tarsel::Core;
using benchmark::State;

constexpr ioSize kWholeSize = 64 * kKiB;

/// What the streams in memory hold: little enough for the processor's caches where the calls are small.
ioSize MemorySize(ioSize callSize)
{
    return std::max(64 * kKiB, callSize);
}

/// Reads `size` bytes a call from a stream of `total` bytes, a multiple of `size`, again and again.
template <class Stream>
void MeasureRead(State& state, const Stream& stream, ioSize size, ioSize total)
{
    std::vector<uint8_t> buffer(size);
    ioSize moved = 0;
    ioSize left = total;
    for (auto _ : state)
    {
        moved += stream->Read(buffer.data(), size);
        left -= size;
        if (left == 0)
        {
            stream->SetPosition(0);
            left = total;
        }
    }
    ExpectMoved(state, moved, size);
}

/// Writes `size` bytes a call; `restart` prepares the target for the next `total` bytes.
template <class Stream, class Restart>
void MeasureWrite(State& state, const Stream& stream, ioSize size, ioSize total, Restart restart)
{
    ioSize moved = 0;
    ioSize left = total;
    for (auto _ : state)
    {
        moved += stream->Write(SampleBytes(), size);
        left -= size;
        if (left == 0)
        {
            restart();
            stream->SetPosition(0);
            left = total;
        }
    }
    ExpectMoved(state, moved, size);
}

void AddMemoryRow(ioSize size)
{
    const ioSize total = MemorySize(size);
    AddRow(
        NameWithSize("memory read", size),
        [=](State& state) { MeasureRead(state, Core::DataInputMemory::Create(SampleBytes(), total), size, total); },
        [=](State& state) { MeasureRead(state, MakeMemoryInput(SampleBytes(), total), size, total); });
}

/// Appending: the string is emptied before each round but keeps its memory. Overwriting: it keeps its length.
void AddStringRow(const std::string& name, ioSize size, bool appends)
{
    const ioSize total = MemorySize(size);
    const auto measureInto = [=](auto make)
    {
        return [=](State& state)
        {
            std::string target(total, '\0');
            const auto restart = [&target, appends]
            {
                if (appends)
                {
                    target.clear();
                }
            };
            restart();
            MeasureWrite(state, make(&target), size, total, restart);
        };
    };
    AddRow(NameWithSize(name, size), measureInto(&Core::DataOutputString::Create), measureInto(&MakeStringOutput));
}

void AddFileRows(ioSize size)
{
    const auto measureReading = [=](auto make)
    {
        return [=](State& state)
        {
            const TemporaryDirectory directory;
            const std::string content(reinterpret_cast<const char*>(SampleBytes()), kSampleSize);
            MeasureRead(state, make(directory.File("input", content)), size, kSampleSize);
        };
    };
    AddRow(
        NameWithSize("file read", size), measureReading(&Core::DataInputFile::Create), measureReading(&MakeFileInput));

    const auto measureWriting = [=](auto make)
    {
        return [=](State& state)
        {
            const TemporaryDirectory directory;
            MeasureWrite(state, make(directory.Path("output")), size, kSampleSize, [] {});
        };
    };
    AddRow(NameWithSize("file write and flush", size),
           measureWriting(&Core::DataOutputFile::Create),
           measureWriting(&MakeFileOutput));
}

/// The floor of the three functions that take a whole stream in.
template <class Buffer>
Buffer ReadWhole(FloorInput& stream, ioSize size)
{
    Buffer buffer(size, 0);
    stream.Read(reinterpret_cast<uint8_t*>(buffer.data()), size);
    return buffer;
}

uint8_t DigestWhole(FloorInput& stream, ioSize size)
{
    const auto buffer = ReadWhole<std::vector<uint8_t>>(stream, size);
    Core::MD5Digest digest;
    EVP_Digest(buffer.data(), buffer.size(), digest.bytes.data(), nullptr, EVP_md5(), nullptr);
    return digest.bytes[0];
}

/// `library(stream)` and `floor(stream)` take a whole stream of kWholeSize bytes and return a number.
template <class Library, class Floor>
void AddWholeRow(const std::string& name, Library library, Floor floor)
{
    const auto measure = [](State& state, const auto& stream, const auto& take)
    {
        Repeat(state,
               [&]
               {
                   stream->SetPosition(0);
                   return take(stream);
               });
    };
    AddRow(
        NameWithSize(name, kWholeSize),
        [=](State& state) { measure(state, Core::DataInputMemory::Create(SampleBytes(), kWholeSize), library); },
        [=](State& state) { measure(state, MakeMemoryInput(SampleBytes(), kWholeSize), floor); });
}

void AddWholeStreamRows()
{
    using Stream = Tarsel::SP<Core::IDataInput>;
    AddWholeRow(
        "MD5 of a stream",
        [](const Stream& stream) { return Core::MD5Generate(stream, {}).bytes[0]; },
        [](const FloorInputPtr& stream) { return DigestWhole(*stream, kWholeSize); });
    AddWholeRow(
        "stream to vector",
        [](const Stream& stream) { return Core::StreamToBuffer(stream.get(), false).back(); },
        [](const FloorInputPtr& stream) { return ReadWhole<std::vector<uint8_t>>(*stream, kWholeSize).back(); });
    AddWholeRow(
        "stream to string",
        [](const Stream& stream) { return Core::StreamToBufferString(stream.get()).back(); },
        [](const FloorInputPtr& stream) { return ReadWhole<std::string>(*stream, kWholeSize).back(); });
}

void AddBufferRow()
{
    const auto measure = [](State& state, auto make, auto write)
    {
        std::string target;
        const std::vector<uint8_t> buffer(SampleBytes(), SampleBytes() + kWholeSize);
        const auto stream = make(&target);
        Repeat(state,
               [&]
               {
                   stream->SetPosition(0);
                   return write(buffer, *stream);
               });
        Expect(state, target.size() == kWholeSize);
    };
    using Buffer = std::vector<uint8_t>;
    AddRow(
        NameWithSize("buffer to stream", kWholeSize),
        [=](State& state)
        {
            measure(state,
                    &Core::DataOutputString::Create,
                    [](const Buffer& buffer, Core::IDataOutput& stream)
                    { return Core::BufferToStream(buffer, &stream); });
        },
        [=](State& state)
        {
            measure(state,
                    &MakeStringOutput,
                    [](const Buffer& buffer, FloorOutput& stream)
                    { return stream.Write(buffer.data(), buffer.size()); });
        });
}

void AddObjectRows()
{
    const auto measureMaking = [](auto make)
    { return [=](State& state) { Repeat(state, [&] { return make(SampleBytes(), kKiB) != nullptr; }); }; };
    AddRow("make and destroy a stream", measureMaking(&Core::DataInputMemory::Create), measureMaking(&MakeMemoryInput));

    const auto measureCopying = [](auto make)
    {
        return [=](State& state)
        {
            const auto stream = make(SampleBytes(), kKiB);
            Repeat(state,
                   [&]
                   {
                       const auto copy = stream;
                       return reinterpret_cast<std::uintptr_t>(copy.get());
                   });
        };
    };
    AddRow("copy and drop a pointer", measureCopying(&Core::DataInputMemory::Create), measureCopying(&MakeMemoryInput));
}

}  // namespace

void AddStreamRows()
{
    const ioSize memorySizes[] = {1, 16, 4 * kKiB, kMiB};
    for (const ioSize size : memorySizes)
    {
        AddMemoryRow(size);
    }
    for (const ioSize size : memorySizes)
    {
        AddStringRow("string append", size, true);
        AddStringRow("string overwrite", size, false);
    }
    for (const ioSize size : {ioSize{64}, 4 * kKiB, kMiB})
    {
        AddFileRows(size);
    }
    AddWholeStreamRows();
    AddBufferRow();
    AddObjectRows();
}

}  // namespace Bench
