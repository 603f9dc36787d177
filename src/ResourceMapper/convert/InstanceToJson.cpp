// From a CIM instance to the JSON of the answer.
#include "CimHandles.h"
#include "CmpiToJson.h"
#include "Log.h"
#include "ResourceMapper.h"
#include "ResourceMapper/mapping/Entry.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

using namespace cimgate; // NOLINT(google-build-using-namespace): most of what stands here

namespace {

constexpr unsigned int kSignedTypes = CMPI_sint8; // the smallest of their codes

// A property to convert: its name, NUL-terminated, and its entry in the mapping file.
struct MappedProperty
{
    std::string_view name;
    const Json::Value* entry;
};

// CMPI takes names as char*, and reads them only.
char* mutableName(std::string_view name)
{
    return const_cast<char*>(name.data());
}

std::string_view viewOf(const Json::Value& text)
{
    const char* begin = nullptr;
    const char* end = nullptr;
    (void)text.getString(&begin, &end);
    return {begin, static_cast<size_t>(end - begin)};
}

std::vector<MappedProperty> allOf(const Json::Value& properties)
{
    std::vector<MappedProperty> all;
    all.reserve(properties.size());
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        all.push_back({nameOf(property), &*property});
    }
    return all;
}

std::vector<MappedProperty> namedOf(const Json::Value& properties, const Json::Value& names)
{
    std::vector<MappedProperty> named;
    named.reserve(names.size());
    for (const Json::Value& name : names) {
        named.push_back({viewOf(name), &memberOf(properties, viewOf(name))});
    }
    return named;
}

CMPIrc widen(const CMPIValue& value, unsigned int type, unsigned long long& result)
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

std::string decimalOf(const CMPIData& data)
{
    unsigned long long number = 0;
    (void)widen(data.value, data.type, number);
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

bool findMapped(const Json::Value& valueMap, const char* name, std::string_view key,
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

// out becomes what the value is shown as; unchanged where that is nothing.
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
    if (findMapped(valueMap, name, *key, mapped)) {
        out = mapped;
    }
}

void mapArray(const Json::Value& valueMap, const char* name, const CMPIData& data, Json::Value& out)
{
    if (data.state == CMPI_nullValue) {
        out[name] = Json::Value(Json::arrayValue);
        return;
    }
    CMPIArray* array = data.value.array;
    CimStatus sizeStatus;
    const CMPICount count = array == nullptr ? 0 : array->ft->getSize(array, sizeStatus.out());
    for (CMPICount i = 0; i < count; ++i) {
        CimStatus status;
        const CMPIData element = array->ft->getElementAt(array, i, status.out());
        Json::Value mapped;
        mapValue(valueMap, name, element, mapped);
        out[name][i] = std::move(mapped);
    }
}

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
        out[name] = std::move(mapped);
    }
}

void moveToAlias(const MappedProperty& property, Json::Value& out)
{
    const std::string alias = textOf(*property.entry, mapping::kAlias);
    if (alias.empty() || alias == property.name || !hasMember(out, property.name)) {
        return;
    }
    Json::Value value;
    out.removeMember(property.name.data(), property.name.data() + property.name.size(), &value);
    out[alias] = std::move(value);
}

} // namespace

_ResourceMapperError ResourceMapper::ConvertCMPIInstanceToJson(CMPIInstance* instance,
                                                               Json::Value& out,
                                                               Json::Value& selectList)
{
    return convertInstance(instance, out, selectList);
}

_ResourceMapperError ResourceMapper::convertInstance(CMPIInstance* instance, Json::Value& out,
                                                     const Json::Value& selectList)
{
    LOG_SCOPE_AS("ConvertCMPIInstanceToJson");
    RM_ASSERT_TEXT(instance != nullptr, "pCi != NULL");
    constexpr const char* kNoLiveSelect = "The reques does not have select filter"; // spelled so
    std::vector<MappedProperty> properties;
    Json::Value names;
    if (selectList.empty()) {
        LOG_AT(LOG_STEP, "%s", kNoLiveSelect);
        properties = allOf(classProperties());
    } else {
        GetCimClassProperties(names);
        if (const auto rc = narrowBySelect(selectList, kNoLiveSelect, names); rc != RM_OK) {
            return rc;
        }
        properties = namedOf(classProperties(), names);
    }
    for (const MappedProperty& property : properties) {
        char* name = mutableName(property.name);
        CimStatus status; // of a property that the instance lacks: its data says so too
        CMPIData data = instance->ft->getProperty(instance, name, status.out());
        propertyToJson(*property.entry, name, data, out);
    }
    // A $select that no action matches does not fail a live read: it shows them all.
    (void)annotateLive(out, selectList);
    for (const MappedProperty& property : properties) {
        moveToAlias(property, out);
    }
    return RM_OK;
}

void ResourceMapper::DoCMPIDataToJson(char* name, CMPIData& data, Json::Value& out) const
{
    RM_ASSERT_TEXT(name != nullptr, "pName != NULL");
    propertyToJson(memberOf(mapping::propertiesOf(mResourceObj, mCimClass), name), name, data, out);
}

void ResourceMapper::DoPropertyValueMap(char* name, CMPIData& data, Json::Value& out) const
{
    const Json::Value& properties = mapping::propertiesOf(mResourceObj, mCimClass);
    Json::Value mapped;
    mapValue(mapping::valueMapOf(memberOf(properties, name)), name, data, mapped);
    if (!mapped.isNull()) {
        out[name] = std::move(mapped);
    }
}

bool ResourceMapper::GetPropertyKeyValue(char* name, char* key, std::string& value) const
{
    RM_ASSERT_TEXT(name != nullptr, "pName != NULL");
    RM_ASSERT_TEXT(key != nullptr, "pKey != NULL");
    const Json::Value& properties = mapping::propertiesOf(mResourceObj, mCimClass);
    return findMapped(mapping::valueMapOf(memberOf(properties, name)), name, key, value);
}

CMPIrc ResourceMapper::GetCimIntValue(CMPIValue& value, unsigned short type,
                                      unsigned long long& result)
{
    return widen(value, type, result);
}
