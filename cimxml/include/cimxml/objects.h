// Single objects as XML texts: what embedded objects, which are string values, hold.
#ifndef CIMXML_OBJECTS_H_
#define CIMXML_OBJECTS_H_

#include <cimxml/types.h>

#include <string>
#include <string_view>

namespace cimxml {

std::string encodeInstance(const Instance& instance); // <INSTANCE ...>
std::string encodeClass(const Class& cls);            // <CLASS ...>

// False, with what is wrong in problem, when the text is not one INSTANCE or CLASS; the output is
// then unspecified.
bool decodeInstance(std::string_view xml, Instance& instance, std::string& problem);
bool decodeClass(std::string_view xml, Class& cls, std::string& problem);

} // namespace cimxml

#endif
