// Processor time of the first request of a process, which loads a mapping of 500 resources, and of
// parsing that file. Takes Google Benchmark's options; log lines go to standard error.
#include "bench_system.h"
#include "figures.h"
#include "stopwatch.h"

#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

constexpr unsigned int kResourcePairs = 250;

// The child's part: one run, its time written to the pipe.
int measureOnce(const std::string& name, const std::string& directory, int pipe)
{
    try {
        bench::openSystem(directory);
        const std::unique_ptr<bench::Figure> figure = bench::makeFigure(name);
        figure->prepare();
        const double begin = bench::threadSeconds();
        figure->run();
        const double seconds = bench::threadSeconds() - begin;
        bench::checkAnswer(name, *figure);
        return write(pipe, &seconds, sizeof seconds) == sizeof seconds ? EXIT_SUCCESS
                                                                       : EXIT_FAILURE;
    } catch (const std::exception& error) {
        (void)std::printf("%s: %s\n", name.c_str(), error.what());
        return EXIT_FAILURE;
    }
}

// Runs the figure in a process that has loaded nothing yet; false when that fails.
bool measureInChild(const std::string& name, const std::string& directory, double& seconds)
{
    int ends[2];
    if (pipe(ends) != 0) {
        return false;
    }
    const pid_t child = fork();
    if (child == 0) {
        _exit(measureOnce(name, directory, ends[1]));
    }
    close(ends[1]);
    const bool isMeasured = child > 0 && read(ends[0], &seconds, sizeof seconds) == sizeof seconds;
    close(ends[0]);
    return child > 0 && waitpid(child, nullptr, 0) == child && isMeasured;
}

void measure(benchmark::State& state, const std::string& directory)
{
    double floorSeconds = 0;
    for (auto _ : state) { // NOLINT(clang-analyzer-deadcode.DeadStores): the library's own idiom
        double seconds = 0;
        double ofFloor = 0;
        if (!measureInChild("request", directory, seconds) ||
            !measureInChild("mapping_floor", directory, ofFloor)) {
            state.SkipWithError("the process that was to be measured failed");
            break;
        }
        state.SetIterationTime(seconds);
        floorSeconds += ofFloor;
    }
    state.counters["floor_seconds"] =
        benchmark::Counter(floorSeconds, benchmark::Counter::kAvgIterations);
}

void run()
{
    const bench::TemporaryDirectory directory;
    bench::writeSystem(directory.path(), kResourcePairs);
    benchmark::RegisterBenchmark("first_request", [&directory](benchmark::State& state) {
        measure(state, directory.path());
    })->UseManualTime();
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
