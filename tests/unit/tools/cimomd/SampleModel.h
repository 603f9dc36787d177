// Classes and instances made in place.
#ifndef SAMPLE_MODEL_H_
#define SAMPLE_MODEL_H_

#include "name_space.h"

#include <cimxml/types.h>

#include <string>
#include <utility>
#include <vector>

namespace sample {

cimxml::Qualifier flag(const std::string& name);
cimxml::Property property(const std::string& name, cimxml::Type type, cimxml::Scalar value = {});
cimxml::Property key(const std::string& name, cimxml::Type type);
cimxml::Class cls(const std::string& name, const std::string& superClass,
                  std::vector<cimxml::Property> properties,
                  std::vector<cimxml::Qualifier> qualifiers = {});

// An instance all of whose values are texts, as from a client that knows no other types.
using Texts = std::vector<std::pair<std::string, std::string>>;
cimxml::Instance instance(const std::string& className, const Texts& values);
cimxml::ObjectPath path(const std::string& className, const Texts& keys);
cimxml::Scalar reference(const cimxml::ObjectPath& path);

// Adds classes, which are in order.
void declare(cimomd::NameSpace& nameSpace, std::vector<cimxml::Class> classes);

// Adds an instance, which must succeed.
const cimomd::StoredInstance& create(cimomd::NameSpace& nameSpace,
                                     const cimxml::Instance& instance);

// The text of a property's value; "null" for null.
std::string textOf(const cimxml::Instance& instance, const std::string& property);

} // namespace sample

#endif
