// The process that asks the object manager and writes the file, one class at a time, by order. The
// client library, the object manager's answers and the file are its alone: what goes wrong there,
// or takes too long, costs this process, and the file is whole all the same.
#ifndef FILLER_REFRESHER_H_
#define FILLER_REFRESHER_H_

#include "plan.h"

#include <service/file_descriptor.h>

#include <string>

namespace filler {

// Works until the supervisor closes the socket.
[[noreturn]] void runRefresher(service::FileDescriptor supervisor, const std::string& cache,
                               const Plan& plan);

} // namespace filler

#endif
