#include "Results.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

#include "rows/Row.h"

namespace Bench
{
namespace
{

/// 0 for no values.
double Median(std::vector<double> values)
{
    if (values.empty())
    {
        return 0;
    }
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

bool IsWallTimed(const std::string& row)
{
    return std::any_of(Rows().begin(),
                       Rows().end(),
                       [&row](const Row& other) { return other.name == row && other.clock == Clock::Wall; });
}

}  // namespace

bool Results::ReportContext(const Context& /*context*/)
{
    return true;
}

void Results::ReportRuns(const std::vector<Run>& runs)
{
    for (const Run& run : runs)
    {
        const std::string& name = run.run_name.function_name;
        if (run.error_occurred)
        {
            m_failures.push_back(name + ": " + run.error_message);
        }
        else if (run.run_type == Run::RT_Iteration)
        {
            const std::size_t slash = name.rfind('/');
            const std::string row = name.substr(0, slash);
            const double time = IsWallTimed(row) ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
            const double nanoseconds = time * 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
            Add(row, name.substr(slash + 1), std::to_string(::getpid()), nanoseconds);
        }
    }
}

void Results::Add(const std::string& row, const std::string& contender, const std::string& process, double nanoseconds)
{
    m_times[{row, contender}][process].push_back(nanoseconds);
}

void Results::Load(const std::string& path)
{
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
    {
        std::istringstream fields(line);
        std::string row;
        std::string contender;
        std::string process;
        double nanoseconds = 0;
        std::getline(fields, row, '|');
        std::getline(fields, contender, '|');
        std::getline(fields, process, '|');
        if (!(fields >> nanoseconds))
        {
            throw std::runtime_error("no time, in the file of times: " + line);
        }
        Add(row, contender, process, nanoseconds);
    }
}

void Results::Keep(const std::string& path) const
{
    std::ofstream file(path);
    file.precision(std::numeric_limits<double>::max_digits10);
    for (const auto& [name, times] : m_times)
    {
        for (const auto& [process, values] : times)
        {
            for (const double value : values)
            {
                file << name.first << '|' << name.second << '|' << process << '|' << value << '\n';
            }
        }
    }
    if (!file.flush())
    {
        throw std::runtime_error("cannot write " + path);
    }
}

const Results::Times* Results::Find(const std::string& row, const std::string& contender) const
{
    const auto place = m_times.find({row, contender});
    return place != m_times.end() ? &place->second : nullptr;
}

double Results::Time(const std::string& row, const std::string& contender) const
{
    std::vector<double> all;
    if (const Times* const times = Find(row, contender))
    {
        for (const auto& [process, values] : *times)
        {
            all.insert(all.end(), values.begin(), values.end());
        }
    }
    return Median(all);
}

double Results::Ratio(const std::string& row, const std::string& contender, const std::string& base) const
{
    const Times* const above = Find(row, contender);
    const Times* const below = Find(row, base);
    if (above == nullptr || below == nullptr)
    {
        return 0;
    }
    std::vector<double> ratios;
    for (const auto& [process, values] : *above)
    {
        const auto place = below->find(process);
        if (place != below->end())
        {
            ratios.push_back(Median(values) / Median(place->second));
        }
    }
    return Median(ratios);
}

}  // namespace Bench
