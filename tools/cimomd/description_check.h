// Whether a description of a method has the format of docs/cimomd.md.
#ifndef CIMOMD_DESCRIPTION_CHECK_H_
#define CIMOMD_DESCRIPTION_CHECK_H_

#include <cimxml/types.h>
#include <json/value.h>

#include <string>

namespace cimomd {

// Checks the cases of a method: whether all members are known and of their kind, and whether the
// method has the parameters. What classes, instances and types have to say shows in a call. Returns
// false with the place ("[1].set[0].object: ..."), what is wrong and what is possible in problem.
bool checkDescription(const Json::Value& cases, const cimxml::Method& method, std::string& problem);

} // namespace cimomd

#endif
