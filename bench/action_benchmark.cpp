// An action with ten parameters, from the mapper's construction to the answer, beside a bare
// libcurl request with the same bytes:  action_benchmark CIM_URL SYSTEM_DIRECTORY
//
// The object manager at CIM_URL knows the system's task service (see bench_system.h). Both connect
// anew for each call, since a call must never be sent twice, and take turns.
#include "bench_system.h"
#include "live_parts.h"

#include <ResourceMapper.h>
#include <SfccInterface.h>
#include <cimxml/request.h>

#include <sstream>
#include <string_view>

namespace {

Json::Value payload()
{
    Json::Value body;
    std::istringstream text(bench::kActionBody);
    text >> body;
    return body;
}

void callThroughLibrary(SfccSession& session, Json::Value& body)
{
    odata::Scope scope = odata::Scope::ForRequest(bench::kActionUrl);
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(&session, scope, uri, false);
    Json::Value response;
    Json::Value arguments;
    Json::Value inputs;
    unsigned long returned = 1;
    bench::check(mapper.ParseUri(RM_METHOD_POST) == RM_OK &&
                     mapper.InvokeAction(response, body, &returned, arguments, inputs) == RM_OK &&
                     returned == 0,
                 "the action failed");
    mapper.SendExtendedMessageForPost("SYS413", response, 0);
    bench::check(std::string_view(scope.GetBody()).find("Passed") != std::string_view::npos,
                 "outputs are missing");
}

cimxml::MethodParameter text(const char* name, const char* value)
{
    return {name, cimxml::Value::of(cimxml::Type::String, std::string(value))};
}

cimxml::MethodParameter drive()
{
    auto path = std::make_shared<cimxml::ObjectPath>();
    path->nameSpace = "root/xcim";
    path->className = "XCIM_Disk0";
    path->keys.push_back({"InstanceID", cimxml::Type::String, std::string(bench::kInstanceKey)});
    return {"Drive", cimxml::Value::of(cimxml::Type::Reference,
                                       std::shared_ptr<const cimxml::ObjectPath>(path))};
}

// What the client library makes of it.
std::string message()
{
    using cimxml::Type;
    cimxml::ExtrinsicRequest request;
    request.messageId = "4711";
    request.method = "StartTask";
    request.object.nameSpace = "root/xcim";
    request.object.className = "XCIM_TaskService";
    request.object.keys.push_back({"InstanceID", Type::String, std::string("Task.1")});
    request.inputs = {
        text("Comment", "monthly"),
        drive(),
        text("Level", "3"),
        {"Modes", cimxml::Value::array(Type::Uint16, {std::uint64_t{2}, std::uint64_t{5}})},
        text("Names", "first"),
        text("Owner", "operator"),
        text("Passes", "12"),
        text("StartTime", "20240501102030.000000:000"),
        text("Thorough", "true"),
        text("Title", "Surface scan"),
    };
    request.inputs[4].value =
        cimxml::Value::array(Type::String, {std::string("first"), std::string("second")});
    return cimxml::encodeRequest(request);
}

void measure(const std::string& cimUrl)
{
    SfccSession session("root");
    Json::Value body = payload();
    bench::BareRequest bare(cimUrl, "StartTask",
                            "root%2Fxcim%3AXCIM_TaskService.InstanceID%3D%22Task.1%22", message(),
                            "Result", true);
    bench::compare(
        "action", [&] { callThroughLibrary(session, body); }, [&bare] { bare.run(); });
}

} // namespace

int main(int argc, char** argv)
{
    return bench::runLiveBenchmark(argc, argv, measure);
}
