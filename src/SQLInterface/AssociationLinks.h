// Resolution of an instance's "Links" and the descriptions built in for it.
#ifndef ASSOCIATION_LINKS_H_
#define ASSOCIATION_LINKS_H_

#include "ResourceMapper/mapping/Links.h"

#include <json/json.h>
#include <regex.h>

#include <string>

// Instance ids of power supplies and of their current sensors.
extern const std::string id_pattern;
// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): regexec takes it as it is
extern regex_t regex_assoc_id;
extern int reg_comp_assoc; // result of compiling id_pattern, 0 for success
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

// What the number of a power supply is appended to, to address it or its current sensor.
extern const std::string powerSupplyLink;
extern const std::string psnumericLink;

namespace cimgate {

// SQLInterface::getLinksFromAssociation() without copying the mapping entry.
void resolveLinks(const Json::Value& resource, Json::Value& links, const std::string& id);

} // namespace cimgate

#endif
