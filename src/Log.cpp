#include "Log.h"

#include <cstdlib>

// The controller's own logger need not have it.
extern "C" int vexoThreshold(void) __attribute__((weak));

namespace cimgate {

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
    (void)logMessage(LOG_ERROR, file, line, function, "Assertion '%s' failed", condition);
    std::abort();
}

} // namespace cimgate
