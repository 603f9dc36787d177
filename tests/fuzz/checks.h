// What a fuzz target expects of the code under test besides not crashing.
#ifndef TESTS_FUZZ_CHECKS_H_
#define TESTS_FUZZ_CHECKS_H_

#include <string_view>

namespace fuzz {

// Ends the process, which the fuzzer and the replay both report.
[[noreturn]] void fail(const char* expectation);

// Fails where the condition is false. Seen by all: an analyzer knows what holds behind it.
inline void require(bool condition, const char* expectation)
{
    if (!condition) {
        fail(expectation);
    }
}

// Ends the process where text is not one JSON object.
void requireJsonObject(std::string_view text);

} // namespace fuzz

#endif
