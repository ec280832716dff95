#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Support/TemporaryDirectory.h"
#include "rows/Row.h"

namespace Bench
{

// How the contenders of the stream rows are measured. A stream is a pointer to something with Read or Write and
// SetPosition; `make` makes one. Library, floor and other libraries go through the same loops.

constexpr ioSize kMemorySizes[] = {1, 16, 4 * kKiB, kMiB};
constexpr ioSize kFileSizes[] = {64, 4 * kKiB, kMiB};
constexpr ioSize kWholeSize = 64 * kKiB;

constexpr char kMemoryRead[] = "memory read";
constexpr char kStringAppend[] = "string append";
constexpr char kStringOverwrite[] = "string overwrite";
constexpr char kDigestRow[] = "MD5 of a stream, 64 KiB";
constexpr char kToVectorRow[] = "stream to vector, 64 KiB";
constexpr char kToStringRow[] = "stream to string, 64 KiB";
constexpr char kFromBufferRow[] = "buffer to stream, 64 KiB";
constexpr char kMakeRow[] = "make and destroy a stream";
constexpr char kCopyRow[] = "copy and drop a pointer";

/// The directories in which the file rows work, and their names in the rows.
struct FilePlace
{
    const char* name;
    const char* directory;
};
constexpr FilePlace kFilePlaces[] = {{"shm", "/dev/shm"}, {"disk", "/var/tmp"}};

inline std::string FileRead(const FilePlace& place, ioSize size)
{
    return NameWithSize(std::string("file read, ") + place.name, size);
}

inline std::string FileWrite(const FilePlace& place, ioSize size)
{
    return NameWithSize(std::string("file write and flush, ") + place.name, size);
}

/// The size of the streams in memory: small enough for the processor's caches if the calls are small.
inline ioSize MemorySize(ioSize callSize)
{
    return std::max(64 * kKiB, callSize);
}

/// Repeatedly reads a stream of `total` bytes, a multiple of `size`, with `size` bytes per call.
template <class Stream>
void MeasureRead(benchmark::State& state, const Stream& stream, ioSize size, ioSize total)
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

/// Writes `size` bytes per call; `restart(stream)` prepares the target for the next `total` bytes.
template <class Stream, class Restart>
void MeasureWrite(benchmark::State& state, const Stream& stream, ioSize size, ioSize total, Restart restart)
{
    ioSize moved = 0;
    ioSize left = total;
    for (auto _ : state)
    {
        moved += stream->Write(SampleBytes(), size);
        left -= size;
        if (left == 0)
        {
            restart(stream);
            left = total;
        }
    }
    ExpectMoved(state, moved, size);
}

constexpr auto kLastByte = [](const auto& buffer) { return buffer.back(); };

constexpr auto kRewind = [](const auto& stream) { stream->SetPosition(0); };

/// `make(data, size)` makes a stream over a block of memory.
template <class Make>
Contender MemoryReading(ioSize size, Make make)
{
    return [=](benchmark::State& state)
    {
        const ioSize total = MemorySize(size);
        MeasureRead(state, make(SampleBytes(), total), size, total);
    };
}

/// `make(path)` makes a stream over a file of 4 MiB in `directory`.
template <class Make>
Contender FileReading(const FilePlace& place, ioSize size, Make make)
{
    return [=](benchmark::State& state)
    {
        const TemporaryDirectory directory(place.directory);
        const std::string content(reinterpret_cast<const char*>(SampleBytes()), kSampleSize);
        MeasureRead(state, make(directory.File("input", content)), size, kSampleSize);
    };
}

/// `make(path)` makes a stream that writes a file and flushes it with each Write.
template <class Make>
Contender FileWriting(const FilePlace& place, ioSize size, Make make)
{
    return [=](benchmark::State& state)
    {
        const TemporaryDirectory directory(place.directory);
        MeasureWrite(state, make(directory.Path("output")), size, kSampleSize, kRewind);
    };
}

// The streams of another library, each added to all rows of a kind. `Stream` is a class with the constructor and the
// operations that the contenders above need.

template <class Stream>
constexpr auto kMake = [](auto... arguments) { return std::make_unique<Stream>(std::move(arguments)...); };

template <class Stream>
void AddMemoryPeer(const char* peer)
{
    for (const ioSize size : kMemorySizes)
    {
        AddPeer(NameWithSize(kMemoryRead, size), peer, MemoryReading(size, kMake<Stream>));
    }
}

/// `restart(stream)` prepares the stream's target for the next round: it empties the target or leaves it as it is.
template <class Stream, class Restart>
void AddStringPeer(const char* row, const char* peer, Restart restart)
{
    for (const ioSize size : kMemorySizes)
    {
        AddPeer(NameWithSize(row, size),
                peer,
                [=](benchmark::State& state)
                {
                    const ioSize total = MemorySize(size);
                    const auto stream = std::make_unique<Stream>(total);
                    restart(stream);
                    MeasureWrite(state, stream, size, total, restart);
                });
    }
}

template <class Input, class Output>
void AddFilePeer(const char* peer)
{
    for (const FilePlace& place : kFilePlaces)
    {
        for (const ioSize size : kFileSizes)
        {
            AddPeer(FileRead(place, size), peer, FileReading(place, size, kMake<Input>));
            AddPeer(FileWrite(place, size), peer, FileWriting(place, size, kMake<Output>));
        }
    }
}

/// Reads a whole stream into a buffer of its size; `take(buffer)` turns the buffer into a number.
template <class Input, class Buffer, class Take>
Contender WholeReading(Take take)
{
    return [=](benchmark::State& state)
    {
        const auto stream = std::make_unique<Input>(SampleBytes(), kWholeSize);
        Repeat(state,
               [&]
               {
                   stream->SetPosition(0);
                   Buffer buffer(kWholeSize, 0);
                   stream->Read(reinterpret_cast<uint8_t*>(buffer.data()), kWholeSize);
                   return take(buffer);
               });
    };
}

/// Adds the streams to the rows that move a whole stream at once.
template <class Input, class Output>
void AddWholePeers(const char* peer)
{
    AddPeer(kToVectorRow, peer, WholeReading<Input, std::vector<uint8_t>>(kLastByte));
    AddPeer(kToStringRow, peer, WholeReading<Input, std::string>(kLastByte));
    AddPeer(kFromBufferRow,
            peer,
            [](benchmark::State& state)
            { MeasureWrite(state, std::make_unique<Output>(kWholeSize), kWholeSize, kWholeSize, kRewind); });
}

/// `digest(buffer)` returns a byte of the buffer's MD5.
template <class Input, class Digest>
void AddDigestPeer(const char* peer, Digest digest)
{
    AddPeer(kDigestRow, peer, WholeReading<Input, std::vector<uint8_t>>(digest));
}

/// `make()` makes a stream, and each round destroys it.
template <class Make>
Contender Making(Make make)
{
    return [=](benchmark::State& state)
    {
        Repeat(state,
               [&]
               {
                   const auto made = make();
                   return made.get() != nullptr;
               });
    };
}

/// Each round copies the pointer that `make()` returned and drops the copy.
template <class Make>
Contender Copying(Make make)
{
    return [=](benchmark::State& state)
    {
        const auto original = make();
        Repeat(state,
               [&]
               {
                   const auto copy = original;  // NOLINT(performance-unnecessary-copy-initialization)
                   return copy.get() != nullptr;
               });
    };
}

}  // namespace Bench
