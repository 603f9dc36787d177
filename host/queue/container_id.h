// The ids that containers are asked with, for what they embed.
#ifndef HOST_QUEUE_CONTAINER_ID_H_
#define HOST_QUEUE_CONTAINER_ID_H_

#include <string_view>

namespace host {

// Whether an id may become part of the SQL conditions of a mapping file: 1 to 127 letters and
// digits of ASCII and . _ : # - in which no "--" begins a comment.
bool isContainerId(std::string_view id);

} // namespace host

#endif
