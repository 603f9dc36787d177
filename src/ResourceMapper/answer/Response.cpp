// Successful responses and the headers that the mapping file gives them.
#include "Log.h"
#include "ResourceMapper.h"
#include "ResourceMapper/mapping/Entry.h"

using namespace cimgate; // NOLINT(google-build-using-namespace): most of what stands here

void ResourceMapper::SendResponse(Json::Value& body)
{
    LOG_SCOPE();
    mScope.WriteBody("application/json", writeJson(body));
    mScope.SendResult(0, "");
}

void ResourceMapper::SetLinkHeader()
{
    LOG_SCOPE();
    std::string value;
    GetOdataMedata(mapping::kLinkHeader, value, false);
    mScope.SetHeader("Link", value.c_str());
}

void ResourceMapper::SetAllowedHeader()
{
    LOG_SCOPE();
    const Json::Value& entry = mIsCollection ? memberOf(RmfObj, mOemResourceName) : mResourceObj;
    if (!hasMember(entry, mapping::kAllowedOperations)) {
        LOG_AT(LOG_ERROR, "%s metadata is missing in RMF", mapping::kAllowedOperations);
        return;
    }
    const Json::Value& operations = arrayOf(memberOf(entry, mapping::kAllowedOperations));
    if (operations.empty()) {
        return;
    }
    std::string allowed;
    for (const Json::Value& operation : operations) {
        allowed += allowed.empty() ? "" : ",";
        allowed += textOf(operation);
    }
    LOG_AT(LOG_STEP, "Allowed operation: %s", allowed.c_str());
    mScope.SetHeader("Allow", allowed.c_str());
}
