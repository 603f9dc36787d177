// The check that runs while the service starts.
#ifndef HOST_CHECK_AT_START_H_
#define HOST_CHECK_AT_START_H_

#include <json/json.h>

#include <string>

namespace host::check {

// Runs it in a process that the spawner has just forked: looks at the mapping that is loaded, at
// the service file where it has a path, and at the data cache, and logs what is wrong with them, a
// line each. Where that takes longer than kCheckHeadStart (host_limits.h) it says so with a byte to
// this descriptor, and goes on behind those who answer requests.
[[noreturn]] void runAtStart(int takesLonger, const std::string& servicePath,
                             const Json::Value& serviceFile);

// Waits until the check is over, which closes the other end of the descriptor, or says that it
// takes longer; at most for kMaxCheckWait.
void awaitCheck(int checked);

} // namespace host::check

#endif
