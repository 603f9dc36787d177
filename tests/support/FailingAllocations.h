// A program's operator new and aligned_alloc(), which its libraries share: they fail where the
// program says so.
#ifndef TESTS_FAILING_ALLOCATIONS_H_
#define TESTS_FAILING_ALLOCATIONS_H_

// Whether the allocation that is just asked for fails. Each program with these has its own.
bool allocationFails();

#endif
