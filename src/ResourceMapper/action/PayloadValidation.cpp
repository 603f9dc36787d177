#include "ResourceMapper/action/PayloadValidation.h"

#include "ExtendedErrorInfoHandlingCIM.h"
#include "IsoTime.h"
#include "Log.h"
#include "MessageArguments.h"
#include "ResourceMapper/action/MethodArguments.h"
#include "ResourceMapper/mapping/Entry.h"
#include "XmlText.h"

#include <cstring>

namespace cimgate {

namespace {

constexpr const char* kCollection = "Collection";

int typeResult(bool isAccepted)
{
    return isAccepted ? RM_OK : RM_PROPERTY_VALUE_TYPE_ERROR;
}

int validateString(const std::string& text, const char* type)
{
    if (isDateTimeType(type)) {
        if (!isIsoTime(text)) {
            LOG_AT(LOG_FACT, "DateTime parameter value specified is incorrect");
            return RM_PROPERTY_VALUE_TYPE_ERROR;
        }
        return RM_OK;
    }
    return typeResult(std::strcmp(type, "Edm.String") == 0 ||
                      std::strstr(type, kCollection) != nullptr);
}

// The last element decides; clients depend on it.
int validateElements(const Json::Value& array, const char* type)
{
    int result = RM_PROPERTY_VALUE_TYPE_ERROR;
    for (Json::ArrayIndex i = 0; i < array.size(); ++i) {
        result = validateType(array[i], type);
    }
    return result;
}

// What arrived of any other text would not be what was sent. Of an array every element counts.
bool hasOnlyCimTexts(const Json::Value& value)
{
    if (value.isString()) {
        return isXmlText(value.asString());
    }
    bool isFine = true;
    for (Json::ArrayIndex i = 0; value.isArray() && isFine && i < value.size(); ++i) {
        isFine = hasOnlyCimTexts(value[i]);
    }
    return isFine;
}

bool fitsDeclaration(const Json::Value& value, const Json::Value& declaration)
{
    const Json::Value& type = memberOf(declaration, mapping::kRedfishType);
    return !type.empty() && value.isArray() == flagOf(declaration, mapping::kIsArrayType) &&
           validateType(value, textOf(type).c_str()) == RM_OK && hasOnlyCimTexts(value);
}

unsigned int refuseUnknown(const Json::Value& payload, const Json::Value& inputs,
                           Json::Value& errorArgs)
{
    for (auto member = payload.begin(); member != payload.end(); ++member) {
        if (!hasMember(inputs, nameOf(member))) {
            setMessageArguments(errorArgs, {member.name()});
            return RM_PROPERTY_UNKNOWN;
        }
    }
    return RM_OK;
}

unsigned int refuseMistyped(const Json::Value& payload, const Json::Value& inputs,
                            Json::Value& errorArgs)
{
    for (auto member = payload.begin(); member != payload.end(); ++member) {
        if (!fitsDeclaration(*member, memberOf(inputs, nameOf(member)))) {
            setMessageArguments(errorArgs, {argumentText(*member, nullptr), member.name()});
            return RM_PROPERTY_VALUE_TYPE_ERROR;
        }
    }
    return RM_OK;
}

unsigned int refuseUnlistedValue(const Json::Value& value, const Json::Value& map,
                                 const std::string& name, Json::Value& errorArgs)
{
    const std::string text = argumentText(value, nullptr);
    const unsigned int rc = validateListed(map, text);
    if (rc != RM_OK) {
        setMessageArguments(errorArgs, {text, name});
    }
    return rc;
}

unsigned int refuseUnlisted(const Json::Value& payload, const Json::Value& inputs,
                            Json::Value& errorArgs)
{
    unsigned int rc = RM_OK;
    for (auto member = payload.begin(); member != payload.end() && rc == RM_OK; ++member) {
        const std::string name = member.name();
        const Json::Value& map = mapping::valueMapOf(memberOf(inputs, name));
        if (map.empty()) {
            continue;
        }
        if (!member->isArray()) {
            rc = refuseUnlistedValue(*member, map, name, errorArgs);
        }
        for (Json::ArrayIndex i = 0; member->isArray() && i < member->size() && rc == RM_OK; ++i) {
            rc = refuseUnlistedValue((*member)[i], map, name, errorArgs);
        }
    }
    return rc;
}

unsigned int refuseMissing(const Json::Value& payload, const Json::Value& inputs,
                           Json::Value& errorArgs)
{
    Json::Value mandatory;
    listMandatory(inputs, mandatory);
    for (const Json::Value& name : mandatory) {
        if (!hasMember(payload, name.asString())) {
            setMessageArguments(errorArgs, {name.asString()});
            return RM_PROPERTY_MISSING;
        }
    }
    return RM_OK;
}

} // namespace

unsigned int validatePayload(const Json::Value& payload, const Json::Value& inputs,
                             Json::Value& errorArgs)
{
    LOG_SCOPE_AS("ValidatePayload");
    const Json::Value& body = objectOf(payload);
    for (const auto pass : {refuseUnknown, refuseMistyped, refuseUnlisted, refuseMissing}) {
        if (const unsigned int rc = pass(body, inputs, errorArgs); rc != RM_OK) {
            return rc;
        }
    }
    return RM_OK;
}

int validateType(const Json::Value& value, const char* type)
{
    LOG_SCOPE_AS("ValidateValueType");
    RM_ASSERT_TEXT(type != nullptr, "type != NULL");
    switch (value.type()) {
    case Json::nullValue:
    case Json::realValue:
    case Json::objectValue:
        return RM_PROPERTY_VALUE_TYPE_ERROR;
    case Json::intValue:
    case Json::uintValue:
        // Arguments are written as unsigned numbers.
        return typeResult(std::strcmp(type, "Edm.Int64") == 0 && value.isUInt64());
    case Json::stringValue:
        return validateString(value.asString(), type);
    case Json::booleanValue:
        return typeResult(std::strcmp(type, "Edm.Boolean") == 0);
    case Json::arrayValue:
        return validateElements(value, type);
    default:
        LOG_AT(LOG_FACT, "In default case");
        return RM_PROPERTY_VALUE_TYPE_ERROR;
    }
}

unsigned int validateListed(const Json::Value& map, const std::string& text)
{
    LOG_SCOPE_AS("ValidateEnumTypeInPayload");
    for (const Json::Value& redfishValue : objectOf(map)) {
        if (textOf(redfishValue) == text) {
            return RM_OK;
        }
    }
    return RM_PROPERTY_VALUE_NOT_IN_LIST;
}

void listMandatory(const Json::Value& inputs, Json::Value& mandatory)
{
    LOG_SCOPE_AS("GetMandatoryArgList");
    const Json::Value& declared = objectOf(inputs);
    writableArray(mandatory);
    for (auto input = declared.begin(); input != declared.end(); ++input) {
        if (flagOf(*input, mapping::kIsRequired)) {
            LOG_AT(LOG_FACT, "GetMandatoryArgList  %s", input.name().c_str());
            mandatory.append(input.name());
        }
    }
}

} // namespace cimgate
