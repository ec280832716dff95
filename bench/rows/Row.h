#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <TarselIO/ioSize.h>
#include <benchmark/benchmark.h>

namespace Bench
{

using Tarsel::Core::ioSize;

constexpr ioSize kKiB = 1024;
constexpr ioSize kMiB = 1024 * kKiB;

using Contender = std::function<void(benchmark::State&)>;

/// What a row's time is measured with. Work of one thread is measured in processor time, which other programs disturb
/// less; work of several threads or processes in time that passes.
enum class Clock
{
    Processor,
    Wall
};

/// One line of the table.
struct Row
{
    std::string name;
    double target;  // the greatest ratio of the library's time to the floor's that is good enough
    Clock clock = Clock::Processor;
};

/// Adds a row to the table: what the library does, against the least that the same work costs when written by hand.
void AddRow(const Row& row, Contender library, Contender floor);

/// Adds a peer, which is what you would use without this library, to a row that is there already.
void AddPeer(const std::string& row, const std::string& peer, Contender contender);

/// Passes all rows to Google Benchmark. A contender is called "row/contender" there and has the row's target as a
/// counter; the context lists all contenders, with commas between them, in the order in which they were first added.
void RegisterRows();

/// The row's name with the number of bytes a call moves: "memory read, 4 KiB".
std::string NameWithSize(const std::string& name, ioSize size);

/// 4 MiB of bytes that look random and are the same in each run.
const uint8_t* SampleBytes();
constexpr ioSize kSampleSize = 4 * kMiB;

/// Makes the run an error, so that the program fails, unless the work was done as it should be.
void Expect(benchmark::State& state, bool done);

/// Whether Expect has made any run an error.
bool HasFailed();

/// The same for rounds that move `size` bytes each and should have moved `moved` bytes in all.
void ExpectMoved(benchmark::State& state, ioSize moved, ioSize size);

/// Makes the compiler believe that somebody looks at `value` and at all memory. Taken by value:
/// benchmark::DoNotOptimize of an lvalue lets GCC 12 assume that the variable was changed, or was not, as it likes.
inline void Keep(std::uint64_t value)
{
    asm volatile("" : : "r"(value) : "memory");
}

/// Measures an action that returns a number which depends on what it did.
template <class Action>
void Repeat(benchmark::State& state, Action action)
{
    for (auto _ : state)
    {
        Keep(static_cast<std::uint64_t>(action()));
    }
}

// Each adds the rows of one source file.
void AddStreamRows();
void AddFileRows();
void AddBitRows();
void AddHelperRows();
void AddPipeRows();
void AddChannelRows();

/// Adds the peers that were found when the program was configured, to rows that are there.
void AddPeers();

}  // namespace Bench
