#include "JsonAccess.h"

#include "Log.h"

#include <algorithm>
#include <array>
#include <exception>
#include <istream>
#include <limits>
#include <utility>

namespace cimgate {

namespace {

void logUnexpectedType(const char* wanted, const Json::Value& value)
{
    LOG_AT(LOG_ERROR, "Unexpected JSON type %d where %s is needed", static_cast<int>(value.type()),
           wanted);
}

// Which bytes stand in a JSON text as they are.
using Bytes = std::array<bool, std::numeric_limits<unsigned char>::max() + 1>;

constexpr Bytes kPlainBytes = [] {
    Bytes plain{};
    for (unsigned char byte = ' '; byte <= '~'; ++byte) {
        plain[byte] = byte != '"' && byte != '\\';
    }
    return plain;
}();

bool isPlain(std::string_view text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return kPlainBytes[static_cast<unsigned char>(c)]; });
}

Json::Value& asType(Json::Value& value, Json::ValueType type)
{
    if (!value.isNull() && value.type() != type) {
        value = Json::Value(type);
    }
    return value;
}

void appendByJsoncpp(const Json::Value& value, std::string& out)
{
    out += Json::FastWriter().write(value);
    out.pop_back(); // its newline
}

void appendText(std::string_view text, std::string& out)
{
    if (isPlain(text)) {
        out += '"';
        out += text;
        out += '"';
    } else {
        appendByJsoncpp(Json::Value(text.data(), text.data() + text.size()), out);
    }
}

void append(const Json::Value& value, std::string& out);

void appendArray(const Json::Value& array, std::string& out)
{
    char separator = '[';
    for (Json::ArrayIndex i = 0; i < array.size(); ++i) { // an iterator skips what was never set
        out += separator;
        append(array[i], out);
        separator = ',';
    }
    out += array.empty() ? "[]" : "]";
}

void appendObject(const Json::Value& object, std::string& out)
{
    char separator = '{';
    for (auto member = object.begin(); member != object.end(); ++member) {
        out += separator;
        appendText(nameOf(member), out);
        out += ':';
        append(*member, out);
        separator = ',';
    }
    out += object.empty() ? "{}" : "}";
}

// What Json::FastWriter writes, without the list of names and the look-ups that it makes for each
// object, nor its strings for each text.
void append(const Json::Value& value, std::string& out)
{
    const char* begin = nullptr;
    const char* end = nullptr;
    switch (value.type()) {
    case Json::nullValue:
        out += "null";
        break;
    case Json::objectValue:
        appendObject(value, out);
        break;
    case Json::arrayValue:
        appendArray(value, out);
        break;
    case Json::intValue:
        out += std::to_string(value.asLargestInt());
        break;
    case Json::uintValue:
        out += std::to_string(value.asLargestUInt());
        break;
    case Json::booleanValue:
        out += value.asBool() ? "true" : "false";
        break;
    case Json::stringValue:
        if (value.getString(&begin, &end)) {
            appendText({begin, static_cast<size_t>(end - begin)}, out);
            break;
        }
        [[fallthrough]];
    default:
        appendByJsoncpp(value, out);
    }
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

const Json::Value* findMember(const Json::Value& value, std::string_view key)
{
    return objectOf(value).find(key.data(), key.data() + key.size());
}

Json::Value* findMember(Json::Value& value, std::string_view key)
{
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): the object it is in may be written to
    return const_cast<Json::Value*>(findMember(std::as_const(value), key));
}

const Json::Value& memberOf(const Json::Value& value, std::string_view key)
{
    const Json::Value* member = findMember(value, key);
    return member == nullptr ? Json::Value::nullSingleton() : *member;
}

bool hasMember(const Json::Value& value, std::string_view key)
{
    return findMember(value, key) != nullptr;
}

std::string_view nameOf(const Json::ValueIteratorBase& member)
{
    const char* end = nullptr;
    const char* begin = member.memberName(&end);
    return {begin, static_cast<size_t>(end - begin)};
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

Json::Value& writableObject(Json::Value& value)
{
    return asType(value, Json::objectValue);
}

Json::Value& writableArray(Json::Value& value)
{
    return asType(value, Json::arrayValue);
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
    std::string out;
    append(value, out);
    out += '\n';
    return out;
}

} // namespace cimgate
