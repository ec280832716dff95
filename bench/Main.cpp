// Measures the library against hand-written floors and against what one would use instead. scripts/bench runs it as it
// should be run. --benchmark_filter chooses rows, and with a slash single contenders, as for a profiler:
//   --benchmark_filter='^memory read, 1 B/library'
// Beside the options of Google Benchmark it takes
//   --times=FILE       adds the times of this process to those in FILE, and reports on all of them
//   --report           reports on FILE without measuring
//   --quiet            prints no table
//   --json=FILE, --chart=FILE, --document=FILE    write all times, draw a chart, and refresh the table in a document

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>
#include <glog/logging.h>

#include "Report.h"
#include "Results.h"
#include "rows/Row.h"

namespace
{

using Bench::Results;

struct Options
{
    std::string times;
    std::string json;
    std::string chart;
    std::string document;
    bool reportOnly = false;
    bool quiet = false;
};

/// Takes our options out of the arguments and leaves Google Benchmark's.
Options TakeOptions(int& argc, char** argv)
{
    Options options;
    const std::pair<std::string, std::string*> texts[] = {{"--times=", &options.times},
                                                          {"--json=", &options.json},
                                                          {"--chart=", &options.chart},
                                                          {"--document=", &options.document}};
    const std::pair<std::string, bool*> flags[] = {{"--report", &options.reportOnly}, {"--quiet", &options.quiet}};
    const auto take = [&](const std::string& argument)
    {
        for (const auto& [name, text] : texts)
        {
            if (argument.rfind(name, 0) == 0)
            {
                *text = argument.substr(name.size());
                return true;
            }
        }
        const auto* const flag = std::find_if(
            std::begin(flags), std::end(flags), [&](const auto& entry) { return argument == entry.first; });
        if (flag == std::end(flags))
        {
            return false;
        }
        *flag->second = true;
        return true;
    };
    argc = static_cast<int>(std::remove_if(argv + 1, argv + argc, take) - argv);
    argv[argc] = nullptr;
    return options;
}

/// Takes all lines and drops them.
class DroppingSink : public google::LogSink
{
public:
    void send(google::LogSeverity /*severity*/,
              const char* /*path*/,
              const char* /*file*/,
              int /*line*/,
              const google::LogMessageTime& /*time*/,
              const char* /*message*/,
              std::size_t /*length*/) override
    {
    }
};

/// Has the log's lines built and dropped, and off until a row switches them on.
void PrepareLog(const char* program, google::LogSink* sink)
{
    google::InitGoogleLogging(program);
    for (int severity = google::GLOG_INFO; severity != google::NUM_SEVERITIES; ++severity)
    {
        google::SetLogDestination(severity, "");
    }
    FLAGS_stderrthreshold = google::GLOG_FATAL;
    FLAGS_minloglevel = google::GLOG_FATAL;
    google::AddLogSink(sink);
}

void AddAll()
{
    Bench::AddStreamRows();
    Bench::AddFileRows();
    Bench::AddBitRows();
    Bench::AddHelperRows();
    Bench::AddPipeRows();
    Bench::AddChannelRows();
    Bench::AddPeers();
}

/// Row after row, so that the contenders of a row run close to one another, mixed at random if the options ask for it.
void Measure(Results& results)
{
    const std::string text = benchmark::GetBenchmarkFilter();
    if (text.find('/') != std::string::npos)
    {
        benchmark::RunSpecifiedBenchmarks(&results, nullptr, text);
        return;
    }
    const std::regex filter(text);
    for (const Bench::Row& row : Bench::Rows())
    {
        if (std::regex_search(row.name, filter))
        {
            benchmark::RunSpecifiedBenchmarks(&results, nullptr, '^' + Bench::RunName(row.name, ""));
        }
    }
}

template <class Print>
void WriteFile(const std::string& path, Print print)
{
    if (path.empty())
    {
        return;
    }
    std::ofstream file(path);
    print(file);
    if (!file.flush())
    {
        throw std::runtime_error("cannot write " + path);
    }
}

/// Replaces what stands between the two marks in a Markdown document.
std::string RefreshTable(const std::string& path, const Results& results)
{
    static constexpr char kBegin[] = "<!-- table: begin -->\n";
    static constexpr char kEnd[] = "<!-- table: end -->\n";
    std::ifstream file(path);
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const std::size_t begin = text.find(kBegin);
    const std::size_t end = text.find(kEnd);
    if (begin == std::string::npos || end == std::string::npos)
    {
        throw std::runtime_error(path + " has no place for the table");
    }
    std::ostringstream table;
    Bench::PrintMarkdown(results, table);
    const std::size_t start = begin + sizeof(kBegin) - 1;
    return text.replace(start, end - start, '\n' + table.str() + '\n');
}

void Report(const Results& results, const Options& options)
{
    WriteFile(options.json, [&](std::ostream& file) { Bench::PrintJson(results, file); });
    WriteFile(options.chart, [&](std::ostream& file) { Bench::DrawChart(results, file); });
    if (!options.document.empty())
    {
        const std::string text = RefreshTable(options.document, results);
        WriteFile(options.document, [&](std::ostream& file) { file << text; });
    }
    if (!options.quiet)
    {
        Bench::PrintTable(results, std::cout);
    }
    for (const std::string& failure : results.Failures())
    {
        std::cout << "FAILED: " << failure << '\n';
    }
}

int Run(int argc, char** argv)
{
    const Options options = TakeOptions(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
    {
        return 2;
    }
    DroppingSink sink;
    PrepareLog(argv[0], &sink);
    AddAll();

    Results results;
    if (!options.times.empty())
    {
        results.Load(options.times);
    }
    if (!options.reportOnly)
    {
        Measure(results);
    }
    if (!options.times.empty())
    {
        results.Keep(options.times);
    }
    Report(results, options);
    return results.Failures().empty() && !results.IsEmpty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    try
    {
        return Run(argc, argv);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "kitio_bench: %s\n", error.what());
        return 1;
    }
}
