// Standard actions that stand for mapped ones.
#ifndef HOST_COMPOSE_SERVICE_ACTION_H_
#define HOST_COMPOSE_SERVICE_ACTION_H_

#include "service_file/service_file.h"
#include "wire/worker_message.h"

#include <variant>

namespace host::compose {

// The request that the mapped action gets; a refusal where a parameter is unknown, missing or has a
// value that the mapped one does not take.
std::variant<ActionRequest, httpd::Response> translate(const service_file::Action& action,
                                                       const std::string& body);

} // namespace host::compose

#endif
