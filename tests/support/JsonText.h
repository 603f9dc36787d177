// JSON as text, for mappings and expectations.
#ifndef TESTS_SUPPORT_JSON_TEXT_H_
#define TESTS_SUPPORT_JSON_TEXT_H_

#include <gmock/gmock.h>
#include <json/json.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace support {

inline Json::Value json(const std::string& text)
{
    Json::Value value;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
        throw std::runtime_error(errors + " in " + text);
    }
    return value;
}

inline std::string compact(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

// Matches a Json::Value with the content of text. Numbers are compared as they are written: the
// JSON library itself tells a signed 1 from an unsigned one.
MATCHER_P(IsJson, text, "is " + std::string(text))
{
    *result_listener << "which is " << compact(arg);
    return compact(arg) == compact(json(text));
}

// The ids of a list of messages, registry and version included, in order.
inline std::vector<std::string> idsOf(const Json::Value& messages)
{
    std::vector<std::string> ids;
    for (const Json::Value& message : messages) {
        ids.push_back(message["MessageId"].asString());
    }
    return ids;
}

} // namespace support

#endif
