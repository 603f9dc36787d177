// The arguments of the message that reports a failure, left behind where it happens.
#ifndef MESSAGE_ARGUMENTS_H_
#define MESSAGE_ARGUMENTS_H_

#include "ExtendedErrorInfoHandlingCIM.h"

#include <json/json.h>

#include <initializer_list>
#include <string>

namespace cimgate {

// Makes argument the first of a read's message, "p1", and returns code.
_ResourceMapperError failWith(Json::Value& errorArgs, _ResourceMapperError code,
                              const std::string& argument);

// Sets the leading arguments of an action's message, an array.
void setMessageArguments(Json::Value& errorArgs, std::initializer_list<std::string> texts);

} // namespace cimgate

#endif
