// --listen of programs that serve HTTP.
#ifndef CLI_LISTEN_H_
#define CLI_LISTEN_H_

#include <cli/command_line.h>

#include <cstdint>
#include <string>

namespace cli {

// The option, which takes loopback addresses only; reason begins the sentence that says so of
// others.
Option listen(std::string& address, uint16_t& port, const std::string& reason);

} // namespace cli

#endif
