#include "worker/mapping_lookup.h"

namespace host {

namespace {

const Json::Value& memberOf(const Json::Value& object, std::string_view key)
{
    const Json::Value* member =
        object.isObject() ? object.find(key.data(), key.data() + key.size()) : nullptr;
    return member == nullptr ? Json::Value::nullSingleton() : *member;
}

bool isCached(const Json::Value& cimClass)
{
    const Json::Value& flag = memberOf(cimClass, "is_cached");
    return flag.isConvertibleTo(Json::booleanValue) && flag.asBool();
}

bool entryHasCachedClass(const Json::Value& entry)
{
    const Json::Value& classes = memberOf(entry, "mappings");
    if (classes.isObject()) {
        for (const Json::Value& cimClass : classes) {
            if (isCached(cimClass)) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

bool hasText(const Json::Value& entry, std::string_view key)
{
    const Json::Value& value = memberOf(entry, key);
    return value.isConvertibleTo(Json::stringValue) && !value.asString().empty();
}

bool isCachedClass(const Json::Value& entry, const std::string& cimClass)
{
    return isCached(memberOf(memberOf(entry, "mappings"), cimClass));
}

bool hasCachedClass(const Json::Value& mapping)
{
    for (const Json::Value& entry : mapping) {
        if (entryHasCachedClass(entry)) {
            return true;
        }
    }
    return false;
}

} // namespace host
