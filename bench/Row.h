#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <TarselIO/ioSize.h>
#include <benchmark/benchmark.h>

namespace Bench
{

using Tarsel::Core::ioSize;

constexpr ioSize kKiB = 1024;
constexpr ioSize kMiB = 1024 * kKiB;

using Contender = std::function<void(benchmark::State&)>;

/// The names under which a row's two contenders run: the row's name followed by one of these.
constexpr char kLibrarySuffix[] = "/library";
constexpr char kFloorSuffix[] = "/floor";

/// Adds a row of the table: what the library does, against the least that the same work costs when written by hand.
/// Times are wall-clock times, since some rows work on several threads.
void AddRow(const std::string& name, Contender library, Contender floor);

/// The row's name with the number of bytes a call moves: "memory read, 4 KiB".
std::string NameWithSize(const std::string& name, ioSize size);

/// 4 MiB of bytes that look random and are the same in each run.
const uint8_t* SampleBytes();
constexpr ioSize kSampleSize = 4 * kMiB;

/// Makes the run an error, so that the program fails, unless the work was done as it should be.
void Expect(benchmark::State& state, bool done);

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
void AddBitRows();
void AddMessageRows();

}  // namespace Bench
