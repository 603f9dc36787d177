#include "tell.h"

#include <vexodlog.h>

namespace host {

void tell(const std::string& text, Severity severity)
{
    (void)vexoPutTextAs(vexoSeverityOf(severity), ("cimgated: " + text).c_str());
}

void tellLastWords(const std::string& text)
{
    constexpr int kRoomMs = 100;
    (void)vexoAwaitRoom(kRoomMs);
    tell(text);
}

} // namespace host
