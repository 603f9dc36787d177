// Where a value of the service file comes from, where it is not written there: an object with one
// of the words below stands in its place.
#ifndef HOST_SERVICE_FILE_SOURCE_H_
#define HOST_SERVICE_FILE_SOURCE_H_

#include <json/json.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host::service_file {

inline constexpr const char* kFrom = "from";   // a property of one resource
inline constexpr const char* kCount = "count"; // how many members collections have
inline constexpr const char* kSum = "sum";     // of a property of all members
inline constexpr const char* kWorst = "worst"; // health of a property of all members
inline constexpr const char* kEmbed = "embed"; // what a container embeds
// Beside them.
inline constexpr const char* kProperty = "property";
inline constexpr const char* kValues = "values";
inline constexpr const char* kDivide = "divide";
inline constexpr const char* kId = "id";

// A value that is made of what mapped resources answer.
struct Source
{
    enum class Kind { Property, Count, Sum, Worst, Embedded };

    Kind kind = Kind::Property;
    std::vector<std::string> uris;       // of the mapped resources
    std::string property;                // "Status/State" is a member of a member
    const Json::Value* values = nullptr; // what becomes of each value; null: nothing. It belongs to
                                         // what the source was read from.
    double divisor = 1;
    std::string container; // of embedded data, and the id that it is asked with
    std::string id;
};

// Whether a name is one of those by which a source says what kind it is.
bool isSourceWord(std::string_view name);

// Whether an object stands for a value that comes from elsewhere.
bool isSource(const Json::Value& value);

// Whether there is one anywhere in a value.
bool hasSource(const Json::Value& value);

// Nothing where the file does not say enough to make a value; isSource(value).
std::optional<Source> sourceOf(const Json::Value& value);

// Calls use(source) for every source in a value, however deep, but for those that do not say
// enough.
template <typename Use>
void forEachSource(const Json::Value& value, const Use& use)
{
    if (isSource(value)) {
        if (const std::optional<Source> source = sourceOf(value)) {
            use(*source);
        }
        return;
    }
    if (value.isObject() || value.isArray()) {
        for (const Json::Value& part : value) {
            forEachSource(part, use);
        }
    }
}

} // namespace host::service_file

#endif
