// The front: takes HTTP requests, decides what needs no worker, and hands the rest to the workers.
#ifndef HOST_FRONT_FRONT_H_
#define HOST_FRONT_FRONT_H_

#include "options.h"
#include "spawner/spawner.h"

#include <httpd/limits.h>

namespace host {

// Serves until SIGTERM or SIGINT; HTTP clients get what the limits allow. Returns the process's
// exit status.
int runFront(const Options& options, Spawner& spawner, httpd::Limits limits = {});

} // namespace host

#endif
