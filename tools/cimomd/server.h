// The object manager behind its HTTP server.
#ifndef CIMOMD_SERVER_H_
#define CIMOMD_SERVER_H_

#include "object_manager.h"
#include "options.h"

#include <string>

namespace cimomd {

// Serves until SIGTERM or SIGINT; says on standard output when it is ready. Returns false with the
// cause in problem when it cannot listen.
bool serve(ObjectManager& manager, const Options& options, std::string& problem);

} // namespace cimomd

#endif
