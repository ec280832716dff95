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

/// The clock for a row. Work of one thread is measured in processor time, which other programs disturb less; work of
/// several threads or processes in wall time.
enum class Clock
{
    Processor,
    Wall
};

/// One line of the table.
struct Row
{
    std::string name;
    double target;  // the highest ratio of the library's time to the floor's that is good enough
    Clock clock = Clock::Processor;
};

/// Adds a row to the table: what the library does, against the least that the same work costs when written by hand.
void AddRow(const Row& row, Contender library, Contender floor);

/// Adds another library, which you would use instead of this one, to an existing row.
void AddPeer(const std::string& row, const std::string& peer, Contender contender);

/// Passes all rows to Google Benchmark. A contender is called "row/contender" there and has the row's target as a
/// counter; the context lists all contenders, with commas between them, in the order in which they were first added.
void RegisterRows();

/// Returns the row's name with the number of bytes per call: "memory read, 4 KiB".
std::string NameWithSize(const std::string& name, ioSize size);

/// Returns 4 MiB of bytes that look random and are the same in each run.
const uint8_t* SampleBytes();
constexpr ioSize kSampleSize = 4 * kMiB;

/// Marks the run as an error, so that the program fails, unless the work was done correctly.
void Expect(benchmark::State& state, bool done);

/// Returns whether Expect has marked any run as an error.
bool HasFailed();

/// The same for rounds that move `size` bytes each and together have moved `moved` bytes.
void ExpectMoved(benchmark::State& state, ioSize moved, ioSize size);

/// Makes the compiler assume that `value` and all memory are used. Takes the value by copy: with an lvalue,
/// benchmark::DoNotOptimize lets GCC 12 assume that the variable was changed, or was not, as it likes.
inline void Keep(std::uint64_t value)
{
    asm volatile("" : : "r"(value) : "memory");
}

/// Measures an action that returns a number that depends on its work.
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

/// Adds the other libraries that were found at configure time to the existing rows.
void AddPeers();

}  // namespace Bench
