// How the library's own code logs: lines that the platform logger will drop are not even formatted.
#ifndef LOG_H_
#define LOG_H_

#include "LogMessage.h"

namespace cimgate {

// Levels of logMessage().
enum LogLevel : int { LOG_SEND_FAILURE = 0, LOG_ERROR = 1, LOG_STEP = 3, LOG_FACT = 4 };

// Whether a line of this level would be kept by the platform logger; true where it cannot say.
bool isLogged(int level);

// The name that lines of a function carry: its own, unless LOG_SCOPE_AS gives it another, by a
// local object that stands before this function.
inline const char* logName(const char* function)
{
    return function;
}

#define LOG_AT(level, ...)                                                                         \
    static_cast<void>(cimgate::isLogged(level) &&                                                  \
                      logMessage(level, __FILE__, __LINE__, logName(__func__), __VA_ARGS__) != 0)

// Logs "Entering" now and "Leaving" when the enclosing block ends, on every way out of it.
class LogScope
{
public:
    LogScope(const char* file, int line, const char* function);
    ~LogScope();
    LogScope(const LogScope&) = delete;
    LogScope& operator=(const LogScope&) = delete;

    const char* operator()(const char* /*function*/) const { return mFunction; }

private:
    const char* mFile;
    int mLine;
    const char* mFunction;
};

#define LOG_SCOPE() LOG_SCOPE_AS(__func__)

// The same under the name of the public operation whose work is done here; all lines of the block
// carry it.
#define LOG_SCOPE_AS(name) const cimgate::LogScope logName(__FILE__, __LINE__, name)

// Gives the lines of a block the name of a public operation that logs no "Entering" and "Leaving".
#define LOG_NAME(name)                                                                             \
    const auto logName = [](const char* /*function*/) {                                            \
        return name;                                                                               \
    }

// Logs the condition of a broken invariant and aborts.
[[noreturn]] void assertionFailed(const char* file, int line, const char* function,
                                  const char* condition);

// Checks an invariant in every build; text is what the log shows of it.
#define RM_ASSERT_TEXT(condition, text)                                                            \
    ((condition) ? static_cast<void>(0)                                                            \
                 : cimgate::assertionFailed(__FILE__, __LINE__, logName(__func__), text))
#define RM_ASSERT(condition) RM_ASSERT_TEXT(condition, #condition)

} // namespace cimgate

#endif
