// Measures the library against hand-written floors and against other libraries. scripts/bench calls report.py, which
// runs this program with the right options and makes a table of the results. Run by hand, for example under a profiler,
// it takes the options of Google Benchmark:
//   --benchmark_filter='^memory read, 1 B/library'

#include <cstdio>
#include <exception>

#include <benchmark/benchmark.h>
#include <glog/logging.h>

#include "rows/Row.h"

namespace
{

/// Drops all lines.
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

/// Makes log lines be built and dropped. They are off until a row switches them on.
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
    // Google Benchmark reports success even if the filter matches nothing or a run has an error.
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
