// Any JSON as the body of each action of the sample system, down to the arguments of the method: no
// body may end the process, and what is sent is what was declared.
#include "checks.h"

#include <ExtendedErrorInfoHandling.h>
#include <ResourceMapper.h>
#include <SfccInterface.h>
#include <json/json.h>
#include <odata/odata.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace {

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): set by a C function
unsigned int sentArguments = 0;

// Whether an argument is a text, a reference or an array of texts or numbers.
bool isArgument(const CMPIData& data)
{
    switch (data.type) {
    case CMPI_string:
        return data.value.string != nullptr;
    case CMPI_ref:
        return data.value.ref != nullptr;
    case CMPI_stringA:
    case CMPI_uint16A:
        return data.value.array != nullptr;
    default:
        return false;
    }
}

CMPIData invokeMethod(CMCIClient* /*client*/, CMPIObjectPath* path, const char* method,
                      CMPIArgs* in, CMPIArgs* out, CMPIStatus* rc)
{
    fuzz::require(path != nullptr && out != nullptr && *method != '\0', "a method is called");
    sentArguments = in->ft->getArgCount(in, rc);
    for (unsigned int i = 0; i < sentArguments; ++i) {
        CMPIString* name = nullptr;
        const CMPIData data = in->ft->getArgAt(in, i, &name, rc);
        fuzz::require(name != nullptr && isArgument(data), "an argument has a name and a value");
        (void)name->ft->release(name);
    }
    *rc = {CMPI_RC_OK, nullptr};
    return {};
}

CMPIStatus keepClient(CMCIClient* /*client*/)
{
    return {CMPI_RC_OK, nullptr};
}

CMCIClientFT clientTable()
{
    CMCIClientFT table = {};
    table.release = keepClient;
    table.invokeMethod = invokeMethod;
    return table;
}

std::vector<std::string> actionTargets()
{
    ExtendedErrorInfoHandling::SetRegistryDirectory("data/registries");
    ResourceMapper::RmfPath = "data/resourcemapping.json";
    odata::Scope scope = odata::Scope::ForRequest("/redfish/v1/Vexo");
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(nullptr, scope, uri, false);
    (void)mapper.ParseUri(RM_METHOD_GET); // loads the mapping
    std::vector<std::string> targets;
    for (const Json::Value& entry : ResourceMapper::RmfObj) {
        for (const Json::Value& mapped : entry["mappings"]) {
            for (const Json::Value& action : mapped["Actions"]) {
                targets.push_back(action["target"].asString());
            }
        }
    }
    fuzz::require(!targets.empty(), "the sample system has actions");
    return targets;
}

// More than any parser of a host takes, save for nesting.
bool parse(const char* begin, const char* end, Json::Value& payload)
{
    Json::CharReaderBuilder builder;
    builder["allowSpecialFloats"] = true;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    try {
        return reader->parse(begin, end, &payload, nullptr);
    } catch (const std::exception&) { // nesting beyond the reader's limit
        return false;
    }
}

void requireMessageArguments(unsigned int rc, const Json::Value& arguments)
{
    const bool hasTwo = rc == RM_PROPERTY_VALUE_TYPE_ERROR || rc == RM_PROPERTY_VALUE_NOT_IN_LIST;
    fuzz::require(hasTwo || rc == RM_PROPERTY_UNKNOWN || rc == RM_PROPERTY_MISSING,
                  "a refusal is one of validation");
    fuzz::require(arguments.size() == (hasTwo ? 2U : 1U), "a refusal has its arguments");
    for (const Json::Value& argument : arguments) {
        fuzz::require(argument.isString(), "message arguments are texts");
    }
}

void post(const std::string& target, Json::Value& payload)
{
    odata::Scope scope = odata::Scope::ForRequest(target);
    const odata::URI uri = scope.NewURI();
    SfccSession session("");
    ResourceMapper mapper(&session, scope, uri, false);
    fuzz::require(mapper.ParseUri(RM_METHOD_POST) == RM_OK, "the action is found");
    Json::Value response;
    Json::Value arguments;
    Json::Value inputs;
    unsigned long returned = 1;
    sentArguments = 0;
    const std::string before = payload.toStyledString();
    const unsigned int rc = mapper.InvokeAction(response, payload, &returned, arguments, inputs);
    fuzz::require(payload.toStyledString() == before, "the body is left as it was");
    if (rc == RM_OK) {
        fuzz::require(returned == 0 && sentArguments == payload.size(), "all of it was sent");
        return;
    }
    requireMessageArguments(rc, arguments);
    mapper.SendExtendedErrorMessagesForPost(mapper.ReturnQERMErrCode(rc), arguments);
    fuzz::requireJsonObject(scope.GetBody());
}

} // namespace

extern "C" CMCIClient* cmciConnect(const char* /*hn*/, const char* /*scheme*/, const char* /*port*/,
                                   const char* /*user*/, const char* /*pwd*/, CMPIStatus* rc)
{
    static CMCIClientFT table = clientTable();
    static CMCIClient client = {nullptr, &table};
    *rc = {CMPI_RC_OK, nullptr};
    return &client;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::vector<std::string> kTargets = actionTargets();
    const char* text = reinterpret_cast<const char*>(data);
    for (const std::string& target : kTargets) {
        Json::Value payload;
        if (parse(text, text + size, payload)) {
            post(target, payload);
        }
    }
    return 0;
}
