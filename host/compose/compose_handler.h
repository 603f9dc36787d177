// What a worker answers to requests for the service's own resources.
#ifndef HOST_COMPOSE_COMPOSE_HANDLER_H_
#define HOST_COMPOSE_COMPOSE_HANDLER_H_

#include "wire/worker_message.h"
#include "worker/sources.h"

#include <optional>

namespace host::compose {

// The answer; nothing where it takes the CIM object manager, and the request may not ask that now.
std::optional<httpd::Response> handleCompose(const ComposeRequest& request, Sources& sources);

} // namespace host::compose

#endif
