// cimgate oem: asks the message-queue endpoint (docs/oem-endpoint.md).
#ifndef CIMGATE_OEM_H_
#define CIMGATE_OEM_H_

#include <string>
#include <vector>

namespace oem {

inline constexpr int kWrongUsage = 2;

// Runs the command with its arguments. Returns the exit status: 0 the data is printed, 1 there is
// none and standard error says why, kWrongUsage.
int run(const std::vector<std::string>& arguments);

} // namespace oem

#endif
