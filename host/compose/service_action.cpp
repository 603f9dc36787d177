#include "compose/service_action.h"

#include "error_body.h"
#include "worker/strict_json.h"

#include <JsonAccess.h>
#include <ResourceMapper.h>

#include <utility>

namespace host::compose {

namespace {

using service_file::Parameter;

// What the mapped action gets for a value; null for one that it does not take.
const Json::Value* mappedValue(const Parameter& parameter, const Json::Value& value)
{
    if (!parameter.isTranslated) {
        return &value;
    }
    const auto found =
        value.isString() ? parameter.values.find(value.asString()) : parameter.values.end();
    return found == parameter.values.end() ? nullptr : &found->second;
}

std::string textOf(const Json::Value& value)
{
    std::string text = value.isString() ? value.asString() : cimgate::writeJson(value);
    while (text.ends_with('\n')) {
        text.pop_back();
    }
    return text;
}

} // namespace

std::variant<ActionRequest, httpd::Response> translate(const service_file::Action& action,
                                                       const std::string& body)
{
    Json::Value given;
    if (!parseObject(body, given)) {
        return errorResponseOfCode(RM_MALFORMED_JSON, "");
    }
    Json::Value mapped =
        action.constants.isObject() ? action.constants : Json::Value(Json::objectValue);
    for (const std::string& name : given.getMemberNames()) {
        const auto parameter = action.parameters.find(name);
        if (parameter == action.parameters.end()) {
            return errorResponseOfCode(RM_PROPERTY_UNKNOWN, name);
        }
        const Json::Value* value = mappedValue(parameter->second, given[name]);
        if (value == nullptr) {
            return errorResponseOfCode(RM_PROPERTY_VALUE_NOT_IN_LIST, textOf(given[name]), name);
        }
        mapped[parameter->second.mappedName] = *value;
    }
    for (const auto& [name, parameter] : action.parameters) {
        if (parameter.isRequired && !mapped.isMember(parameter.mappedName)) {
            return errorResponseOfCode(RM_PROPERTY_MISSING, name);
        }
    }
    return ActionRequest{action.target, cimgate::writeJson(mapped)};
}

} // namespace host::compose
