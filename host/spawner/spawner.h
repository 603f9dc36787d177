// The spawner: a small process, forked before any thread, listener or key exists, that loads the
// mapping file. When the front asks, it forks workers from its pages, and the process that holds
// the message-queue endpoint.
#ifndef HOST_SPAWNER_SPAWNER_H_
#define HOST_SPAWNER_SPAWNER_H_

#include "native/tree.h"
#include "process_rights.h"
#include "wire/mapping_summary.h"

#include <service/file_descriptor.h>
#include <sys/types.h>

#include <optional>
#include <string>

namespace host {

struct Spawner
{
    pid_t pid = 0;
    service::FileDescriptor control; // see control.h
    service::FileDescriptor checked; // of the check of mapping and cache, see awaitCheck()
    service::FileDescriptor schemas; // where they come from once, see receiveSchemas()
    MappingSummary mapping;
    native::Documents documents; // the service's own resources, but for the vendor's schemas
};

// Forks the spawner and waits until it has loaded the mapping file (ResourceMapper::RmfPath), seen
// that the data cache can be opened where it is there, and made the service's own resources. It has
// no rights but those of the user, or of whoever has started it. isVerbatim: workers leave answers
// as the library makes them. Returns false with the cause in problem. Closing control ends the
// spawner and what it has forked.
bool startSpawner(Spawner& spawner, std::string& problem, const std::optional<User>& user = {},
                  const native::Service& service = {}, bool isVerbatim = false);

// Takes the vendor's schemas, which a process of the spawner makes while the service starts; once
// spawner.schemas has something to read. Nothing where they could not be made.
std::optional<native::Documents> receiveSchemas(const Spawner& spawner);

// Waits until the spawner, and with it all that it has forked, has ended.
void awaitSpawner(Spawner& spawner);

} // namespace host

#endif
