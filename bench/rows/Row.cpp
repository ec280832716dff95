#include "rows/Row.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>
#include <utility>

namespace Bench
{
namespace
{

std::vector<Row>& MutableRows()
{
    static std::vector<Row> rows;
    return rows;
}

void AddContender(const Row& row, const std::string& contender, Contender run)
{
    auto* const added = benchmark::RegisterBenchmark(RunName(row.name, contender).c_str(), std::move(run));
    if (row.clock == Clock::Wall)
    {
        added->UseRealTime();
    }
}

}  // namespace

bool IsMissed(const Row& row, double ratio)
{
    return std::round(ratio * 100) > std::round(row.target * 100);
}

const std::vector<std::string>& Contenders()
{
    static const std::vector<std::string> kContenders = []
    {
        std::vector<std::string> all{kLibrary, kFloor};
        all.insert(all.end(), Peers().begin(), Peers().end());
        return all;
    }();
    return kContenders;
}

const std::vector<std::string>& Peers()
{
    static const std::vector<std::string> kNames{"std", "Boost", "Poco", "Qt", "kj", "ZeroMQ", "nanomsg", "socket"};
    return kNames;
}

void AddRow(const Row& row, Contender library, Contender floor)
{
    MutableRows().push_back(row);
    AddContender(row, kLibrary, std::move(library));
    AddContender(row, kFloor, std::move(floor));
}

void AddPeer(const std::string& row, const std::string& peer, Contender contender)
{
    const auto place =
        std::find_if(Rows().begin(), Rows().end(), [&row](const Row& other) { return other.name == row; });
    if (place == Rows().end())
    {
        throw std::logic_error("there is no row '" + row + "'");
    }
    AddContender(*place, peer, std::move(contender));
}

const std::vector<Row>& Rows()
{
    return MutableRows();
}

std::string RunName(const std::string& row, const std::string& contender)
{
    return row + '/' + contender;
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
        state.SkipWithError("did not do its work");
    }
}

void ExpectMoved(benchmark::State& state, ioSize moved, ioSize size)
{
    Expect(state, moved == size * static_cast<ioSize>(state.iterations()));
}

}  // namespace Bench
