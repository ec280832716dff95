#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace Bench
{

/// The times of all runs, of this process and of those whose times were kept in a file. Memory and code lie at other
/// places in each process, which moves the shortest times, so one process alone does not tell the truth.
class Results : public benchmark::BenchmarkReporter
{
public:
    /// The nanoseconds of a contender's runs, one list a process.
    using Times = std::map<std::string, std::vector<double>>;

    // BenchmarkReporter
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    /// Adds the times that Keep wrote into a file; nothing if there is no such file.
    void Load(const std::string& path);

    /// Writes all times into a file. Throws when that fails.
    void Keep(const std::string& path) const;

    /// Null when the contender did not run.
    const Times* Find(const std::string& row, const std::string& contender) const;

    /// The median of a contender's times in nanoseconds; 0 when it did not run.
    double Time(const std::string& row, const std::string& contender) const;

    /// How many times as long as `base` the contender takes: the median of the processes, each with its medians. 0 when
    /// one of the two did not run.
    double Ratio(const std::string& row, const std::string& contender, const std::string& base) const;

    /// What went wrong, a line for each contender that failed.
    const std::vector<std::string>& Failures() const { return m_failures; }

    bool IsEmpty() const { return m_times.empty(); }

private:
    void Add(const std::string& row, const std::string& contender, const std::string& process, double nanoseconds);

    std::map<std::pair<std::string, std::string>, Times> m_times;
    std::vector<std::string> m_failures;
};

}  // namespace Bench
