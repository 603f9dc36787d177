#include "vexodlog.h"

#include "StandardError.h"

#include <sys/syslog.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <string>
#include <string_view>

namespace {

constexpr char kDefaultIdent[] = "cimgate";

struct Log
{
    std::atomic<int> threshold{VEXO_ERROR};
    std::atomic<int> target{VEXO_TARGET_STDERR};
    std::atomic<VexoFilter*> filter{nullptr};
    std::mutex syslogMutex; // syslog() reads ident while it writes a line
    std::array<char, 64>
        ident{}; // openlog() keeps the address, so it must live as long as the process
};

Log& theLog()
{
    static constinit Log log;
    return log;
}

// A line must stay one line: texts carry names and values that clients chose.
std::string lineText(const char* text)
{
    std::string line(text != nullptr ? text : "");
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return line;
}

// Lives until the process has ended: what ends last may still log.
StandardError& standardError()
{
    // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): it counts
    static StandardError* const kInstance = new StandardError;
    return *kInstance;
}

bool writeToStderr(int severity, int module, const char* text)
{
    return standardError().write(severity, std::to_string(module) + ' ' + std::to_string(severity) +
                                               ' ' + lineText(text) + '\n');
}

void writeToSyslog(int severity, int module, const char* text)
{
    static constexpr std::array<int, VEXO_DEBUG> kPriorities{LOG_CRIT, LOG_ERR, LOG_WARNING,
                                                             LOG_INFO, LOG_DEBUG};
    const std::string line = std::to_string(module) + ' ' + lineText(text);
    const int priority = kPriorities[static_cast<size_t>(severity - VEXO_CRITICAL)] | LOG_DAEMON;
    const std::lock_guard lock(theLog().syslogMutex);
    ::syslog(priority, "%s", line.c_str());
}

bool isFilteredOut(int severity, int module, const char* text)
{
    VexoFilter* const filter = theLog().filter.load(std::memory_order_relaxed);
    const int callerErrno = errno;
    const bool isDropped = filter != nullptr && filter(severity, module, text) == 0;
    errno = callerErrno;
    return isDropped;
}

bool writeLine(int severity, int module, const char* text)
{
    if (theLog().target.load(std::memory_order_relaxed) == VEXO_TARGET_SYSLOG) {
        writeToSyslog(severity, module, text);
        return true;
    }
    return writeToStderr(severity, module, text);
}

// 1 when it wrote, -1 when not, be it for want of memory. errno stays the caller's.
template <typename Write>
int guarded(Write write) noexcept
{
    const int callerErrno = errno;
    bool isWritten = false;
    try {
        isWritten = write();
    } catch (...) {
        isWritten = false;
    }
    errno = callerErrno;
    return isWritten ? 1 : -1;
}

} // namespace

int vexoprintf(int severity, int module, const char* text)
{
    const int clamped = std::clamp<int>(severity, VEXO_CRITICAL, VEXO_DEBUG);
    if (clamped > vexoThreshold() || isFilteredOut(clamped, module, text != nullptr ? text : "")) {
        return 0;
    }
    return guarded([&] { return writeLine(clamped, module, text); });
}

int vexoPutText(const char* text)
{
    return vexoPutTextAs(VEXO_ERROR, text);
}

int vexoPutTextAs(int severity, const char* text)
{
    const int clamped = std::clamp<int>(severity, VEXO_CRITICAL, VEXO_DEBUG);
    return guarded([&] { return standardError().write(clamped, lineText(text) + '\n'); });
}

int vexoAwaitRoom(int timeoutMs)
{
    return guarded([timeoutMs] { return StandardError::awaitRoom(timeoutMs); });
}

int vexoThreshold(void)
{
    return theLog().threshold.load(std::memory_order_relaxed);
}

void vexoSetThreshold(int severity)
{
    theLog().threshold.store(std::clamp<int>(severity, 0, VEXO_DEBUG), std::memory_order_relaxed);
}

void vexoSetFilter(VexoFilter* filter)
{
    theLog().filter.store(filter, std::memory_order_relaxed);
}

void vexoSetStamp(VexoStamp stamp)
{
    (void)guarded([stamp] {
        standardError().setStamp(stamp);
        return true;
    });
}

void vexoSetTarget(VexoTarget target, const char* ident)
{
    Log& log = theLog();
    const std::lock_guard lock(log.syslogMutex);
    if (target == VEXO_TARGET_SYSLOG) {
        const std::string_view name(ident != nullptr ? ident : kDefaultIdent);
        log.ident.fill('\0');
        name.copy(log.ident.data(), log.ident.size() - 1);
        ::openlog(log.ident.data(), 0, LOG_DAEMON);
    }
    log.target.store(target, std::memory_order_relaxed);
}
