#include "Log.h"

#include <cstdlib>

// The controller's own logger need not have these.
extern "C" int vexoThreshold(void) __attribute__((weak));
extern "C" int vexoAwaitRoom(int timeoutMs) __attribute__((weak));

namespace cimgate {

namespace {

// Why the process ends is worth a moment where the log is full.
void awaitRoomForLastWords()
{
    constexpr int kLastWordsMs = 100;
    if (vexoAwaitRoom != nullptr) {
        (void)vexoAwaitRoom(kLastWordsMs);
    }
}

} // namespace

bool isLogged(int level)
{
    return vexoThreshold == nullptr || level + 1 <= vexoThreshold();
}

LogScope::LogScope(const char* file, int line, const char* function)
    : mFile(file), mLine(line), mFunction(function)
{
    if (isLogged(LOG_STEP)) {
        (void)logMessage(LOG_STEP, mFile, mLine, mFunction, "Entering");
    }
}

LogScope::~LogScope()
{
    if (isLogged(LOG_STEP)) {
        (void)logMessage(LOG_STEP, mFile, mLine, mFunction, "Leaving");
    }
}

void assertionFailed(const char* file, int line, const char* function, const char* condition)
{
    awaitRoomForLastWords();
    (void)logMessage(LOG_ERROR, file, line, function, "Assertion '%s' failed", condition);
    std::abort();
}

} // namespace cimgate
