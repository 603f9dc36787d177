// Counts what a thread takes of the memory: the test program's operator new, which its libraries
// share.
#ifndef TESTS_COUNTED_MEMORY_H_
#define TESTS_COUNTED_MEMORY_H_

#include <cstddef>

// Counts what this thread takes from here on.
class CountedMemory
{
public:
    CountedMemory();
    ~CountedMemory() = default;
    CountedMemory(const CountedMemory&) = delete;
    CountedMemory& operator=(const CountedMemory&) = delete;

    // The most that it had at once.
    static std::size_t peakBytes();
};

#endif
