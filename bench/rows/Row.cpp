#include "rows/Row.h"

#include <algorithm>
#include <random>
#include <stdexcept>
#include <utility>

#include <boost/algorithm/string/join.hpp>

namespace Bench
{
namespace
{

struct RowWithContenders
{
    Row row;
    std::vector<std::pair<std::string, Contender>> contenders;
};

std::vector<RowWithContenders>& Rows()
{
    static std::vector<RowWithContenders> rows;
    return rows;
}

std::vector<std::string>& Contenders()
{
    static std::vector<std::string> names{"library", "floor"};
    return names;
}

bool g_hasFailed = false;

void Register(const Row& row, const std::string& name, const Contender& run)
{
    auto* const added = benchmark::RegisterBenchmark((row.name + '/' + name).c_str(),
                                                     [=](benchmark::State& state)
                                                     {
                                                         run(state);
                                                         state.counters["target"] = row.target;
                                                     });
    if (row.clock == Clock::Wall)
    {
        added->UseRealTime();
    }
}

}  // namespace

void AddRow(const Row& row, Contender library, Contender floor)
{
    Rows().push_back({row, {{Contenders()[0], std::move(library)}, {Contenders()[1], std::move(floor)}}});
}

void AddPeer(const std::string& row, const std::string& peer, Contender contender)
{
    const auto place = std::find_if(
        Rows().begin(), Rows().end(), [&row](const RowWithContenders& other) { return other.row.name == row; });
    if (place == Rows().end())
    {
        throw std::logic_error("there is no row '" + row + "'");
    }
    place->contenders.emplace_back(peer, std::move(contender));
    if (std::find(Contenders().begin(), Contenders().end(), peer) == Contenders().end())
    {
        Contenders().push_back(peer);
    }
}

void RegisterRows()
{
    for (const auto& [row, contenders] : Rows())
    {
        for (const auto& [name, run] : contenders)
        {
            Register(row, name, run);
        }
    }
    benchmark::AddCustomContext("contenders", boost::algorithm::join(Contenders(), ","));
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
    static const std::vector<uint8_t> kBytes = []
    {
        std::vector<uint8_t> made(kSampleSize);
        std::minstd_rand random;
        std::generate(made.begin(), made.end(), [&random] { return static_cast<uint8_t>(random() >> 8U); });
        return made;
    }();
    return kBytes.data();
}

void Expect(benchmark::State& state, bool done)
{
    if (!done)
    {
        g_hasFailed = true;
        state.SkipWithError("did not do its work");
    }
}

bool HasFailed()
{
    return g_hasFailed;
}

void ExpectMoved(benchmark::State& state, ioSize moved, ioSize size)
{
    Expect(state, moved == size * static_cast<ioSize>(state.iterations()));
}

}  // namespace Bench
