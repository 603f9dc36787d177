// Takes the place of the platform logger: keeps nothing, but wants every line, so that all of them
// are formatted.
//
// It is also where a target catches assertions that its input may break by contract. The library
// logs an assertion's line before it aborts; for those named here the logger throws instead, and
// the request is unwound as by any exception: nothing leaks, and the fuzzer goes on. Every other
// abort stays a crash.
#ifndef TESTS_FUZZ_FUZZ_LOGGER_H_
#define TESTS_FUZZ_FUZZ_LOGGER_H_

#include <string>
#include <vector>

namespace fuzz {

// Not a std::exception: the library must not be able to catch it.
struct BrokenInvariant
{};

// The conditions, as the log shows them, whose assertions throw BrokenInvariant.
void throwOnAssertions(const std::vector<std::string>& conditions);

} // namespace fuzz

#endif
