// The whole service: the spawner, and the front beside it.
#ifndef HOST_SERVICE_H_
#define HOST_SERVICE_H_

#include "options.h"

#include <httpd/limits.h>

namespace host {

// Serves until SIGTERM, SIGINT or SIGHUP; HTTP clients get what the limits allow. To be called
// before there is any thread. What stops it from serving is told on standard error. Returns the
// process's exit status.
int runService(const Options& options, const httpd::Limits& limits = {});

} // namespace host

#endif
