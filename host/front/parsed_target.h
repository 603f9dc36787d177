// The target of a request as the library parses it.
#ifndef HOST_FRONT_PARSED_TARGET_H_
#define HOST_FRONT_PARSED_TARGET_H_

#include <odata/odata.h>

#include <string>

namespace host {

// Throws std::bad_alloc where there is no memory for it; odata::Scope would end the process.
odata::URI parsedTarget(const std::string& target);

} // namespace host

#endif
