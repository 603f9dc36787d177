// A live read of one instance, from the mapper's construction to the response, beside a bare
// libcurl request for the same instance:  live_benchmark CIM_URL SYSTEM_DIRECTORY
//
// The object manager at CIM_URL holds the instances of that system (see bench_system.h). Both use a
// kept-alive connection of their own and take turns. Log lines go to standard error.
#include "bench_system.h"
#include "live_parts.h"

#include <ResourceMapper.h>
#include <SfccInterface.h>
#include <cimxml/request.h>

#include <string_view>

namespace {

void readThroughLibrary(SfccSession& session)
{
    odata::Scope scope = odata::Scope::ForRequest(bench::kInstanceUrl);
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(&session, scope, uri, false);
    Json::Value body;
    bench::check(mapper.ParseUri(RM_METHOD_GET) == RM_OK && mapper.GetInstance(body) == RM_OK,
                 "the live read failed");
    mapper.SendResponse(body);
    bench::check(std::string_view(scope.GetBody()).find("SerialNumber") != std::string_view::npos,
                 "properties are missing");
}

// What the client library makes of it.
std::string message()
{
    cimxml::ObjectPath disk;
    disk.className = "XCIM_Disk0";
    disk.keys.push_back({"InstanceID", cimxml::Type::String, std::string(bench::kInstanceKey)});
    cimxml::IntrinsicRequest request;
    request.messageId = "4711";
    request.operation = "GetInstance";
    request.nameSpace = "root/xcim";
    request.parameters.push_back({"InstanceName", disk});
    return cimxml::encodeRequest(request);
}

void measure(const std::string& cimUrl)
{
    SfccSession session("root");
    bench::BareRequest bare(cimUrl, "GetInstance", "root%2Fxcim", message(), "SerialNumber", false);
    bench::compare(
        "live instance", [&session] { readThroughLibrary(session); }, [&bare] { bare.run(); });
}

} // namespace

int main(int argc, char** argv)
{
    return bench::runLiveBenchmark(argc, argv, measure);
}
