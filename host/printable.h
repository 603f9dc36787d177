// What clients have sent, for a log.
#ifndef HOST_PRINTABLE_H_
#define HOST_PRINTABLE_H_

#include <string>
#include <string_view>

namespace host {

// The text in printable ASCII: other bytes, quotation marks and backslashes as \xHH.
std::string printable(std::string_view text);

} // namespace host

#endif
