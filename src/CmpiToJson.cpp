#include "CmpiToJson.h"

#include "CimHandles.h"
#include "JsonAccess.h"
#include "LocalTime.h"
#include "Log.h"

#include <cmath>
#include <cstdint>
#include <string>

using enum cimgate::LogLevel;

namespace cimgate {

namespace {

constexpr const char* kJobs = "/redfish/v1/Managers/Tavix.Embedded.1/Jobs/";
constexpr const char* kDeploymentTask = "/redfish/v1/TaskService/Tasks/OSDeployment";

const char* textOrNull(const char* text)
{
    return text == nullptr ? "NULL" : text;
}

std::string localDateTime(CMPIDateTime* dateTime)
{
    if (dateTime == nullptr) {
        return {};
    }
    CimStatus status;
    const uint64_t us = dateTime->ft->getBinaryFormat(dateTime, status.out());
    if (status.failed()) {
        LOG_AT(LOG_ERROR, "%s: Error while getting time in Binary Format", "PopulateCmpiENCValues");
        return {};
    }
    return localTimeText(static_cast<time_t>(us / kUsPerSecond));
}

// The id of the job that a reference names by its first key; "" where there is none to be read.
std::string jobIdOf(CMPIObjectPath* reference)
{
    if (reference == nullptr) {
        return {};
    }
    CimStatus status;
    CMPIString* keyName = nullptr;
    const CMPIData key = reference->ft->getKeyAt(reference, 0, &keyName, status.out());
    const CimHandle<CMPIString> owned(keyName);
    const char* id =
        status.failed() || key.type != CMPI_string ? nullptr : charsOf(key.value.string);
    return id == nullptr ? "" : id;
}

} // namespace

} // namespace cimgate

int CmpiJson::PopulateCmpiENCValues(char* name, CMPIValue* value, unsigned short type,
                                    Json::Value& out)
{
    LOG_SCOPE();
    switch (type) {
    case CMPI_string:
    case CMPI_booleanString:
    case CMPI_numericString:
    case CMPI_dateTimeString:
        cimgate::writableObject(out)[name] = cimgate::textOrNull(cimgate::charsOf(value->string));
        return 1;
    case CMPI_chars:
        cimgate::writableObject(out)[name] = cimgate::textOrNull(value->chars);
        return 1;
    case CMPI_dateTime:
        cimgate::writableObject(out)[name] = cimgate::localDateTime(value->dateTime);
        return 1;
    case CMPI_instance:
    case CMPI_ref:
    case CMPI_args:
    case CMPI_filter:
        LOG_AT(LOG_STEP, "CmpiJson::PopulateCmpiENCValues Unsupported Data Types");
        return 0;
    default:
        LOG_AT(LOG_STEP, "CmpiJson::PopulateCmpiENCValues: Did not match data types");
        return 1;
    }
}

int CmpiJson::PopulateCmpiSimpleValues(char* name, CMPIValue* value, unsigned short type,
                                       Json::Value& out)
{
    LOG_SCOPE();
    if (type == CMPI_boolean) {
        cimgate::writableObject(out)[name] = value->boolean != 0;
    } else if (type != CMPI_char16) {
        LOG_AT(LOG_STEP, "CmpiJson::PopulateCmpiSimpleValues : Did not match data types");
    }
    return type == CMPI_char16 ? 0 : 1;
}

int CmpiJson::PopulateCmpiRealValues(char* name, CMPIValue* value, unsigned short type,
                                     Json::Value& out)
{
    LOG_SCOPE();
    if (type == CMPI_real32 || type == CMPI_real64) {
        const double real =
            type == CMPI_real64 ? value->real64 : static_cast<double>(value->real32);
        // JSON has no number for what is infinite or none.
        out[name] = std::isfinite(real) ? Json::Value(real) : Json::Value();
    } else {
        LOG_AT(LOG_STEP, "CmpiJson::PopulateCmpiRealValues : Did not match data types");
    }
    return 1;
}

// Of 32-bit values only the low 32 bits count: the client's types are as wide as a long, and not
// every transport fills them.
int CmpiJson::PopulateCmpiIntegerValues(char* name, CMPIValue* value, unsigned short type,
                                        Json::Value& out)
{
    LOG_SCOPE();
    switch (type) {
    case CMPI_uint8:
        cimgate::writableObject(out)[name] = Json::UInt{value->uint8};
        break;
    case CMPI_uint16:
        cimgate::writableObject(out)[name] = Json::UInt{value->uint16};
        break;
    case CMPI_uint32:
        cimgate::writableObject(out)[name] = static_cast<Json::UInt>(value->uint32);
        break;
    case CMPI_uint64:
        cimgate::writableObject(out)[name] = static_cast<Json::UInt64>(value->uint64);
        break;
    case CMPI_sint8:
        cimgate::writableObject(out)[name] = Json::Int{value->sint8};
        break;
    case CMPI_sint16:
        cimgate::writableObject(out)[name] = Json::Int{value->sint16};
        break;
    case CMPI_sint32:
        cimgate::writableObject(out)[name] = static_cast<Json::Int>(value->sint32);
        break;
    case CMPI_sint64:
        // Clients have always been shown 32 bits.
        cimgate::writableObject(out)[name] = static_cast<Json::Int>(value->sint64);
        break;
    default:
        LOG_AT(LOG_STEP, "CmpiJson::PopulateCmpiIntegerValues: Did not match data types");
    }
    return 1;
}

int CmpiJson::CmpiDataToJson(char* name, CMPIData& data, Json::Value& out)
{
    LOG_SCOPE();
    RM_ASSERT_TEXT(name != nullptr, "pProperty");
    if (data.state == CMPI_nullValue) {
        cimgate::writableObject(out)[name] = Json::Value::nullSingleton();
        return 1;
    }
    const bool isEmptyArray = data.type == CMPI_null && data.state == CMPI_goodValue;
    if ((data.type & CMPI_ARRAY) != 0 || isEmptyArray) {
        return PopulateCmpiArrayValues(name, &data.value, data.type, out);
    }
    if ((data.type & CMPI_ENC) != 0) {
        return PopulateCmpiENCValues(name, &data.value, data.type, out);
    }
    if ((data.type & CMPI_SIMPLE) != 0) {
        return PopulateCmpiSimpleValues(name, &data.value, data.type, out);
    }
    if ((data.type & CMPI_INTEGER) != 0) {
        return PopulateCmpiIntegerValues(name, &data.value, data.type, out);
    }
    if ((data.type & CMPI_REAL) != 0) {
        return PopulateCmpiRealValues(name, &data.value, data.type, out);
    }
    return 1;
}

int CmpiJson::PopulateCmpiArrayValues(char* name, CMPIValue* value, unsigned short type,
                                      Json::Value& out)
{
    LOG_SCOPE();
    const std::string countName = std::string(name) + "@odata.count";
    if (type == CMPI_null) {
        cimgate::writableObject(out)[name] = Json::Value(Json::arrayValue);
        cimgate::writableObject(out)[countName] = 0U;
        return 1;
    }
    CMPIArray* array = value->array;
    const CMPICount count = cimgate::sizeOf(array);
    cimgate::writableObject(out)[countName] = count;
    for (CMPICount i = 0; i < count; ++i) {
        cimgate::CimStatus status;
        CMPIData element = array->ft->getElementAt(array, i, status.out());
        if (status.failed()) {
            continue;
        }
        Json::Value converted(Json::objectValue);
        CmpiDataToJson(name, element, converted);
        cimgate::writableArray(cimgate::writableObject(out)[name])[i] =
            converted.isMember(name) ? std::move(converted[name]) : Json::Value(0);
    }
    return 1;
}

int CmpiJson::CmpiJobRefToJson(char* /*name*/, CMPIData data, Json::Value& /*out*/,
                               odata::Scope& scope)
{
    LOG_SCOPE();
    std::string location = cimgate::jobIdOf(data.value.ref);
    if (location.find("JID") != std::string::npos) {
        location.insert(0, cimgate::kJobs);
    } else if (location.find("OSD") != std::string::npos) {
        location = cimgate::kDeploymentTask;
    }
    scope.SetHeader("Location", location.c_str());
    return 1;
}

int CmpiJson::CmpiInstanceToJson(char* name, CMPIData data, Json::Value& out)
{
    return CmpiDataToJson(name, data, out);
}

int CmpiJson::InvokeOutputToJson(Json::Value& out, CMPIArgs* outArgs, odata::Scope& scope)
{
    LOG_SCOPE();
    int result = 1;
    if (outArgs == nullptr) {
        return result;
    }
    cimgate::CimStatus countStatus;
    const unsigned int count = outArgs->ft->getArgCount(outArgs, countStatus.out());
    for (unsigned int i = 0; i < count; ++i) {
        cimgate::CimStatus status;
        CMPIString* nameString = nullptr;
        CMPIData data = outArgs->ft->getArgAt(outArgs, i, &nameString, status.out());
        const cimgate::CimHandle<CMPIString> owned(nameString);
        if (cimgate::charsOf(nameString) == nullptr) {
            continue;
        }
        char* name = static_cast<char*>(nameString->hdl);
        // A method that started no job gives a null reference: an output like any other.
        const bool isJob = data.type == CMPI_ref && data.state != CMPI_nullValue;
        result = isJob ? CmpiJobRefToJson(name, data, out, scope) : CmpiDataToJson(name, data, out);
    }
    return result;
}
