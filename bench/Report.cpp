#include "Report.h"

#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "rows/Row.h"

namespace Bench
{
namespace
{

constexpr int kNameWidth = 38;
constexpr int kCellWidth = 10;

/// A peer is ahead of the library when it takes less than this share of its time; the rest is noise.
constexpr double kAhead = 0.97;

std::string Fixed(double value, int digits)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << value;
    return text.str();
}

/// Three digits that count, and a unit.
std::string FormatTime(double nanoseconds)
{
    if (nanoseconds == 0)
    {
        return "-";
    }
    const char* const units[] = {" ns", " us", " ms"};
    std::size_t unit = 0;
    for (; nanoseconds >= 999.5 && unit < 2; ++unit)
    {
        nanoseconds /= 1000;
    }
    const int digits = nanoseconds < 9.995 ? 2 : nanoseconds < 99.95 ? 1 : 0;
    return Fixed(nanoseconds, digits) + units[unit];
}

std::string FormatRatio(double ratio)
{
    return ratio == 0 ? "-" : Fixed(ratio, 2);
}

/// The cells of a row. What deserves attention goes through `mark`.
template <class Mark>
std::vector<std::string> Cells(const Results& results, const Row& row, Mark mark)
{
    const double ratio = results.Ratio(row.name, kLibrary, kFloor);
    const std::string ratioText = FormatRatio(ratio);
    std::vector<std::string> cells{row.name,
                                   FormatTime(results.Time(row.name, kLibrary)),
                                   FormatTime(results.Time(row.name, kFloor)),
                                   IsMissed(row, ratio) ? mark(ratioText) : ratioText,
                                   Fixed(row.target, 2)};
    for (const std::string& peer : Peers())
    {
        const double againstUs = results.Ratio(row.name, peer, kLibrary);
        const std::string text = FormatTime(results.Time(row.name, peer));
        cells.push_back(againstUs != 0 && againstUs < kAhead ? mark(text) : text);
    }
    return cells;
}

std::vector<std::string> Headline()
{
    std::vector<std::string> cells{"row", "library", "floor", "ratio", "target"};
    cells.insert(cells.end(), Peers().begin(), Peers().end());
    return cells;
}

void PrintLine(std::ostream& stream, const std::vector<std::string>& cells)
{
    stream << std::left << std::setw(kNameWidth) << cells.front() << std::right;
    for (std::size_t i = 1; i != cells.size(); ++i)
    {
        stream << std::setw(kCellWidth) << cells[i];
    }
    stream << '\n';
}

void PrintMarkdownLine(std::ostream& stream, const std::vector<std::string>& cells)
{
    for (const std::string& cell : cells)
    {
        stream << "| " << cell << ' ';
    }
    stream << "|\n";
}

/// Calls `print(row)` for the rows that ran.
template <class Print>
void ForEachRow(const Results& results, Print print)
{
    for (const Row& row : Rows())
    {
        if (results.Find(row.name, kLibrary) != nullptr || results.Find(row.name, kFloor) != nullptr)
        {
            print(row);
        }
    }
}

void PrintJsonTimes(std::ostream& stream, const std::string& contender, const Results::Times& times)
{
    stream << "\n      \"" << contender << "\": [";
    const char* before = "";
    for (const auto& [process, values] : times)
    {
        stream << before << '[';
        for (std::size_t i = 0; i != values.size(); ++i)
        {
            stream << (i == 0 ? "" : ", ") << values[i];
        }
        stream << ']';
        before = ", ";
    }
    stream << ']';
}

}  // namespace

void PrintTable(const Results& results, std::ostream& stream)
{
    PrintLine(stream, Headline());
    ForEachRow(results,
               [&](const Row& row)
               { PrintLine(stream, Cells(results, row, [](const std::string& text) { return '*' + text; })); });
    stream << "\n* misses its target, or is ahead of the library by more than 3 %\n";
}

void PrintMarkdown(const Results& results, std::ostream& stream)
{
    const std::vector<std::string> headline = Headline();
    PrintMarkdownLine(stream, headline);
    PrintMarkdownLine(stream, std::vector<std::string>(headline.size(), "---"));
    ForEachRow(results,
               [&](const Row& row) {
                   PrintMarkdownLine(stream,
                                     Cells(results, row, [](const std::string& text) { return "**" + text + "**"; }));
               });
}

void PrintJson(const Results& results, std::ostream& stream)
{
    stream << "{\n  \"unit\": \"nanoseconds, one list a process\",\n  \"rows\": [";
    const char* separator = "\n";
    ForEachRow(results,
               [&](const Row& row)
               {
                   stream << separator << R"(    {"name": ")" << row.name << R"(", "clock": ")"
                          << (row.clock == Clock::Wall ? "wall" : "processor") << R"(", "target": )" << row.target
                          << ", \"ratio\": " << results.Ratio(row.name, kLibrary, kFloor) << ", \"times\": {";
                   const char* before = "";
                   for (const std::string& contender : Contenders())
                   {
                       if (const Results::Times* const times = results.Find(row.name, contender))
                       {
                           stream << before;
                           PrintJsonTimes(stream, contender, *times);
                           before = ",";
                       }
                   }
                   stream << "}}";
                   separator = ",\n";
               });
    stream << "\n  ]\n}\n";
}

}  // namespace Bench
