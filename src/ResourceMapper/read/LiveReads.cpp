// Reads from the CIM object manager, through the session.
#include "CimHandles.h"
#include "CimNameSpace.h"
#include "Log.h"
#include "ResourceMapper.h"
#include "ResourceMapper/read/Paging.h"
#include "SfccInterface.h"

using namespace cimgate; // NOLINT(google-build-using-namespace): most of what stands here

// An instance that the object manager does not know is nothing unexpected.
_ResourceMapperError ResourceMapper::instanceFailure(int rc)
{
    return rc == CMPI_RC_ERR_NOT_FOUND ? failWith(RM_INSTANCE_NOT_FOUND, mInstanceId)
                                       : ConvertCMPIErrortoRMError(static_cast<CMPIrc>(rc));
}

_ResourceMapperError ResourceMapper::GetInstance(Json::Value& out)
{
    LOG_SCOPE();
    RM_ASSERT_TEXT(mpSfccHandle != nullptr, "mpSfccHandle != NULL");
    RM_ASSERT(mIsCollection == false);
    if (const int rc = mpSfccHandle->Connect(); rc != CMPI_RC_OK) {
        return instanceFailure(rc);
    }
    addUniqueSelector();
    CMPIInstance* fetched = nullptr;
    const int rc =
        mpSfccHandle->GetInstance(&fetched, mSelectorSet, mCimClass.c_str(), kCimNameSpace);
    const CimHandle<CMPIInstance> instance(fetched);
    if (rc != CMPI_RC_OK) {
        return instanceFailure(rc);
    }
    Json::Value selectList;
    if (const auto error = selectedNames(selectList); error != RM_OK) {
        return error;
    }
    return convertInstance(instance.get(), out, selectList);
}

_ResourceMapperError ResourceMapper::GetCollection(Json::Value& out)
{
    LOG_SCOPE();
    RM_ASSERT_TEXT(mpSfccHandle != nullptr, "mpSfccHandle != NULL");
    RM_ASSERT(mIsCollection == true);
    if (const int rc = mpSfccHandle->Connect(); rc != CMPI_RC_OK) {
        return ConvertCMPIErrortoRMError(static_cast<CMPIrc>(rc));
    }
    CMPIEnumeration* opened = nullptr;
    const int rc = mpSfccHandle->GetEnumerationHandle(&opened, mCimClass, kCimNameSpace, "");
    const CimHandle<CMPIEnumeration> enumeration(opened);
    if (rc != CMPI_RC_OK) {
        return ConvertCMPIErrortoRMError(static_cast<CMPIrc>(rc));
    }
    Paging paging;
    paging.count = static_cast<uint32_t>(mpSfccHandle->GetInstanceCount(opened));
    if (const auto error = readPaging(paging); error != RM_OK) {
        return error;
    }
    readLiveMembers(opened, paging, out);
    out[kMembersCount] = paging.count;
    return AddOdataMetaData(out);
}

// Converts the page's instances. One more than the page holds is fetched, which tells whether there
// is a next page.
void ResourceMapper::readLiveMembers(CMPIEnumeration* enumeration, const Paging& paging,
                                     Json::Value& out)
{
    CMPIData data = {};
    uint32_t filled = 0;
    uint32_t i = 0;
    for (; mpSfccHandle->GetNextInstance(enumeration, data) != 0; ++i) {
        if (i < paging.skip) {
            continue;
        }
        if (i >= paging.skip + paging.top) {
            break;
        }
        ++filled;
        LOG_AT(LOG_STEP, "Appempting to fill %dth Member", static_cast<int>(filled));
        if (filled > kPageMembers && mSupportsNextLink) {
            setNextLink(out, paging, false);
            break;
        }
        Json::Value& member = out[kMembers].append(Json::Value(Json::objectValue));
        (void)convertInstance(data.value.inst, member, Json::Value::nullSingleton());
    }
    if (i == 0) {
        out[kMembers] = Json::Value(Json::arrayValue);
    }
}

void ResourceMapper::QueryInstances(Json::Value& out, const std::string& query)
{
    LOG_SCOPE();
    RM_ASSERT_TEXT(mpSfccHandle != nullptr, "mpSfccHandle != NULL");
    RM_ASSERT_TEXT(mIsZMQCall, "mIsZMQCall== true");
    if (const int rc = mpSfccHandle->Connect(); rc != CMPI_RC_OK) {
        LOG_AT(LOG_ERROR, "Could not Connect! (%d)", rc);
        return;
    }
    CMPIEnumeration* opened = nullptr;
    const int rc = mpSfccHandle->GetEnumerationHandle(&opened, GetCimClass(), kCimNameSpace, query);
    const CimHandle<CMPIEnumeration> enumeration(opened);
    if (rc != CMPI_RC_OK) {
        LOG_AT(LOG_ERROR, "Could not get enum handle! (%d)", rc);
        return;
    }
    CMPIData data = {};
    if (mpSfccHandle->GetNextInstance(opened, data) != 0) {
        (void)convertInstance(data.value.inst, out, Json::Value::nullSingleton());
    }
}
