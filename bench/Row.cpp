#include "Row.h"

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

namespace Bench
{

void AddRow(const std::string& name, Contender library, Contender floor)
{
    benchmark::RegisterBenchmark((name + kLibrarySuffix).c_str(), std::move(library))->UseRealTime();
    benchmark::RegisterBenchmark((name + kFloorSuffix).c_str(), std::move(floor))->UseRealTime();
}

std::string NameWithSize(const std::string& name, ioSize size)
{
    if (size >= kMiB)
    {
        return name + ", " + std::to_string(size / kMiB) + " MiB";
    }
    return size >= kKiB ? name + ", " + std::to_string(size / kKiB) + " KiB"
                        : name + ", " + std::to_string(size) + " B";
}

const uint8_t* SampleBytes()
{
    static const std::vector<uint8_t> bytes = []
    {
        std::vector<uint8_t> made(kSampleSize);
        std::minstd_rand random;
        std::generate(made.begin(), made.end(), [&random] { return static_cast<uint8_t>(random() >> 8U); });
        return made;
    }();
    return bytes.data();
}

void Expect(benchmark::State& state, bool done)
{
    if (!done)
    {
        state.SkipWithError("did not do its work");
    }
}

void ExpectMoved(benchmark::State& state, ioSize moved, ioSize size)
{
    Expect(state, moved == size * static_cast<ioSize>(state.iterations()));
}

}  // namespace Bench
