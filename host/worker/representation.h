// How an answer from the data cache is given to a client: its entity tag and its content coding.
#ifndef HOST_WORKER_REPRESENTATION_H_
#define HOST_WORKER_REPRESENTATION_H_

#include <httpd/server.h>

namespace host {

// Adds the entity tag, strong and of the body's bytes, and "Vary", and compresses the body where
// the client wants that and it is worth it (kCompressedFromBytes of host_limits.h).
void addRepresentation(httpd::Response& response, bool wantsGzip);

} // namespace host

#endif
