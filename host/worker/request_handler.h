// How a worker answers one request: which of the mapper's operations serves it, and the outcome.
#ifndef HOST_WORKER_REQUEST_HANDLER_H_
#define HOST_WORKER_REQUEST_HANDLER_H_

#include "wire/worker_message.h"
#include "worker/sources.h"

#include <optional>

namespace host {

// Answers a request; a URI must have at least one segment. Nothing when the resource is read live
// and the request may not do that. What has failed has a remark.
std::optional<httpd::Response> handleRequest(const WorkerRequest& request, Sources& sources);

} // namespace host

#endif
