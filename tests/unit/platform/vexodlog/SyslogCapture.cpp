#include "SyslogCapture.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {

const char*& currentIdent()
{
    static const char* ident = "";
    return ident;
}

std::vector<SyslogLine>& keptLines()
{
    static std::vector<SyslogLine> lines;
    return lines;
}

__attribute__((format(printf, 2, 0))) void keepLine(int priority, const char* format, va_list args)
{
    char text[1024] = "";
    (void)std::vsnprintf(text, sizeof text, format, args);
    keptLines().push_back({currentIdent(), priority, text});
}

} // namespace

std::vector<SyslogLine> takeSyslogLines()
{
    return std::exchange(keptLines(), {});
}

// <syslog.h> is left out: with _FORTIFY_SOURCE it defines syslog() inline, as a call of
// __syslog_chk().
extern "C" {
#pragma GCC visibility push(default)
void openlog(const char* ident, int option, int facility);
__attribute__((format(printf, 2, 3))) void syslog(int priority, const char* format, ...);
// NOLINTNEXTLINE(bugprone-reserved-identifier): the C library's name
__attribute__((format(printf, 3, 4))) void __syslog_chk(int priority, int flag, const char* format,
                                                        ...);
#pragma GCC visibility pop
}

void openlog(const char* ident, int /*option*/, int /*facility*/)
{
    currentIdent() = ident;
}

void syslog(int priority, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    keepLine(priority, format, args);
    va_end(args);
}

void __syslog_chk(int priority, int /*flag*/, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    keepLine(priority, format, args);
    va_end(args);
}
