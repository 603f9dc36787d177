// The rules that a service file has to keep, beside a mapping.
#ifndef HOST_CHECK_SERVICE_RULES_H_
#define HOST_CHECK_SERVICE_RULES_H_

#include "check/inspection.h"

namespace host::check {

// inspection is of the service file; of its rules those of mapping files do not hold.
void checkServiceRules(Inspection& inspection, const Json::Value& mapping);

} // namespace host::check

#endif
