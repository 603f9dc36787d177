// cimgate oem: asks the message-queue endpoint (docs/oem-endpoint.md).
#ifndef CIMGATE_OEM_H_
#define CIMGATE_OEM_H_

#include <cli/command_line.h>

namespace oem {

// The command. Its exit status: 0 the data is printed, 1 there is none and standard error says why.
cli::Command command();

} // namespace oem

#endif
