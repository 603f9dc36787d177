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

std::string& currentKind()
{
    static std::string kind;
    return kind;
}

std::string nameInFront(const std::string& process)
{
    const std::string& name = processName();
    return "cimgated: " + (name.empty() ? "" : name + ' ' + process + ": ");
}

} // namespace

int vexoSeverityOf(Severity severity)
{
    return severity == Severity::Error ? VEXO_ERROR : VEXO_TRACE;
}

void log(Severity severity, const std::string& text, const std::string& kind)
{
    currentKind() = kind.empty() ? "" : nameInFront("...") + kind;
    (void)vexoprintf(vexoSeverityOf(severity), kModule,
                     (nameInFront(std::to_string(getpid())) + text).c_str());
    currentKind().clear();
}

const std::string& kindOfCurrentLine()
{
    return currentKind();
}

void nameLog(const std::string& process)
{
    processName() = process;
}

} // namespace host
