#include "ResourceMapper/convert/InstanceToJson.h"

#include "CimHandles.h"
#include "CmpiToJson.h"
#include "Log.h"
#include "ResourceMapper/mapping/Entry.h"

#include <cstdint>
#include <optional>

namespace cimgate {

namespace {

constexpr unsigned int kSignedTypes = CMPI_sint8; // the smallest of their codes

std::string decimalOf(const CMPIData& data)
{
    unsigned long long number = 0;
    (void)cimIntValue(data.value, data.type, number);
    return data.type >= kSignedTypes ? std::to_string(static_cast<long long>(number))
                                     : std::to_string(number);
}

// What a value is looked up by in a value map; nothing for types that cannot be mapped.
std::optional<std::string> lookupKeyOf(const CMPIData& data)
{
    if ((data.type & CMPI_ARRAY) != 0) {
        return std::nullopt;
    }
    if ((data.type & CMPI_string) == CMPI_string) {
        const char* p = data.type == CMPI_chars ? data.value.chars : charsOf(data.value.string);
        RM_ASSERT_TEXT(p != nullptr, "p != NULL");
        return p;
    }
    if ((data.type & CMPI_INTEGER) != 0) {
        return decimalOf(data);
    }
    return std::nullopt;
}

void mapArray(const Json::Value& valueMap, const char* name, const CMPIData& data, Json::Value& out)
{
    if (data.state == CMPI_nullValue) {
        writableObject(out)[name] = Json::Value(Json::arrayValue);
        return;
    }
    CMPIArray* array = data.value.array;
    const CMPICount count = sizeOf(array);
    for (CMPICount i = 0; i < count; ++i) {
        CimStatus status;
        const CMPIData element = array->ft->getElementAt(array, i, status.out());
        Json::Value mapped;
        mapValue(valueMap, name, element, mapped);
        writableArray(writableObject(out)[name])[i] = std::move(mapped);
    }
}

} // namespace

void propertyToJson(const Json::Value& property, char* name, CMPIData& data, Json::Value& out)
{
    LOG_SCOPE_AS("DoCMPIDataToJson");
    const Json::Value& valueMap = mapping::valueMapOf(property);
    if (valueMap.empty()) {
        CmpiJson().CmpiDataToJson(name, data, out);
        return;
    }
    LOG_AT(LOG_STEP, "%s property requires  value-valuemap conversion", name);
    if ((data.type & CMPI_ARRAY) != 0) {
        mapArray(valueMap, name, data, out);
        return;
    }
    Json::Value mapped;
    mapValue(valueMap, name, data, mapped);
    if (!mapped.isNull()) {
        writableObject(out)[name] = std::move(mapped);
    }
}

void mapValue(const Json::Value& valueMap, const char* name, const CMPIData& data, Json::Value& out)
{
    LOG_SCOPE_AS("DoPropertyValueMap");
    const std::optional<std::string> key = lookupKeyOf(data);
    if (!key) {
        LOG_AT(LOG_ERROR, "Property(%s) supports value-valuemap, but the type(%d) is not supported",
               name, static_cast<int>(data.type));
        return;
    }
    std::string mapped;
    if (findMappedValue(valueMap, name, *key, mapped)) {
        out = mapped;
    }
}

bool findMappedValue(const Json::Value& valueMap, const char* name, std::string_view key,
                     std::string& value)
{
    LOG_SCOPE_AS("GetPropertyKeyValue");
    const Json::Value* mapped = findMember(valueMap, key);
    if (mapped == nullptr) {
        LOG_AT(LOG_ERROR, "%s key is not found in the value-valuemap of property %s", key.data(),
               name);
        return false;
    }
    value = textOf(*mapped);
    return true;
}

CMPIrc cimIntValue(const CMPIValue& value, unsigned int type, unsigned long long& result)
{
    LOG_SCOPE_AS("GetCimIntValue");
    switch (type) {
    case CMPI_uint8:
        result = value.uint8;
        break;
    case CMPI_uint16:
        result = value.uint16;
        break;
    case CMPI_uint32:
        result = static_cast<uint32_t>(value.uint32);
        break;
    case CMPI_uint64:
        result = value.uint64;
        break;
    case CMPI_sint8:
        // NOLINTNEXTLINE(bugprone-signed-char-misuse): a number, and the sign is wanted
        result = static_cast<unsigned long long>(value.sint8);
        break;
    case CMPI_sint16:
        result = static_cast<unsigned long long>(value.sint16);
        break;
    case CMPI_sint32:
        result = static_cast<unsigned long long>(static_cast<int32_t>(value.sint32));
        break;
    case CMPI_sint64:
        result = static_cast<unsigned long long>(value.sint64);
        break;
    default:
        return (type & CMPI_INTEGER) == 0 ? CMPI_RC_ERR_NOT_SUPPORTED : CMPI_RC_OK;
    }
    return CMPI_RC_OK;
}

} // namespace cimgate
