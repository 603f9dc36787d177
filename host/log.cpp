#include "log.h"

#include <unistd.h>
#include <vexodlog.h>

namespace host {

namespace {

// Beside the library's 139.
constexpr int kModule = 140;

std::string& processName()
{
    static std::string name;
    return name;
}

std::string nameInFront()
{
    const std::string& name = processName();
    return name.empty() ? "" : name + ' ' + std::to_string(getpid()) + ": ";
}

} // namespace

int vexoSeverityOf(Severity severity)
{
    return severity == Severity::Error ? VEXO_ERROR : VEXO_TRACE;
}

void log(Severity severity, const std::string& text)
{
    (void)vexoprintf(vexoSeverityOf(severity), kModule,
                     ("cimgated: " + nameInFront() + text).c_str());
}

void nameLog(const std::string& process)
{
    processName() = process;
}

} // namespace host
