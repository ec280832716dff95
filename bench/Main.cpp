// Measures the library against hand-written floors and prints one table. scripts/bench runs it as it should be run.

#include <iostream>

#include <benchmark/benchmark.h>
#include <glog/logging.h>

#include "Row.h"
#include "Table.h"

int main(int argc, char** argv)
{
    // What the pipes log would take most of their time.
    FLAGS_minloglevel = google::GLOG_FATAL;

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
    {
        return 2;
    }
    Bench::AddStreamRows();
    Bench::AddBitRows();
    Bench::AddMessageRows();

    Bench::Table table;
    benchmark::RunSpecifiedBenchmarks(&table);
    return table.Print(std::cout) ? 0 : 1;
}
