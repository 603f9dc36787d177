// Properties of resources and parameters of actions, as the mapping file declares them.
#ifndef HOST_SCHEMA_PROPERTY_H_
#define HOST_SCHEMA_PROPERTY_H_

#include <json/json.h>

#include <string>
#include <string_view>
#include <vector>

namespace host::schema {

enum class ValueType { Text, Integer, Number, Boolean, DateTime, Any };

// A property of a resource, or a parameter of an action.
struct Property
{
    std::string name;
    ValueType type = ValueType::Text;
    bool isArray = false;
    bool isUnsigned = false;         // of integers
    bool isNullable = false;         // of arrays: their elements
    bool isRequired = false;         // of parameters
    std::vector<std::string> values; // of a value map, each once; empty: any
    std::string units;
    std::string description;
    std::string countName; // of the array's size beside it: "Ports@odata.count"; "": it has none
};

// What an answer shows of a declared property; without a name where it shows nothing. What the type
// says of a value differs between one from the data cache and one that is read live.
Property propertyOf(const std::string& cimName, const Json::Value& declared, bool isCached);

// What an action takes.
Property parameterOf(const std::string& name, const Json::Value& declared);

// What an action answers, by the output's own name: no alias counts there.
Property outputOf(const std::string& name, const Json::Value& declared);

// Makes of one declaration what covers another one of the same name too.
void join(Property& property, const Property& other);

// A text of the mapping that schemas can repeat; "" for one that is no text of XML.
std::string shownText(const std::string& text);

// Whether the OData standard (CSDL 4.0, 17.2) allows it as a name: letters, digits and "_".
bool isIdentifier(std::string_view name);

} // namespace host::schema

#endif
