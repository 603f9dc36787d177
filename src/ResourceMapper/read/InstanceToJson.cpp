#include "ResourceMapper/read/InstanceToJson.h"

#include "CimHandles.h"
#include "Log.h"
#include "ResourceMapper/convert/InstanceToJson.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/mapping/Resource.h"
#include "ResourceMapper/read/Annotations.h"
#include "ResourceMapper/read/Instances.h"

#include <string_view>
#include <vector>

namespace cimgate {

namespace {

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

_ResourceMapperError convertInstance(ResourceMapper& mapper, CMPIInstance* instance,
                                     Json::Value& out, const Json::Value& selectList)
{
    LOG_SCOPE_AS("ConvertCMPIInstanceToJson");
    RM_ASSERT_TEXT(instance != nullptr, "pCi != NULL");
    constexpr const char* kNoLiveSelect = "The reques does not have select filter"; // spelled so
    std::vector<MappedProperty> properties;
    Json::Value names;
    if (selectList.empty()) {
        LOG_AT(LOG_STEP, "%s", kNoLiveSelect);
        properties = allOf(classProperties(mapper));
    } else {
        names = propertyNames(mapper);
        if (const auto rc = narrowBySelect(mapper, selectList, kNoLiveSelect, names); rc != RM_OK) {
            return rc;
        }
        properties = namedOf(classProperties(mapper), names);
    }
    for (const MappedProperty& property : properties) {
        char* name = mutableName(property.name);
        CimStatus status; // of a property that the instance lacks: its data says so too
        CMPIData data = instance->ft->getProperty(instance, name, status.out());
        propertyToJson(*property.entry, name, data, out);
    }
    // A $select that no action matches does not fail a live read: it shows them all.
    (void)annotateLive(mapper, out, selectList);
    for (const MappedProperty& property : properties) {
        moveToAlias(property, out);
    }
    return RM_OK;
}

} // namespace cimgate
