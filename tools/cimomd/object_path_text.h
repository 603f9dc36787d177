// Object paths written as text (DSP0004, untyped form):
//
//   [//host/][namespace:]Class[.key=value[,key=value]...]
//
// A value is a text in double quotes ("\" before a quote or a backslash in it) or a word such as 42
// or TRUE. Clients that know no other types than text write references so.
#ifndef CIMOMD_OBJECT_PATH_TEXT_H_
#define CIMOMD_OBJECT_PATH_TEXT_H_

#include <cimxml/types.h>

#include <string_view>

namespace cimomd {

// All keys come as strings. Returns false when text is no object path.
bool readObjectPath(std::string_view text, cimxml::ObjectPath& path);

} // namespace cimomd

#endif
