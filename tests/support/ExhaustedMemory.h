// Provokes std::bad_alloc: the test program's operator new and aligned_alloc(), which its libraries
// share, fail from the n-th allocation of this thread on for as long as an object of this class
// lives.
#ifndef TESTS_EXHAUSTED_MEMORY_H_
#define TESTS_EXHAUSTED_MEMORY_H_

class ExhaustedMemory
{
public:
    // The first allowed allocations still succeed.
    explicit ExhaustedMemory(int allowed);
    ~ExhaustedMemory();
    ExhaustedMemory(const ExhaustedMemory&) = delete;
    ExhaustedMemory& operator=(const ExhaustedMemory&) = delete;

    // Whether an allocation has failed since construction.
    static bool hasFailed();
};

#endif
