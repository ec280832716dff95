#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace Bench
{

/// Collects the runs and prints one line a row: medians of the library and of the floor, and their ratio, which says
/// more than the times where the machine is not quiet.
class Table : public benchmark::BenchmarkReporter
{
public:
    // BenchmarkReporter
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    /// Returns false when a contender failed or nothing was measured.
    bool Print(std::ostream& stream) const;

private:
    struct Row
    {
        std::vector<double> library;
        std::vector<double> floor;
    };

    Row& FindRow(const std::string& name);

    std::vector<std::string> m_order;  // the rows as they were added
    std::map<std::string, Row> m_rows;
    std::vector<std::string> m_failures;
};

}  // namespace Bench
