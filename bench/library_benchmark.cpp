// Processor time of the library's cached reads and of their floors. Takes Google Benchmark's
// options; log lines go to standard error.
#include "bench_system.h"
#include "figures.h"
#include "stopwatch.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <vector>

namespace {

constexpr unsigned int kResourcePairs = 12; // as many as in the mapping of the sample system

struct Compared
{
    const char* figure;
    const char* floor;
};

constexpr std::array<Compared, 3> kCompared = {
    {{"instance", "instance_floor"}, {"request", "instance_floor"}, {"page", "page_floor"}}};

double secondsOf(bench::Figure& figure)
{
    figure.prepare();
    const double begin = bench::threadSeconds();
    figure.run();
    return bench::threadSeconds() - begin;
}

// Figure and floor take turns, so that both meet the same clock rate and each finds the processor's
// caches as the other left them. A floor that follows itself finds nothing in them but its own code
// and data, as no request of a service does.
void measure(benchmark::State& state, bench::Figure& figure, bench::Figure& floor)
{
    double floorSeconds = 0;
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores): the library's own idiom
        floorSeconds += secondsOf(floor);
        state.SetIterationTime(secondsOf(figure));
    }
    state.counters["floor_seconds"] =
        benchmark::Counter(floorSeconds, benchmark::Counter::kAvgIterations);
}

std::unique_ptr<bench::Figure> warmFigure(const char* name)
{
    std::unique_ptr<bench::Figure> figure = bench::makeFigure(name);
    figure->prepare();
    figure->run();
    bench::checkAnswer(name, *figure);
    return figure;
}

void run()
{
    const bench::TemporaryDirectory directory;
    bench::writeSystem(directory.path(), kResourcePairs);
    bench::openSystem(directory.path());
    std::vector<std::unique_ptr<bench::Figure>> figures;
    for (const Compared& compared : kCompared) {
        bench::Figure& floor = *figures.emplace_back(warmFigure(compared.floor));
        bench::Figure& figure = *figures.emplace_back(warmFigure(compared.figure));
        benchmark::RegisterBenchmark(compared.figure, [&figure, &floor](benchmark::State& state) {
            measure(state, figure, floor);
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
