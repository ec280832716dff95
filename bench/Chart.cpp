#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "Report.h"
#include "rows/Row.h"

namespace Bench
{
namespace
{

constexpr double kLineHeight = 17;
constexpr double kTop = 64;
constexpr double kLeft = 250;
constexpr double kWidth = 640;

// The scale is logarithmic: each step doubles the time.
constexpr int kFirstStep = -5;
constexpr int kLastStep = 6;

constexpr char kMet[] = "#1a7f37";
constexpr char kMissed[] = "#cf222e";

const char* PeerColour(std::size_t peer)
{
    static constexpr const char* kColours[] = {
        "#0969da", "#bc4c00", "#8250df", "#bf8700", "#1b7c83", "#a40e63", "#6e7781", "#57340d"};
    return kColours[peer % std::size(kColours)];
}

double Place(double ratio)
{
    const double step = std::clamp<double>(std::log2(ratio), kFirstStep, kLastStep);
    return kLeft + kWidth * (step - kFirstStep) / (kLastStep - kFirstStep);
}

void DrawText(std::ostream& stream, double x, double y, const std::string& text, const std::string& more = {})
{
    stream << "<text x=\"" << x << "\" y=\"" << y << "\" " << more << '>' << text << "</text>\n";
}

void DrawLine(std::ostream& stream, double x, double top, double bottom, const std::string& style)
{
    stream << "<line x1=\"" << x << "\" x2=\"" << x << "\" y1=\"" << top << "\" y2=\"" << bottom << "\" " << style
           << "/>\n";
}

void DrawDot(std::ostream& stream, double x, double y, double radius, const std::string& colour)
{
    stream << "<circle cx=\"" << x << "\" cy=\"" << y << "\" r=\"" << radius << "\" fill=\"" << colour << "\"/>\n";
}

void DrawScale(std::ostream& stream, double bottom)
{
    for (int step = kFirstStep; step <= kLastStep; ++step)
    {
        const double x = Place(std::exp2(step));
        DrawLine(stream, x, kTop - 8, bottom, step == 0 ? R"(stroke="#57606a")" : R"(stroke="#eaeef2")");
        const std::string label = step < 0 ? "1/" + std::to_string(1 << -step) : std::to_string(1 << step);
        DrawText(stream, x, kTop - 12, label, R"(text-anchor="middle" fill="#57606a")");
    }
}

void DrawLegend(std::ostream& stream)
{
    constexpr double kStep = 76;
    double x = kLeft - 150;
    const auto add = [&](const std::string& text, const char* colour, double radius)
    {
        DrawDot(stream, x, 30, radius, colour);
        DrawText(stream, x + 8, 34, text);
        x += kStep;
    };
    add("library", kMet, 5);
    add("missed", kMissed, 5);
    DrawLine(stream, x, 24, 36, R"(stroke="black" stroke-width="2")");
    DrawText(stream, x + 8, 34, "target");
    x += kStep;
    for (std::size_t i = 0; i != Peers().size(); ++i)
    {
        add(Peers()[i], PeerColour(i), 3);
    }
}

void DrawRow(std::ostream& stream, const Results& results, const Row& row, double y)
{
    DrawText(stream, kLeft - 8, y + 4, row.name, R"(text-anchor="end")");
    for (std::size_t i = 0; i != Peers().size(); ++i)
    {
        if (const double ratio = results.Ratio(row.name, Peers()[i], kFloor); ratio != 0)
        {
            DrawDot(stream, Place(ratio), y, 3, PeerColour(i));
        }
    }
    const double ratio = results.Ratio(row.name, kLibrary, kFloor);
    DrawDot(stream, Place(ratio), y, 5, IsMissed(row, ratio) ? kMissed : kMet);
    DrawLine(stream, Place(row.target), y - 7, y + 7, R"(stroke="black" stroke-width="2")");
}

}  // namespace

void DrawChart(const Results& results, std::ostream& stream)
{
    std::vector<Row> rows;
    std::copy_if(Rows().begin(),
                 Rows().end(),
                 std::back_inserter(rows),
                 [&](const Row& row) { return results.Ratio(row.name, kLibrary, kFloor) != 0; });
    const double bottom = kTop + kLineHeight * static_cast<double>(rows.size());
    const double width = kLeft + kWidth + 20;
    const double height = bottom + 10;
    stream << R"(<svg xmlns="http://www.w3.org/2000/svg" font-family="sans-serif" font-size="11" width=")" << width
           << "\" height=\"" << height << "\" viewBox=\"0 0 " << width << ' ' << height << "\">\n"
           << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    DrawText(stream, 10, 16, "Time as a multiple of the hand-written floor's: further left is faster");
    DrawLegend(stream);
    DrawScale(stream, bottom);
    double y = kTop + kLineHeight / 2;
    for (const Row& row : rows)
    {
        DrawRow(stream, results, row, y);
        y += kLineHeight;
    }
    stream << "</svg>\n";
}

}  // namespace Bench
