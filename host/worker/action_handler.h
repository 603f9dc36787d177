// How a worker carries out a POST: one call of a CIM method, and what its outcome says to the
// client.
#ifndef HOST_WORKER_ACTION_HANDLER_H_
#define HOST_WORKER_ACTION_HANDLER_H_

#include "worker/sources.h"

#include <ResourceMapper.h>
#include <httpd/server.h>

#include <string>

namespace host {

// Resolves the mapper's URI and carries out the action that it names, body being the request's.
// mapper and scope are those of one request. The response lacks the scope's headers.
httpd::Response handlePost(ResourceMapper& mapper, const odata::Scope& scope,
                           const std::string& body, Sources& sources);

} // namespace host

#endif
