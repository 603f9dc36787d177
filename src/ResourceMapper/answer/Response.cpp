#include "ResourceMapper/answer/Response.h"

#include "Log.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/mapping/Resource.h"

namespace cimgate {

void sendResponse(odata::Scope& scope, const Json::Value& body)
{
    LOG_SCOPE_AS("SendResponse");
    scope.WriteBody("application/json", writeJson(body));
    scope.SendResult(0, "");
}

void setLinkHeader(ResourceMapper& mapper)
{
    LOG_SCOPE_AS("SetLinkHeader");
    const std::string value = metadata(mapper, mapping::kLinkHeader, false);
    mapper.mScope.SetHeader("Link", value.c_str());
}

void setAllowedHeader(ResourceMapper& mapper)
{
    LOG_SCOPE_AS("SetAllowedHeader");
    const Json::Value& entry = entryOf(mapper, false);
    if (!hasMember(entry, mapping::kAllowedOperations)) {
        LOG_AT(LOG_ERROR, "%s metadata is missing in RMF", mapping::kAllowedOperations);
        return;
    }
    const Json::Value& operations = arrayOf(memberOf(entry, mapping::kAllowedOperations));
    if (operations.empty()) {
        return;
    }
    std::string allowed;
    const char* separator = "";
    for (const Json::Value& operation : operations) {
        allowed += separator + textOf(operation);
        separator = ",";
    }
    LOG_AT(LOG_STEP, "Allowed operation: %s", allowed.c_str());
    mapper.mScope.SetHeader("Allow", allowed.c_str());
}

} // namespace cimgate
