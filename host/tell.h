// What the service tells whoever started it: lines to standard error without module and severity.
#ifndef HOST_TELL_H_
#define HOST_TELL_H_

#include "log.h"

#include <string>

namespace host {

// Says something that no log level may hide.
void tell(const std::string& text, Severity severity = Severity::Error);

// Says why a process gives up. The line is given a moment where standard error has no room, since
// it cannot be told later.
void tellLastWords(const std::string& text);

} // namespace host

#endif
