#include "ResourceMapper/read/LiveReads.h"

#include "CimHandles.h"
#include "CimNameSpace.h"
#include "JsonAccess.h"
#include "Log.h"
#include "MessageArguments.h"
#include "ResourceMapper/answer/ErrorResponses.h"
#include "ResourceMapper/mapping/Resource.h"
#include "ResourceMapper/read/Annotations.h"
#include "ResourceMapper/read/Collections.h"
#include "ResourceMapper/read/InstanceToJson.h"
#include "ResourceMapper/read/Instances.h"
#include "ResourceMapper/read/QueryOptions.h"
#include "SfccInterface.h"

namespace cimgate {

namespace {

// An instance that the object manager does not know is nothing unexpected.
_ResourceMapperError instanceFailure(ResourceMapper& mapper, int rc)
{
    return rc == CMPI_RC_ERR_NOT_FOUND
               ? failWith(mapper.mErrorArgs, RM_INSTANCE_NOT_FOUND, mapper.mInstanceId)
               : errorOfStatus(mapper, static_cast<CMPIrc>(rc));
}

// Converts the page's instances. One more than the page holds is fetched, which tells whether there
// is a next page.
void readLiveMembers(ResourceMapper& mapper, CMPIEnumeration* enumeration, const Paging& paging,
                     Json::Value& out)
{
    CMPIData data = {};
    uint32_t filled = 0;
    uint32_t i = 0;
    for (; mapper.mpSfccHandle->GetNextInstance(enumeration, data) != 0; ++i) {
        if (i < paging.skip) {
            continue;
        }
        if (i >= paging.skip + paging.top) {
            break;
        }
        ++filled;
        LOG_AT(LOG_STEP, "Appempting to fill %dth Member", static_cast<int>(filled));
        if (filled > kPageMembers && mapper.mSupportsNextLink) {
            setNextLink(mapper, out, paging, false);
            break;
        }
        Json::Value& member =
            writableArray(writableObject(out)[kMembers]).append(Json::Value(Json::objectValue));
        (void)convertInstance(mapper, data.value.inst, member, Json::Value::nullSingleton());
    }
    if (i == 0) {
        writableObject(out)[kMembers] = Json::Value(Json::arrayValue);
    }
}

} // namespace

_ResourceMapperError readLiveInstance(ResourceMapper& mapper, Json::Value& out)
{
    LOG_SCOPE_AS("GetInstance");
    RM_ASSERT_TEXT(mapper.mpSfccHandle != nullptr, "mpSfccHandle != NULL");
    RM_ASSERT_TEXT(!mapper.mIsCollection, "mIsCollection == false");
    if (const int rc = mapper.mpSfccHandle->Connect(); rc != CMPI_RC_OK) {
        return instanceFailure(mapper, rc);
    }
    addUniqueSelector(mapper);
    CMPIInstance* fetched = nullptr;
    const int rc = mapper.mpSfccHandle->GetInstance(&fetched, mapper.mSelectorSet,
                                                    mapper.mCimClass.c_str(), kCimNameSpace);
    const CimHandle<CMPIInstance> instance(fetched);
    if (rc != CMPI_RC_OK) {
        return instanceFailure(mapper, rc);
    }
    Json::Value selectList;
    if (const auto error = selectedNames(mapper, selectList); error != RM_OK) {
        return error;
    }
    return convertInstance(mapper, instance.get(), out, selectList);
}

_ResourceMapperError readLiveCollection(ResourceMapper& mapper, Json::Value& out)
{
    LOG_SCOPE_AS("GetCollection");
    RM_ASSERT_TEXT(mapper.mpSfccHandle != nullptr, "mpSfccHandle != NULL");
    RM_ASSERT_TEXT(mapper.mIsCollection, "mIsCollection == true");
    if (const int rc = mapper.mpSfccHandle->Connect(); rc != CMPI_RC_OK) {
        return errorOfStatus(mapper, static_cast<CMPIrc>(rc));
    }
    CMPIEnumeration* opened = nullptr;
    const int rc =
        mapper.mpSfccHandle->GetEnumerationHandle(&opened, mapper.mCimClass, kCimNameSpace, "");
    const CimHandle<CMPIEnumeration> enumeration(opened);
    if (rc != CMPI_RC_OK) {
        return errorOfStatus(mapper, static_cast<CMPIrc>(rc));
    }
    Paging paging;
    paging.count = static_cast<uint32_t>(mapper.mpSfccHandle->GetInstanceCount(opened));
    if (const auto error = readPaging(mapper, paging); error != RM_OK) {
        return error;
    }
    readLiveMembers(mapper, opened, paging, out);
    writableObject(out)[kMembersCount] = paging.count;
    return annotateLiveCollection(mapper, out);
}

void queryLiveInstances(ResourceMapper& mapper, Json::Value& out, const std::string& query)
{
    LOG_SCOPE_AS("QueryInstances");
    RM_ASSERT_TEXT(mapper.mpSfccHandle != nullptr, "mpSfccHandle != NULL");
    RM_ASSERT_TEXT(mapper.mIsZMQCall, "mIsZMQCall== true");
    if (const int rc = mapper.mpSfccHandle->Connect(); rc != CMPI_RC_OK) {
        LOG_AT(LOG_ERROR, "Could not Connect! (%d)", rc);
        return;
    }
    CMPIEnumeration* opened = nullptr;
    findCimClass(mapper);
    const int rc =
        mapper.mpSfccHandle->GetEnumerationHandle(&opened, mapper.mCimClass, kCimNameSpace, query);
    const CimHandle<CMPIEnumeration> enumeration(opened);
    if (rc != CMPI_RC_OK) {
        LOG_AT(LOG_ERROR, "Could not get enum handle! (%d)", rc);
        return;
    }
    CMPIData data = {};
    if (mapper.mpSfccHandle->GetNextInstance(opened, data) != 0) {
        (void)convertInstance(mapper, data.value.inst, out, Json::Value::nullSingleton());
    }
}

} // namespace cimgate
