#include "Table.h"

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <string_view>

#include "Row.h"

namespace Bench
{
namespace
{

constexpr int kNameWidth = 34;
constexpr int kTimeWidth = 14;
constexpr int kRatioWidth = 8;

/// Where two values stand in the middle, the upper of them; 0 for no values.
double Median(std::vector<double> values)
{
    if (values.empty())
    {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::string Fixed(double value, const char* unit)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << value << unit;
    return text.str();
}

std::string FormatTime(double nanoseconds)
{
    if (nanoseconds == 0)
    {
        return "-";
    }
    return nanoseconds < 1e4 ? Fixed(nanoseconds, " ns") : Fixed(nanoseconds / 1e3, " us");
}

void PrintLine(std::ostream& stream,
               const std::string& name,
               const std::string& library,
               const std::string& floor,
               const std::string& ratio)
{
    stream << std::left << std::setw(kNameWidth) << name << std::right << std::setw(kTimeWidth) << library
           << std::setw(kTimeWidth) << floor << std::setw(kRatioWidth) << ratio << '\n';
}

}  // namespace

bool Table::ReportContext(const Context& /*context*/)
{
    return true;
}

void Table::ReportRuns(const std::vector<Run>& runs)
{
    for (const Run& run : runs)
    {
        const std::string& name = run.run_name.function_name;
        const std::size_t slash = name.rfind('/');
        Row& row = FindRow(name.substr(0, slash));
        if (run.error_occurred)
        {
            m_failures.push_back(name + ": " + run.error_message);
        }
        else if (run.run_type == Run::RT_Iteration)
        {
            const bool isLibrary = std::string_view(name).substr(slash) == kLibrarySuffix;
            const double nanoseconds =
                run.GetAdjustedRealTime() * 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
            (isLibrary ? row.library : row.floor).push_back(nanoseconds);
        }
    }
}

Table::Row& Table::FindRow(const std::string& name)
{
    const auto [place, isNew] = m_rows.try_emplace(name);
    if (isNew)
    {
        m_order.push_back(name);
    }
    return place->second;
}

bool Table::Print(std::ostream& stream) const
{
    PrintLine(stream, "row", "library", "floor", "ratio");
    for (const std::string& name : m_order)
    {
        const Row& row = m_rows.at(name);
        const double library = Median(row.library);
        const double floor = Median(row.floor);
        const bool isComplete = library != 0 && floor != 0;
        PrintLine(stream, name, FormatTime(library), FormatTime(floor), isComplete ? Fixed(library / floor, "") : "-");
    }
    for (const std::string& failure : m_failures)
    {
        stream << "FAILED: " << failure << '\n';
    }
    return m_failures.empty() && !m_order.empty();
}

}  // namespace Bench
