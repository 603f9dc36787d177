#include "SfccInterface.h"

#include "CimText.h"
#include "JsonAccess.h"
#include "Log.h"

#include <sstream>

using enum cimgate::LogLevel;

namespace cimgate {

namespace {

constexpr const char* kLocalObjectManager = "SfcbLocal";
constexpr const char* kPort = "5988";
constexpr const char* kQueryLanguage = "CQL";
constexpr CMPIFlags kNoFlags = 0;

CimHandle<CMPIObjectPath> newPath(const std::string& nameSpace, const char* className,
                                  CimStatus& status)
{
    return CimHandle<CMPIObjectPath>(newCMPIObjectPath(nameSpace.c_str(), className, status.out()));
}

// Asks for what a query selects. language is null until it is known which of the language's names
// the object manager takes; where it refuses the first one, the others are tried once.
CMPIEnumeration* select(CMCIClient* client, CMPIObjectPath* path, const std::string& query,
                        const char*& language, CimStatus& status)
{
    const auto run = [&](const char* name, CimStatus& result) {
        return client->ft->execQuery(client, path, query.c_str(), name, result.out());
    };
    CMPIEnumeration* selected = run(language == nullptr ? kQueryLanguage : language, status);
    if (status.code() != CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED || language != nullptr) {
        return selected;
    }
    language = kQueryLanguage;
    for (const char* name : {"DMTF:CQL", "WQL"}) {
        CimStatus other;
        CMPIEnumeration* found = run(name, other);
        if (other.code() != CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED) {
            language = name;
            status.swap(other);
            return found;
        }
    }
    return selected;
}

// The text of a string value; null where it has none or is of another type.
const char* keyText(const CMPIData& data)
{
    if (data.type == CMPI_string) {
        return charsOf(data.value.string);
    }
    if (data.type == CMPI_chars) {
        return data.value.chars;
    }
    LOG_AT(LOG_ERROR, "Unexpected CMPI type %d where a string is needed",
           static_cast<int>(data.type));
    return nullptr;
}

} // namespace

} // namespace cimgate

SfccSession::SfccSession(const std::string& user) : mUser(user), mClient(nullptr)
{
    LOG_SCOPE();
}

SfccSession::~SfccSession()
{
    LOG_SCOPE();
    if (mClient != nullptr) {
        LOG_AT(LOG_ERROR, "Releasing sfcbd connection handle"); // at this level to be always seen
        const cimgate::CimStatus ignored(mClient->ft->release(mClient));
    }
}

int SfccSession::Connect()
{
    LOG_SCOPE();
    if (mClient != nullptr) {
        LOG_AT(LOG_STEP, "Connection Handle is already available");
        return CMPI_RC_OK;
    }
    cimgate::CimStatus status;
    mClient = cmciConnect(cimgate::kLocalObjectManager, nullptr, cimgate::kPort, mUser.c_str(),
                          nullptr, status.out());
    if (status.failed()) {
        LOG_AT(LOG_ERROR, "Connect: rc(%d), msg(%s)", status.code(), status.message());
        // SFCC has unloaded by now what could release it.
        status.abandonMessage();
    }
    return status.code();
}

int SfccSession::GetEnumerationHandle(CMPIEnumeration** out, const std::string& className,
                                      const std::string& nameSpace, const std::string& query)
{
    LOG_SCOPE();
    RM_ASSERT_TEXT(mClient != nullptr, "cc != NULL");
    RM_ASSERT_TEXT(out != nullptr, "ppEnumHandle != NULL");
    RM_ASSERT_TEXT(!className.empty(), "!ClassName.empty()");
    *out = nullptr;
    LOG_AT(LOG_FACT, "Trying ENUM operation for class(%s), nameSpace(%s)", className.c_str(),
           nameSpace.c_str());
    cimgate::CimStatus pathStatus;
    const cimgate::CimHandle<CMPIObjectPath> path =
        cimgate::newPath(nameSpace, className.c_str(), pathStatus);
    if (pathStatus.failed() || path == nullptr) {
        LOG_AT(LOG_ERROR, "Error> newCMPIObjectPath: rc(%d) msg(%s)", pathStatus.code(),
               pathStatus.message());
        return pathStatus.code();
    }
    cimgate::CimStatus status;
    if (query.empty()) {
        // No list of properties: object managers have been seen to fail on one.
        *out = mClient->ft->enumInstances(mClient, path.get(), cimgate::kNoFlags, nullptr,
                                          status.out());
    } else {
        LOG_AT(LOG_STEP, "Query: %s", query.c_str());
        *out = cimgate::select(mClient, path.get(), query, mQueryLanguage, status);
    }
    if (status.failed()) {
        LOG_AT(LOG_ERROR, "Error> enumInstances: rc(%d), msg(%s)", status.code(), status.message());
    }
    return status.code();
}

int SfccSession::GetInstance(CMPIInstance** out, const Json::Value& keys, const char* className,
                             const std::string& nameSpace)
{
    LOG_SCOPE();
    RM_ASSERT_TEXT(mClient != nullptr, "cc != NULL");
    RM_ASSERT_TEXT(className != nullptr, "pcimClass != NULL");
    *out = nullptr;
    LOG_AT(LOG_FACT, "getInstance Class Name (%s), NameSpace (%s)", className, nameSpace.c_str());
    cimgate::CimStatus pathStatus;
    const cimgate::CimHandle<CMPIObjectPath> path =
        cimgate::newPath(nameSpace, className, pathStatus);
    if (pathStatus.failed() || path == nullptr) {
        LOG_AT(LOG_ERROR, "Error> newCMPIObjectPath: rc(%d) msg(%s)", pathStatus.code(),
               pathStatus.message());
        return pathStatus.code();
    }
    const Json::Value& names = cimgate::objectOf(keys);
    for (auto key = names.begin(); key != names.end(); ++key) {
        const std::string name = key.name();
        const std::string value = cimgate::textOf(*key);
        LOG_AT(LOG_FACT, " getInstance Keys Name (%s), Key(%s)", name.c_str(), value.c_str());
        cimgate::addTextKey(path.get(), name, value);
    }
    cimgate::CimStatus status;
    *out = mClient->ft->getInstance(mClient, path.get(), cimgate::kNoFlags, nullptr, status.out());
    if (status.failed()) {
        LOG_AT(LOG_ERROR, "Error> getInstance rc(%d), msg(%s)", status.code(), status.message());
    }
    return status.code();
}

int SfccSession::GetNextInstance(CMPIEnumeration* e, CMPIData& data)
{
    LOG_NAME("GetNextInstance");
    LOG_AT(LOG_STEP, "Entering GetNextInstance()");
    RM_ASSERT_TEXT(mClient != nullptr, "cc != NULL");
    RM_ASSERT_TEXT(e != nullptr, "pEnumHandle != NULL");
    cimgate::CimStatus status;
    const bool hasNext = e->ft->hasNext(e, status.out()) != 0;
    const bool isTaken = hasNext && !status.failed();
    if (isTaken) {
        cimgate::CimStatus ignored;
        data = e->ft->getNext(e, ignored.out());
    } else if (hasNext) {
        // Asking for the next element gives no message.
        LOG_AT(LOG_ERROR, "GetNextInstance: rc(%d) msg(%s)", status.code(), "(null)");
    }
    LOG_AT(LOG_STEP, "Leaving");
    return isTaken ? 1 : 0;
}

int SfccSession::GetObjectByPath(CMPIInstance* ci, Json::Value& keys)
{
    LOG_SCOPE();
    RM_ASSERT_TEXT(ci != nullptr, "pCI != NULL");
    cimgate::CimStatus status;
    const cimgate::CimHandle<CMPIObjectPath> path(ci->ft->getObjectPath(ci, status.out()));
    if (status.failed() || path == nullptr) {
        LOG_AT(LOG_ERROR, "Error in getting object path: rc(%d) msg(%s)", status.code(),
               status.message());
        return status.code();
    }
    cimgate::CimStatus countStatus;
    const unsigned int nKeys = path->ft->getKeyCount(path.get(), countStatus.out());
    RM_ASSERT(nKeys != 0);
    if (!keys.isObject()) {
        keys = Json::Value(Json::objectValue);
    }
    for (unsigned int i = 0; i < nKeys; ++i) {
        CMPIString* name = nullptr;
        cimgate::CimStatus keyStatus;
        const CMPIData data = path->ft->getKeyAt(path.get(), i, &name, keyStatus.out());
        const cimgate::CimHandle<CMPIString> owned(name);
        RM_ASSERT_TEXT(cimgate::charsOf(name) != nullptr, "pKeyName != NULL");
        const char* text = cimgate::keyText(data);
        keys[cimgate::charsOf(name)] = text == nullptr ? "" : text;
    }
    return CMPI_RC_OK;
}

int SfccSession::GetInstanceCount(CMPIEnumeration* e) const
{
    LOG_SCOPE();
    RM_ASSERT_TEXT(e != nullptr, "pEnumerationHandle != NULL");
    cimgate::CimStatus status;
    CMPIArray* array = e->ft->toArray(e, status.out()); // the enumeration's own
    if (array == nullptr) {
        LOG_AT(LOG_ERROR, "Error> toArray: rc(%d), msg(%s)", status.code(), status.message());
        return 0;
    }
    cimgate::CimStatus sizeStatus;
    return static_cast<int>(array->ft->getSize(array, sizeStatus.out()));
}

int SfccSession::InvokeMethod(CMPIData& result, const std::string& methodName, CMPIObjectPath* path,
                              CMPIArgs* in, CMPIArgs* out)
{
    LOG_SCOPE();
    RM_ASSERT_TEXT(mClient != nullptr, "cc != NULL");
    LOG_AT(LOG_STEP, "Invoke Method Name %s ", methodName.c_str());
    cimgate::CimStatus status;
    result = mClient->ft->invokeMethod(mClient, path, methodName.c_str(), in, out, status.out());
    if (status.failed()) {
        // The text of a failed enumeration: those who search the logs look for it here too.
        LOG_AT(LOG_ERROR, "Error> enumInstances: rc(%d), msg(%s)", status.code(), status.message());
    }
    return status.code();
}

std::string SfccSession::JsonValtoString(Json::Value& v)
{
    LOG_SCOPE();
    std::ostringstream text;
    switch (v.type()) {
    case Json::nullValue:
        break;
    case Json::intValue:
        text << static_cast<Json::LargestUInt>(v.asLargestInt());
        break;
    case Json::uintValue:
        text << v.asLargestUInt();
        break;
    case Json::booleanValue:
        text << (v.asBool() ? 1U : 0U);
        break;
    case Json::realValue:
        text << v.asDouble();
        break;
    case Json::stringValue:
        return v.asString();
    default:
        LOG_AT(LOG_ERROR, "Default case");
    }
    return text.str();
}
