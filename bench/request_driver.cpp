// Runs one figure under callgrind:  request_driver FIGURE RUNS
//
// Only what a figure measures is collected, when callgrind starts with --collect-atstart=no.
#include "bench_system.h"
#include "figures.h"

#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

constexpr unsigned int kResourcePairs = 12; // as many as in the mapping of the sample system

void drive(const char* name, unsigned long runs)
{
    const bench::TemporaryDirectory directory;
    bench::writeSystem(directory.path(), kResourcePairs);
    bench::openSystem(directory.path());
    const std::unique_ptr<bench::Figure> figure = bench::makeFigure(name);
    figure->prepare();
    figure->run(); // the first loads the mapping
    bench::checkAnswer(name, *figure);
    for (unsigned long i = 0; i < runs; ++i) {
        figure->prepare();
        CALLGRIND_TOGGLE_COLLECT;
        figure->run();
        CALLGRIND_TOGGLE_COLLECT;
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        (void)std::fprintf(stderr, "usage: %s FIGURE RUNS\n", argv[0]);
        return 2;
    }
    try {
        drive(argv[1], std::strtoul(argv[2], nullptr, 10));
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
