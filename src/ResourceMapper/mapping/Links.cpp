#include "ResourceMapper/mapping/Links.h"

#include "JsonAccess.h"
#include "ResourceMapper/mapping/Entry.h"

#include <algorithm>
#include <sstream>
#include <vector>

const std::string assocString =
    "{    \"VexoEnclosureCollection\" : {        "
    "\"assocation\" : \"Tbl_xcim_enclosureemmdependency\",        "
    "\"keyCol\" : \"__LeftClassKey\",        "
    "\"baseLink\": \"/redfish/v1/Vexo/Chassis/System.Embedded.1/VexoEnclosure\"    },    "
    "\"VexoEnclosureEMMCollection\" : {        "
    "\"assocation\" : \"Tbl_xcim_enclosureemmdependency\",        "
    "\"keyCol\" : \"__RightClassKey\",        "
    "\"baseLink\": \"/redfish/v1/Vexo/Chassis/System.Embedded.1/VexoEnclosureEMM\"    }}";

namespace {

Json::Value parseAssociations()
{
    std::istringstream in(assocString);
    Json::Value parsed;
    return cimgate::readJson(in, parsed) ? parsed : Json::Value();
}

} // namespace

const Json::Value assocObj = parseAssociations();
const bool assocParsed = assocObj.isObject();

namespace cimgate::mapping {

LinkKind kindOfLink(const std::string& name)
{
    if (name == kComputerSystemLink) {
        return LinkKind::Fixed;
    }
    if (name == kPowerSupplyLinks || name == kSensorLinks) {
        return LinkKind::Number;
    }
    return hasMember(assocObj, name) ? LinkKind::Association : LinkKind::Unknown;
}

std::string associationTableOf(const std::string& link)
{
    return textOf(memberOf(assocObj, link), "assocation");
}

bool hasAssociations(const Json::Value& entry)
{
    const Json::Value& links = entry.isObject() ? entry[kLinks] : Json::Value::nullSingleton();
    if (!links.isObject()) {
        return false;
    }
    const std::vector<std::string> names = links.getMemberNames();
    return std::any_of(names.begin(), names.end(), [](const std::string& name) {
        return kindOfLink(name) == LinkKind::Association;
    });
}

bool readsDataCache(const Json::Value& mapping)
{
    return hasCachedClass(mapping) || std::any_of(mapping.begin(), mapping.end(), hasAssociations);
}

std::string associationQuery(const std::string& link)
{
    return "select __LeftClass, __LeftClassKey, __RightClass, __RightClassKey from " +
           associationTableOf(link) + " where " + textOf(memberOf(assocObj, link), "keyCol") +
           " = ?";
}

} // namespace cimgate::mapping
