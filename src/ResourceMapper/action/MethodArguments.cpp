#include "ResourceMapper/action/MethodArguments.h"

#include "CimNameSpace.h"
#include "CimText.h"
#include "IsoTime.h"
#include "ListText.h"
#include "Log.h"
#include "MessageArguments.h"
#include "ResourceMapper/mapping/Entry.h"

#include <CimClientLib/native.h>

#include <cstdlib>
#include <sstream>

namespace cimgate {

namespace {

// Where a date-time's digits stand in "2024-05-01T10:20:30...".
struct Digits
{
    size_t at;
    size_t count;
};
constexpr Digits kDateTimeDigits[] = {{0, 4}, {5, 2}, {8, 2}, {11, 2}, {14, 2}, {17, 2}};
// Providers know it like this, without the offset that the client has sent.
constexpr const char* kCimTimeSuffix = ".000000:000";

std::string cimTime(const std::string& isoTime)
{
    std::string text;
    for (const Digits& digits : kDateTimeDigits) {
        text += isoTime.substr(digits.at, digits.count);
    }
    return text + kCimTimeSuffix;
}

std::string realText(double value)
{
    std::ostringstream text;
    text << value;
    return text.str();
}

std::string joined(const Json::Value& array)
{
    std::string text;
    for (Json::ArrayIndex i = 0; i < array.size(); ++i) {
        text += argumentText(array[i], nullptr) + ",";
    }
    text.pop_back(); // there is at least one element
    return text;
}

std::string stringText(const Json::Value& value, const char* type)
{
    std::string text = value.asString();
    const bool isTime = type != nullptr && isDateTimeType(type) && isIsoTime(text);
    return isTime ? cimTime(text) : text;
}

CimHandle<CMPIArray> newArray(CMPICount size, CMPIType elementType)
{
    CimStatus status;
    CimHandle<CMPIArray> pArray(native_new_CMPIArray(size, elementType, status.out()));
    RM_ASSERT_TEXT(pArray != nullptr, "pArray != NULL");
    return pArray;
}

void setString(CMPIArray* array, CMPICount index, const std::string& text)
{
    const CimHandle<CMPIString> string(native_new_CMPIString(text.c_str(), nullptr));
    RM_ASSERT_TEXT(string != nullptr, "value.string");
    CMPIValue value = {};
    value.string = string.get();
    const CimStatus ignored(array->ft->setElementAt(array, index, &value, CMPI_string));
}

void setNumber(CMPIArray* array, CMPICount index, const std::string& text)
{
    constexpr int kDecimal = 10;
    CMPIValue value = {};
    value.uint16 = static_cast<CMPIUint16>(std::strtol(text.c_str(), nullptr, kDecimal));
    const CimStatus ignored(array->ft->setElementAt(array, index, &value, CMPI_uint16));
}

void addArrayArgument(CMPIArgs* args, const std::string& name, CMPIArray* array, CMPIType type)
{
    CMPIValue value = {};
    value.array = array;
    const CimStatus ignored(args->ft->addArg(args, name.c_str(), &value, type));
}

// Elements that the map does not know stay unset.
void addMappedArray(const Json::Value& elements, const std::string& argName, CMPIArgs* args,
                    const Json::Value& map, bool isString)
{
    const CimHandle<CMPIArray> array =
        newArray(elements.size(), isString ? CMPI_string : CMPI_uint16);
    for (auto mapped = map.begin(); mapped != map.end(); ++mapped) {
        const std::string cimValue = mapped.name();
        const std::string redfishValue = textOf(*mapped);
        for (Json::ArrayIndex i = 0; i < elements.size(); ++i) {
            const std::string text = argumentText(elements[i], nullptr);
            if (text != redfishValue) {
                continue;
            }
            if (isString) {
                LOG_AT(LOG_FACT, "%s mapped to %s", text.c_str(), cimValue.c_str());
                setString(array.get(), i, cimValue);
            } else {
                setNumber(array.get(), i, cimValue);
            }
        }
    }
    addArrayArgument(args, argName, array.get(), isString ? CMPI_stringA : CMPI_uint16A);
}

// Whatever the declared type of its elements, it goes as strings: the object manager knows it.
void addPlainArray(const Json::Value& elements, const std::string& argName, CMPIArgs* args)
{
    const CimHandle<CMPIArray> array = newArray(elements.size(), CMPI_string);
    for (Json::ArrayIndex i = 0; i < elements.size(); ++i) {
        const std::string text = argumentText(elements[i], nullptr);
        if (!text.empty()) {
            setString(array.get(), i, text);
        }
    }
    addArrayArgument(args, argName, array.get(), CMPI_stringA);
}

// "name=value,name=value" as keys of a path.
void addFixedKeys(CMPIObjectPath* path, const std::string& fixed)
{
    if (fixed.empty()) {
        return;
    }
    for (const std::string_view item : itemsOf(fixed)) {
        const std::optional<Selector> selector = selectorOf(item);
        RM_ASSERT_TEXT(selector.has_value(), "eq_pos != std::string::npos");
        addTextKey(path, selector->name, selector->value);
    }
}

// SFCC keeps the key of a reference in a buffer of 2048 bytes and does not check its length.
constexpr size_t kMaxUriBytes = 1024;

// A resource's URI by its two last segments; both are empty where it has no such shape.
struct ResourceAddress
{
    explicit ResourceAddress(const std::string& uri)
    {
        const size_t slash = uri.rfind('/');
        if (slash == std::string::npos || uri.size() > kMaxUriBytes) {
            return;
        }
        const std::string prefix = uri.substr(0, slash);
        const size_t parent = prefix.rfind('/');
        // Of "/Name" the slash stays, so that no resource is found.
        resource = parent == 0 || parent == std::string::npos ? prefix : prefix.substr(parent + 1);
        keyVal = uri.substr(slash + 1);
    }

    std::string resource;
    std::string keyVal;
};

} // namespace

std::string argumentText(const Json::Value& value, const char* type)
{
    if (value.empty()) {
        return {};
    }
    LOG_SCOPE_AS("JsonValtoString");
    switch (value.type()) {
    case Json::intValue: // may be negative
        return std::to_string(value.asLargestInt());
    case Json::uintValue:
        return std::to_string(value.asLargestUInt());
    case Json::realValue:
        return realText(value.asDouble());
    case Json::stringValue:
        return stringText(value, type);
    case Json::booleanValue:
        return value.asBool() ? "true" : "false";
    case Json::arrayValue:
        return joined(value);
    default:
        LOG_AT(LOG_STEP, "default case");
        return {};
    }
}

unsigned int makeInstancePath(const ResourceMapper& mapper, CMPIObjectPath** path)
{
    LOG_SCOPE_AS("AddSelectorSet");
    CimStatus status;
    *path = newCMPIObjectPath(kCimNameSpace, mapper.mCimClass.c_str(), status.out());
    if (status.failed() || *path == nullptr) {
        return RM_INTERNAL_ERROR;
    }
    const Json::Value& selectors = objectOf(mapper.mSelectorSet);
    for (auto selector = selectors.begin(); selector != selectors.end(); ++selector) {
        const std::string key = selector.name();
        const std::string value = textOf(*selector);
        LOG_AT(LOG_STEP, "KeyName(%s) Value(%s)", key.c_str(), value.c_str());
        addTextKey(*path, key, value);
    }
    return RM_OK;
}

void addMappedValue(CMPIArgs* args, const std::string& name, const std::string& argName,
                    const std::string& text, const Json::Value& inputs)
{
    LOG_SCOPE_AS("PopulateMappedValues");
    const Json::Value& map = mapping::valueMapOf(memberOf(inputs, name));
    for (auto mapped = map.begin(); mapped != map.end(); ++mapped) {
        if (textOf(*mapped) == text) {
            const std::string cimValue = mapped.name();
            LOG_AT(LOG_FACT, "Mapped Value for %s : %s", text.c_str(), cimValue.c_str());
            addTextArgument(args, argName, cimValue); // object managers make a number of it
            break;
        }
    }
}

void addArray(CMPIArgs* args, const std::string& argName, const Json::Value& value,
              const Json::Value& inputs)
{
    LOG_SCOPE_AS("addArrayValsToArg");
    const Json::Value& elements = arrayOf(value);
    const Json::Value& map = mapping::valueMapOf(memberOf(inputs, argName));
    const bool isString = textOf(memberOf(inputs, argName), mapping::kCimType) == "string";
    if (isString) {
        LOG_AT(LOG_FACT, "CMPI Array of Strings required");
    }
    if (map.empty()) {
        addPlainArray(elements, argName, args);
    } else {
        addMappedArray(elements, argName, args, map, isString);
    }
}

unsigned int addReference(CMPIArgs* args, const std::string& argName, const std::string& name,
                          const std::string& uri, Json::Value& errorArgs)
{
    LOG_SCOPE_AS("AddRefToArgs");
    const ResourceAddress address(uri);
    if (!address.resource.empty()) {
        LOG_AT(LOG_FACT, "Resource name %s , KeyVal %s", address.resource.c_str(),
               address.keyVal.c_str());
    }
    const Json::Value& entry = memberOf(ResourceMapper::RmfObj, address.resource);
    const std::string cimClass = mapping::classNameOf(entry);
    if (address.resource.empty() || cimClass.empty()) {
        setMessageArguments(errorArgs, {uri, name});
        return RM_PROPERTY_VALUE_NOT_IN_LIST;
    }
    const CimHandle<CMPIObjectPath> op(newCMPIObjectPath(kCimNameSpace, cimClass.c_str(), nullptr));
    RM_ASSERT_TEXT(op != nullptr, "op != NULL");
    addFixedKeys(op.get(), textOf(entry, mapping::kSelectors));
    const std::string unique = textOf(entry, mapping::kUniqueSelector);
    if (!unique.empty()) {
        LOG_AT(LOG_FACT, "UniqueKey %s", unique.c_str());
        addTextKey(op.get(), unique, address.keyVal);
    }
    CMPIValue value = {};
    value.ref = op.get();
    const CimStatus ignored(args->ft->addArg(args, argName.c_str(), &value, CMPI_ref));
    return RM_OK;
}

} // namespace cimgate
