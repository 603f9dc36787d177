// Whether a description fits the classes that it is about.
#ifndef CIMOMD_DESCRIPTION_CHECK_H_
#define CIMOMD_DESCRIPTION_CHECK_H_

#include "method_description.h"
#include "name_space.h"

#include <string>

namespace cimomd {

// Checks that classes, methods, parameters and properties are declared and constants are of their
// types; what only a call can tell is left to it. Returns false with the place and what is wrong in
// problem.
bool checkDescription(const MethodDescription& description, const NameSpace& nameSpace,
                      std::string& problem);

} // namespace cimomd

#endif
