#include "LogMessage.h"

#include "Log.h"

#include <sys/time.h>
#include <vexodlog.h>

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kModule = 139;
constexpr int kLastLevel = cimgate::LOG_FACT;

// Time of the process's first line; zero until then. Relaxed: a race between the first two lines
// only shifts the time base by what lies between them.
std::atomic<uint64_t> startUs{0}; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

uint64_t nowUs()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    return static_cast<uint64_t>(now.tv_sec) * 1000000U + static_cast<uint64_t>(now.tv_usec);
}

uint64_t elapsedUs()
{
    const uint64_t now = nowUs();
    uint64_t start = 0;
    if (startUs.compare_exchange_strong(start, now, std::memory_order_relaxed)) {
        return 0;
    }
    return now - start;
}

const char* lastPathComponent(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}

} // namespace

int logMessage(int level, const char* file, int line, const char* function, const char* format, ...)
{
    const unsigned long long elapsed = elapsedUs();
    if (level < 0 || level > kLastLevel || !cimgate::isLogged(level)) {
        return 0;
    }
    char stamp[20];
    (void)std::snprintf(stamp, sizeof stamp, "%04llu.%03llu", elapsed / 1000000,
                        (elapsed / 1000) % 1000);
    char message[160];
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyzer loses track of va_start
    (void)std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    char prefix[80];
    (void)std::snprintf(prefix, sizeof prefix, "[%s.%d %s] ", lastPathComponent(file), line,
                        function);
    char text[240];
    if (std::snprintf(text, sizeof text, "%s:%s%s", stamp, prefix, message) > 0) {
        (void)vexoprintf(level + 1, kModule, text);
    }
    return 0;
}
