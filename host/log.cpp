#include "log.h"

#include <vexodlog.h>

namespace host {

namespace {

// Beside the library's 139.
constexpr int kModule = 140;

} // namespace

void log(Severity severity, const std::string& text)
{
    const int vexoSeverity = severity == Severity::Error ? VEXO_ERROR : VEXO_TRACE;
    (void)vexoprintf(vexoSeverity, kModule, ("cimgated: " + text).c_str());
}

} // namespace host
