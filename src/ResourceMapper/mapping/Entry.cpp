#include "ResourceMapper/mapping/Entry.h"

#include "ListText.h"

#include <algorithm>

namespace cimgate::mapping {

namespace {

constexpr const char* kVendorWord = "Vexo";

void registerActions(const Json::Value& entry, std::vector<RegisteredUri>& uris)
{
    const Json::Value& classes = objectOf(memberOf(entry, kMappings));
    for (auto cimClass = classes.begin(); cimClass != classes.end(); ++cimClass) {
        for (const Json::Value& action : actionsOf(entry, cimClass.name())) {
            std::string target = textOf(action, kTarget);
            if (!target.empty()) {
                uris.push_back({std::move(target), Method::Post, &entry});
            }
        }
    }
}

// Where only the way of a request is asked for, nothing is logged: what is wrong with an entry is
// logged when the request is answered.
const Json::Value& silentMember(const Json::Value& value, std::string_view key)
{
    const Json::Value* member =
        value.isObject() ? value.find(key.data(), key.data() + key.size()) : nullptr;
    return member == nullptr ? Json::Value::nullSingleton() : *member;
}

bool hasText(const Json::Value& entry, std::string_view key)
{
    const Json::Value& value = silentMember(entry, key);
    return value.isConvertibleTo(Json::stringValue) && !value.asString().empty();
}

bool isCached(const Json::Value& cimClass)
{
    const Json::Value& flag = silentMember(cimClass, kIsCached);
    return flag.isConvertibleTo(Json::booleanValue) && flag.asBool();
}

bool entryHasCachedClass(const Json::Value& entry)
{
    const Json::Value& classes = silentMember(entry, kMappings);
    return classes.isObject() && std::any_of(classes.begin(), classes.end(), isCached);
}

} // namespace

const Json::Value& classOf(const Json::Value& entry, const std::string& cimClass)
{
    return memberOf(memberOf(entry, kMappings), cimClass);
}

const Json::Value& propertiesOf(const Json::Value& entry, const std::string& cimClass)
{
    return objectOf(memberOf(classOf(entry, cimClass), kProperties));
}

const Json::Value& actionsOf(const Json::Value& entry, const std::string& cimClass)
{
    return objectOf(memberOf(classOf(entry, cimClass), kActions));
}

const Json::Value& valueMapOf(const Json::Value& declaration)
{
    return objectOf(memberOf(declaration, kValueMapping));
}

std::string classNameOf(const Json::Value& entry)
{
    return firstMemberName(memberOf(entry, kMappings));
}

const Json::Value& memberEntryOf(const Json::Value& mapping, const Json::Value& entry)
{
    const Json::Value* member = &entry;
    for (Json::ArrayIndex steps = 0; steps <= mapping.size() && flagOf(*member, kIsCollection);
         ++steps) {
        member = &memberOf(mapping, classNameOf(*member));
    }
    return *member;
}

bool hasVendorWord(std::string_view resourceName)
{
    return resourceName.find(kVendorWord) != std::string_view::npos;
}

std::optional<std::string> brokenSelectorOf(const std::string& selectors)
{
    if (selectors.empty()) {
        return std::nullopt;
    }
    const std::vector<std::string_view> items = itemsOf(selectors);
    const auto broken = std::find_if(items.begin(), items.end(), [](std::string_view item) {
        return !selectorOf(item).has_value();
    });
    return broken == items.end() ? std::nullopt : std::optional(std::string(*broken));
}

std::vector<RegisteredUri> registeredUris(const Json::Value& mapping)
{
    std::vector<RegisteredUri> uris;
    for (auto entry = mapping.begin(); entry != mapping.end(); ++entry) {
        if (!hasVendorWord(nameOf(entry))) {
            continue;
        }
        std::string uri = textOf(*entry, kOdataId);
        if (!uri.empty()) {
            uris.push_back({std::move(uri), Method::Get, &*entry});
            registerActions(*entry, uris);
        }
    }
    return uris;
}

Source sourceOf(const Json::Value& entry, const std::string& cimClass, bool isCollection)
{
    if (isCollection || hasText(entry, kUniqueSelector)) {
        return isCached(silentMember(silentMember(entry, kMappings), cimClass)) ? Source::DataCache
                                                                                : Source::Cim;
    }
    return hasText(entry, kSelectors) ? Source::Cim : Source::MappingFile;
}

bool hasCachedClass(const Json::Value& mapping)
{
    return std::any_of(mapping.begin(), mapping.end(), entryHasCachedClass);
}

} // namespace cimgate::mapping
