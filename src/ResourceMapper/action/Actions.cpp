#include "ResourceMapper/action/Actions.h"

#include "CimText.h"
#include "CmpiToJson.h"
#include "Log.h"
#include "ResourceMapper/action/MethodArguments.h"
#include "ResourceMapper/action/PayloadValidation.h"
#include "ResourceMapper/answer/ErrorResponses.h"
#include "ResourceMapper/mapping/Entry.h"
#include "SfccInterface.h"

#include <CimClientLib/native.h>

#include <cstdlib>

namespace cimgate {

namespace {

CimHandle<CMPIArgs> newArgs()
{
    CimStatus status;
    return CimHandle<CMPIArgs>(native_new_CMPIArgs(status.out()));
}

template <typename Object>
void releaseAny(Object* object)
{
    if (object != nullptr) {
        CimRelease()(object);
    }
}

// A method's return value belongs to whoever called it.
class ReturnValue
{
public:
    ReturnValue() = default;
    ~ReturnValue()
    {
        if (data.state == CMPI_nullValue) {
            return;
        }
        if ((data.type & CMPI_ARRAY) != 0) {
            releaseAny(data.value.array);
            return;
        }
        switch (data.type) {
        case CMPI_string:
            releaseAny(data.value.string);
            break;
        case CMPI_dateTime:
            releaseAny(data.value.dateTime);
            break;
        case CMPI_ref:
            releaseAny(data.value.ref);
            break;
        case CMPI_instance:
            releaseAny(data.value.inst);
            break;
        case CMPI_class:
            releaseAny(data.value.cls);
            break;
        case CMPI_chars:
            std::free(data.value.chars); // NOLINT(cppcoreguidelines-no-malloc): made by strdup
            break;
        default: // numbers
            break;
        }
    }
    ReturnValue(const ReturnValue&) = delete;
    ReturnValue& operator=(const ReturnValue&) = delete;

    // The value's 32-bit word, whatever its type.
    [[nodiscard]] uint32_t code() const { return static_cast<uint32_t>(data.value.uint32); }

    CMPIData data = {};
};

// The Redfish value of an output, looked up by the text of its CIM value.
Json::Value mappedOutput(const Json::Value& output, const Json::Value& map, Json::Value& collected)
{
    if (!output.isArray()) {
        return memberOf(map, argumentText(output, nullptr));
    }
    for (Json::ArrayIndex i = 0; i < output.size(); ++i) {
        collected[i] = memberOf(map, argumentText(output[i], nullptr));
    }
    return collected;
}

// The method's "inputs" or "outputs".
const Json::Value& methodDeclaration(const ResourceMapper& mapper, const char* part)
{
    const Json::Value& methods =
        memberOf(mapping::classOf(mapper.mResourceObj, mapper.mCimClass), mapping::kMethods);
    return memberOf(memberOf(methods, mapper.mCimMethodName), part);
}

void addScalar(CMPIArgs* args, const std::string& name, const std::string& argName,
               const Json::Value& value, const Json::Value& inputs)
{
    // Under the argument's name: a parameter with an alias is sent as it was written, a date-time
    // included. Providers behind an alias expect that.
    const std::string type = textOf(memberOf(inputs, argName), mapping::kRedfishType);
    const std::string text = argumentText(value, type.c_str());
    if (mapping::valueMapOf(memberOf(inputs, name)).empty()) {
        addTextArgument(args, argName, text);
    } else {
        addMappedValue(args, name, argName, text, inputs);
    }
}

unsigned int addArguments(CMPIArgs* args, const Json::Value& payload, const Json::Value& inputs,
                          Json::Value& errorArgs)
{
    for (auto member = payload.begin(); member != payload.end(); ++member) {
        const std::string name = member.name();
        const Json::Value& declaration = memberOf(inputs, name);
        std::string argName = textOf(declaration, mapping::kAlias);
        if (argName.empty()) {
            argName = name;
        }
        if (member->isArray()) {
            addArray(args, argName, *member, inputs);
        } else if (flagOf(declaration, mapping::kIsRefType)) {
            const unsigned int rc =
                addReference(args, argName, name, argumentText(*member, nullptr), errorArgs);
            if (rc != RM_OK) {
                return rc;
            }
        } else {
            addScalar(args, name, argName, *member, inputs);
        }
    }
    return RM_OK;
}

unsigned int callMethod(ResourceMapper& mapper, CMPIObjectPath* path, CMPIArgs* in,
                        Json::Value& response, unsigned long* returnValue)
{
    const CimHandle<CMPIArgs> outArgs = newArgs();
    RM_ASSERT_TEXT(outArgs != nullptr, "pOutArgs != NULL");
    ReturnValue returned;
    const int rc = mapper.mpSfccHandle->InvokeMethod(returned.data, mapper.mCimMethodName, path, in,
                                                     outArgs.get());
    if (rc != CMPI_RC_OK) {
        return errorOfStatus(mapper, static_cast<CMPIrc>(rc));
    }
    CmpiJson().InvokeOutputToJson(response, outArgs.get(), mapper.mScope);
    mapOutputs(mapper, response);
    *returnValue = returned.code();
    return RM_OK;
}

} // namespace

unsigned int invokeAction(ResourceMapper& mapper, Json::Value& response, const Json::Value& payload,
                          unsigned long* returnValue, Json::Value& errorArgs, Json::Value& inputs)
{
    LOG_SCOPE_AS("InvokeAction");
    RM_ASSERT_TEXT(mapper.mpSfccHandle != nullptr, "mpSfccHandle != NULL");
    RM_ASSERT_TEXT(mapper.mCimClass.c_str() != nullptr, "mCimClass.c_str() != NULL");
    if (mapper.mpSfccHandle->Connect() != CMPI_RC_OK) {
        return RM_OK; // hosts connect first and report that failure themselves
    }
    CMPIObjectPath* path = nullptr;
    unsigned int rc = makeInstancePath(mapper, &path);
    const CimHandle<CMPIObjectPath> objectPath(path);
    if (rc != RM_OK) {
        return rc;
    }
    const CimHandle<CMPIArgs> inArgs = newArgs();
    RM_ASSERT_TEXT(inArgs != nullptr, "pInArgs != NULL");
    inputs = methodDeclaration(mapper, mapping::kInputs);
    rc = validatePayload(payload, inputs, errorArgs);
    if (rc != RM_OK) {
        LOG_AT(LOG_FACT, "ValidatePayload failed %d", static_cast<int>(rc));
        return rc;
    }
    rc = addArguments(inArgs.get(), objectOf(payload), inputs, errorArgs);
    return rc != RM_OK ? rc : callMethod(mapper, path, inArgs.get(), response, returnValue);
}

void mapOutputs(const ResourceMapper& mapper, Json::Value& response)
{
    LOG_SCOPE_AS("AddValueMapToOutparam");
    const Json::Value& outputs = objectOf(methodDeclaration(mapper, mapping::kOutputs));
    // One for the whole call: an array that follows a longer one keeps the rest of it.
    Json::Value collected(Json::arrayValue);
    for (auto declared = outputs.begin(); declared != outputs.end(); ++declared) {
        const std::string name = declared.name();
        const Json::Value& map = mapping::valueMapOf(*declared);
        if (map.empty()) {
            continue;
        }
        const Json::Value& output = memberOf(response, name);
        if (output.isArray() || output.type() == Json::intValue ||
            output.type() == Json::uintValue) {
            response[name] = mappedOutput(output, map, collected);
        } else {
            LOG_AT(LOG_FACT, "Default case");
        }
    }
}

} // namespace cimgate
