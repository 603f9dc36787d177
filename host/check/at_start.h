// The check that runs while the service starts.
#ifndef HOST_CHECK_AT_START_H_
#define HOST_CHECK_AT_START_H_

#include "options.h"

#include <sys/types.h>

namespace host::check {

// Forks a process that looks at mapping file and data cache, and logs what is wrong with them, a
// line each. To be called before there is any thread. Returns its id; -1 where there can be none.
pid_t startCheck(const Options& options);

// Waits until it has told all; at most as long as it gives itself.
void awaitCheck(pid_t check);

} // namespace host::check

#endif
