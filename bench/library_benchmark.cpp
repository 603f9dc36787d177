// Processor time of the library's cached reads and of their floors. Takes Google Benchmark's
// options; log lines go to standard error.
#include "bench_system.h"
#include "figures.h"
#include "stopwatch.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

constexpr unsigned int kResourcePairs = 12; // as many as in the mapping of the sample system

void measure(benchmark::State& state, bench::Figure& figure)
{
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores): the library's own idiom
        figure.prepare();
        const double begin = bench::threadSeconds();
        figure.run();
        state.SetIterationTime(bench::threadSeconds() - begin);
    }
}

void run()
{
    const bench::TemporaryDirectory directory;
    bench::writeSystem(directory.path(), kResourcePairs);
    bench::openSystem(directory.path());
    std::vector<std::unique_ptr<bench::Figure>> figures;
    for (const char* name : {"instance", "request", "instance_floor", "page", "page_floor"}) {
        figures.push_back(bench::makeFigure(name));
        bench::Figure& figure = *figures.back();
        figure.prepare();
        figure.run();
        bench::checkAnswer(name, figure);
        benchmark::RegisterBenchmark(name, [&figure](benchmark::State& state) {
            measure(state, figure);
        })->UseManualTime();
    }
    benchmark::RunSpecifiedBenchmarks();
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    try {
        run();
    } catch (const std::exception& error) {
        (void)std::printf("%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
