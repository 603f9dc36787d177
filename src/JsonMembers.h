// All members of a JSON object.
#ifndef JSON_MEMBERS_H_
#define JSON_MEMBERS_H_

#include <json/json.h>

namespace cimgate {

// Calls use(name, value) for each member, in the order of their names; for none where it is no
// object.
template <typename Use>
void forEachMember(const Json::Value& object, const Use& use)
{
    if (!object.isObject()) {
        return;
    }
    for (auto member = object.begin(); member != object.end(); ++member) {
        use(member.name(), *member);
    }
}

} // namespace cimgate

#endif
