// The measure of all benchmarks: processor time, which other processes of the machine do not add
// to.
#ifndef BENCH_STOPWATCH_H_
#define BENCH_STOPWATCH_H_

#include <ctime>

namespace bench {

// What the calling thread has used so far.
inline double threadSeconds()
{
    constexpr double kNanosecond = 1e-9;
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * kNanosecond;
}

} // namespace bench

#endif
