// Takes the place of the platform logger: vexoprintf() keeps every line for the test to look at,
// and vexoThreshold() is what the test has set. Compiled with LOG_CAPTURE_WITHOUT_THRESHOLD it is a
// logger that cannot say what it would drop.
//
// Threads: all operations may be called from any thread.
#ifndef TESTS_SUPPORT_LOG_CAPTURE_H_
#define TESTS_SUPPORT_LOG_CAPTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

namespace support {

struct LogLine
{
    int severity;
    int module;
    std::string text;

    // The library's level: one below the platform's severity.
    [[nodiscard]] int level() const { return severity - 1; }
    // The parts of "0012.345:[File.cpp.42 function] message".
    [[nodiscard]] std::string file() const;
    [[nodiscard]] std::string function() const;
    [[nodiscard]] std::string message() const;
};

class LogCapture
{
public:
    // Forgets all lines, keeps everything from now on.
    static void Reset();
    static void SetThreshold(int severity);
    static std::vector<LogLine> Lines();
    // Writes each further line as "<level>|<message>" to standard error too, where a death test
    // can see it.
    static void MirrorToStderr();
};

// Whether a line with exactly this message was written at this level; by this function where one is
// named. A failure shows the lines of that level.
::testing::AssertionResult logged(int level, const std::string& message);
::testing::AssertionResult loggedFrom(int level, const std::string& function,
                                      const std::string& message);
// The same where the level does not matter.
::testing::AssertionResult loggedAnywhere(const std::string& message);

// How many lines have this level and message, by this function.
int countLogged(int level, const std::string& function, const std::string& message);

// All messages of a level, in order.
std::vector<std::string> messagesAtLevel(int level);

} // namespace support

// Expects that the statements log "Assertion '<condition>' failed" at level 1 and abort the
// process.
#define EXPECT_ABORTS(condition, ...) EXPECT_ABORTS_AFTER(condition, "", __VA_ARGS__)

// The same, with another message at level 1 directly before.
#define EXPECT_ABORTS_AFTER(condition, before, ...)                                                \
    EXPECT_EXIT(                                                                                   \
        {                                                                                          \
            support::LogCapture::MirrorToStderr();                                                 \
            __VA_ARGS__;                                                                           \
        },                                                                                         \
        ::testing::KilledBySignal(SIGABRT),                                                        \
        ::testing::HasSubstr(support::abortLines(condition, before)))

namespace support {

// What EXPECT_ABORTS looks for.
std::string abortLines(const std::string& condition, const std::string& before);

} // namespace support

#endif
