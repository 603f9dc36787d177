#include "worker/strict_json.h"

#include "host_limits.h"

#include <boost/json/src.hpp>

#include <memory>

namespace host {

namespace {

// jsoncpp's reader, at its strictest, still takes numbers such as 01 and -, control characters in
// texts, whatever follows a NUL, and bytes that are not UTF-8.
bool isJson(std::string_view text)
{
    boost::json::parse_options options;
    options.max_depth = kMaxJsonDepth;
    boost::json::error_code error;
    (void)boost::json::parse({text.data(), text.size()}, error, {}, options);
    return !error;
}

} // namespace

bool parseObject(std::string_view text, Json::Value& object)
{
    if (!isJson(text)) {
        return false;
    }
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_); // refuses names given twice, too
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    return reader->parse(text.data(), text.data() + text.size(), &object, nullptr) &&
           object.isObject();
}

} // namespace host
