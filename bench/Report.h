#pragma once

#include <ostream>

#include "Results.h"

namespace Bench
{

// The ways to show the results. Rows that did not run are left out; "-" stands for a contender that did not.

/// A table for the terminal: times, the library's ratio to the floor, its target, and the peers' times. A star marks
/// a missed target, and a peer that is ahead of the library.
void PrintTable(const Results& results, std::ostream& stream);

/// The same table in Markdown, with bold instead of the stars.
void PrintMarkdown(const Results& results, std::ostream& stream);

/// All times in JSON.
void PrintJson(const Results& results, std::ostream& stream);

/// A chart in SVG: all times as multiples of the floor's.
void DrawChart(const Results& results, std::ostream& stream);

}  // namespace Bench
