// Measures the library against hand-written floors and against what you would use instead. report.py, which
// scripts/bench calls, runs it as it should be run and makes a table of what it measured. By hand, it takes the options
// of Google Benchmark, as for a profiler:
//   --benchmark_filter='^memory read, 1 B/library'

#include <cstdio>
#include <exception>

#include <benchmark/benchmark.h>
#include <glog/logging.h>

#include "rows/Row.h"

namespace
{

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

int Run(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
    {
        return 2;
    }
    DroppingSink sink;
    PrepareLog(argv[0], &sink);
    AddAll();
    Bench::RegisterRows();
    // Google Benchmark itself takes a filter that fits nothing, and a run with an error, for a success.
    return benchmark::RunSpecifiedBenchmarks() != 0 && !Bench::HasFailed() ? 0 : 1;
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
