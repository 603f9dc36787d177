// JSON as RFC 8259 has it, for what clients send.
#ifndef HOST_WORKER_STRICT_JSON_H_
#define HOST_WORKER_STRICT_JSON_H_

#include <json/json.h>

#include <string_view>

namespace host {

// Parses a text that is one JSON object, into object. False, with object unspecified, for anything
// else: another value, a syntax error, comments, text behind the object, bytes that are not UTF-8,
// a name given twice in one object, nesting deeper than kMaxJsonDepth (host_limits.h).
bool parseObject(std::string_view text, Json::Value& object);

} // namespace host

#endif
