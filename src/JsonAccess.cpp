#include "JsonAccess.h"

#include "Log.h"

#include <exception>
#include <istream>

namespace {

void logUnexpectedType(const char* wanted, const Json::Value& value)
{
    LOG_AT(LOG_ERROR, "Unexpected JSON type %d where %s is needed", static_cast<int>(value.type()),
           wanted);
}

} // namespace

const Json::Value& objectOf(const Json::Value& value)
{
    if (value.isObject() || value.isNull()) {
        return value;
    }
    logUnexpectedType("an object", value);
    return Json::Value::nullSingleton();
}

const Json::Value& arrayOf(const Json::Value& value)
{
    if (value.isArray() || value.isNull()) {
        return value;
    }
    logUnexpectedType("an array", value);
    return Json::Value::nullSingleton();
}

const Json::Value& memberOf(const Json::Value& value, std::string_view key)
{
    const Json::Value* member = objectOf(value).find(key.data(), key.data() + key.size());
    return member == nullptr ? Json::Value::nullSingleton() : *member;
}

bool hasMember(const Json::Value& value, std::string_view key)
{
    return objectOf(value).find(key.data(), key.data() + key.size()) != nullptr;
}

std::string textOf(const Json::Value& value)
{
    if (value.isConvertibleTo(Json::stringValue)) {
        return value.asString();
    }
    logUnexpectedType("a string", value);
    return {};
}

std::string textOf(const Json::Value& value, std::string_view key)
{
    return textOf(memberOf(value, key));
}

bool flagOf(const Json::Value& value, std::string_view key)
{
    const Json::Value& flag = memberOf(value, key);
    if (flag.isConvertibleTo(Json::booleanValue)) {
        return flag.asBool();
    }
    logUnexpectedType("a boolean", flag);
    return false;
}

std::string firstMemberName(const Json::Value& value)
{
    const Json::Value& object = objectOf(value);
    return object.empty() ? std::string() : object.begin().name();
}

bool readJson(std::istream& in, Json::Value& out)
{
    try {
        Json::Reader reader;
        return reader.parse(in, out, false);
    } catch (const std::exception& error) { // nesting beyond the reader's limit
        LOG_AT(LOG_ERROR, "JSON reader gave up: %s", error.what());
        return false;
    }
}

std::string writeJson(const Json::Value& value)
{
    return Json::FastWriter().write(value);
}
