// The host's own log lines, beside the library's in the platform log.
#ifndef HOST_LOG_H_
#define HOST_LOG_H_

#include <string>

namespace host {

enum class Severity { Error, Info };

// As the platform log numbers it.
int vexoSeverityOf(Severity severity);

// Writes one line to the platform log, under the host's module number. Lines that may come in
// numbers have a kind: what they say, with "..." for what differs from one to the next.
void log(Severity severity, const std::string& text, const std::string& kind = {});

// The kind of the line that is being written, as a whole line; "" where it has none.
const std::string& kindOfCurrentLine();

// Whose lines they are from now on: those of a "worker" begin with "worker 4711: ", its pid. The
// front's have no name.
void nameLog(const std::string& process);

} // namespace host

#endif
