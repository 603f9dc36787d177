// The front: takes HTTP requests, decides what needs no worker, and hands the rest to the workers.
#ifndef HOST_FRONT_H_
#define HOST_FRONT_H_

#include "options.h"
#include "spawner.h"

namespace host {

// Serves until SIGTERM or SIGINT. Returns the process's exit status.
int runFront(const Options& options, const Spawner& spawner);

} // namespace host

#endif
