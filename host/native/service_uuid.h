// What clients know this service by, wherever its address is.
#ifndef HOST_NATIVE_SERVICE_UUID_H_
#define HOST_NATIVE_SERVICE_UUID_H_

#include <string>

namespace host::native {

// The UUID (RFC 9562, version 5) of the service on a machine, by the text of its machine-id file:
// the machine's own id cannot be had back from it. "" for a text that is no such id.
std::string uuidOfMachine(const std::string& machineId);

// That of this machine; "" where it has no id.
std::string uuidOfThisMachine();

} // namespace host::native

#endif
