// JSON that came from a file, or from whoever calls the library: jsoncpp throws where a value has
// another type than the one asked for, and operator[] inserts what it does not find. These do
// neither. A value that cannot be converted reads as its null default and is logged at level 1; one
// that cannot be written into is replaced.
#ifndef JSON_ACCESS_H_
#define JSON_ACCESS_H_

#include <json/json.h>

#include <iosfwd>
#include <string>
#include <string_view>

namespace cimgate {

// Member key of an object; null when it is absent or value is no object.
const Json::Value& memberOf(const Json::Value& value, std::string_view key);

// The same by pointer, which tells an absent member (nullptr) from one that is null.
const Json::Value* findMember(const Json::Value& value, std::string_view key);
Json::Value* findMember(Json::Value& value, std::string_view key);

// Whether value is an object with this member.
bool hasMember(const Json::Value& value, std::string_view key);

// The name of the member that an iterator over an object is at; as long as the object keeps it.
std::string_view nameOf(const Json::ValueIteratorBase& member);

// The text of a string, number or boolean; "" for null.
std::string textOf(const Json::Value& value);

// The text of an object's member; "" when it is absent.
std::string textOf(const Json::Value& value, std::string_view key);

// The truth of a boolean or number; false for null.
bool flagOf(const Json::Value& value, std::string_view key);

// value when it is an object, else null: what is safe to iterate with names.
const Json::Value& objectOf(const Json::Value& value);

// value when it is an array, else null.
const Json::Value& arrayOf(const Json::Value& value);

// Name of an object's first member in sorted order; "" when there is none.
std::string firstMemberName(const Json::Value& value);

// value, to write members or elements into: one that is neither null nor an object, or an array,
// becomes an empty one.
Json::Value& writableObject(Json::Value& value);
Json::Value& writableArray(Json::Value& value);

// Parses a whole document; false when it is malformed or nested too deeply.
bool readJson(std::istream& in, Json::Value& out);

// One line of compact JSON, ending in a newline.
std::string writeJson(const Json::Value& value);

} // namespace cimgate

#endif
