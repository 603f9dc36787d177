// Any bytes as a request to the message queue of the sample system, and as an id: whoever asks gets
// a well-formed answer, and an id that reaches the library has nothing in it that SQL would read.
#include "checks.h"
#include "queue/container_id.h"
#include "queue/message.h"
#include "queue/worker_end.h"
#include "sample_system.h"

#include <ResourceMapper.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

// As the spawner does it before there is any worker.
void loadMapping()
{
    odata::Scope scope = odata::Scope::New();
    const odata::URI uri = scope.NewURI();
    (void)ResourceMapper(nullptr, scope, uri, true).checkResource("", true);
}

// What no container of the sample system has: a resource that is none, an expression that is none,
// a group that matches nothing, all groups that can be asked for.
void addOddContainer()
{
    Json::Value& instances = ResourceMapper::RmfObj["OddOem"]["instances"];
    instances["NoResource"]["KeyRegex"] = "";
    instances["VexoDrive"]["KeyRegex"] = "([";
    instances["VexoEnclosure"]["KeyRegex"] = "^(Enclosure)?Disk";
    Json::Value& module = instances["VexoEnclosureEMM"];
    module["KeyRegex"] = "^(.*)[.]([0-9]+):(.*)[.]([0-9]+)$";
    module["QueryClause"] = "DeviceID = '#p3.#p4#EMM.1' or Name = '#p1#p2'";
}

void ask(const std::string& container, const std::string& id)
{
    static host::CacheNotice notice;
    static host::DataCache cache(notice);
    fuzz::requireJsonObject(host::handleEmbeddedData(container, id, cache));
    fuzz::require(!host::isContainerId(id) ||
                      id.find_first_of("'\"`;/*[]()% \\") == std::string::npos,
                  "no accepted id ends a text or a statement");
    fuzz::require(!host::isContainerId(id) || id.find("--") == std::string::npos,
                  "no accepted id begins a comment");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const fuzz::SampleSystem kSystem;
    static const bool kIsLoaded = (loadMapping(), addOddContainer(), true);
    (void)kIsLoaded;
    const std::string text(data, data + size);
    host::EmbeddedDataRequest request;
    if (const auto fault = host::readQueueRequest(text, request)) {
        fuzz::requireJsonObject(host::queueError(*fault, text));
    } else {
        ask(request.container, request.id);
    }
    ask("DriveOem", text);
    return 0;
}
