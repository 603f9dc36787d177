// Types as object managers take them that convert nothing: what comes with a type must come with
// the declared one.
#ifndef CIMOMD_STRICT_TYPES_H_
#define CIMOMD_STRICT_TYPES_H_

#include "class_table.h"

#include <cimxml/request.h>
#include <cimxml/types.h>

namespace cimomd {

// Whether all keys, properties and method parameters of a request that have a type have that of
// their declaration: a number's key VALUETYPE "numeric", a boolean's "boolean", all others
// "string". A parameter without PARAMTYPE fits any declaration. What is not declared is left to
// whoever carries the request out. Returns false with the error: kTypeMismatch for properties, else
// kInvalidParameter.
bool checkTypes(const cimxml::IntrinsicRequest& request, const ClassTable& classes,
                cimxml::CimError& error);
bool checkTypes(const cimxml::ExtrinsicRequest& request, const ClassTable& classes,
                cimxml::CimError& error);

} // namespace cimomd

#endif
