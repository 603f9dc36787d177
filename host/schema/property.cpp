#include "schema/property.h"

#include <ResourceMapper/mapping/CimType.h>
#include <ResourceMapper/mapping/Entry.h>
#include <XmlText.h>
#include <strings.h>

#include <algorithm>
#include <cctype>

namespace host::schema {

namespace mapping = cimgate::mapping;

namespace {

// "Collection(Edm.String)" is an array of "Edm.String".
std::string_view elementTypeOf(std::string_view redfishType)
{
    constexpr std::string_view kCollection = "Collection(";
    if (redfishType.starts_with(kCollection) && redfishType.ends_with(')')) {
        redfishType.remove_prefix(kCollection.size());
        redfishType.remove_suffix(1);
    }
    return redfishType;
}

ValueType typeOfRedfish(std::string_view redfishType)
{
    const std::string type(elementTypeOf(redfishType));
    const auto is = [&type](const char* name) {
        return strcasecmp(type.c_str(), name) == 0;
    };
    if (is("Edm.Boolean")) {
        return ValueType::Boolean;
    }
    if (is("Edm.DateTimeOffset")) {
        return ValueType::DateTime;
    }
    if (is("Edm.Decimal") || is("Edm.Double") || is("Edm.Single")) {
        return ValueType::Number;
    }
    constexpr const char* kIntegers[] = {"Edm.Int64", "Edm.Int32", "Edm.Int16", "Edm.SByte",
                                         "Edm.Byte"};
    return std::any_of(std::begin(kIntegers), std::end(kIntegers), is) ? ValueType::Integer
                                                                       : ValueType::Text;
}

bool isReal(const std::string& cimType)
{
    return strncasecmp(cimType.c_str(), "real", 4) == 0;
}

bool isUnsignedType(mapping::NumberType type)
{
    return type == mapping::NumberType::Uint || type == mapping::NumberType::Uint64;
}

ValueType typeOfNumber(mapping::NumberType type)
{
    switch (type) {
    case mapping::NumberType::Boolean:
        return ValueType::Boolean;
    case mapping::NumberType::DateTime:
        return ValueType::DateTime;
    default:
        return ValueType::Integer;
    }
}

// The data cache has reals as texts.
void setType(Property& property, const Json::Value& declared, bool isCached)
{
    const std::string cimType = cimgate::textOf(declared, mapping::kCimType);
    if (const auto number = mapping::numberTypeOf(cimType)) {
        property.type = typeOfNumber(*number);
        property.isUnsigned = isUnsignedType(*number);
    } else if (isReal(cimType)) {
        property.type = isCached ? ValueType::Text : ValueType::Number;
    } else if (cimType.empty()) {
        property.type = typeOfRedfish(cimgate::textOf(declared, mapping::kRedfishType));
    }
}

// The values of a value map make texts of whatever is stored.
void setValues(Property& property, const Json::Value& declared)
{
    for (const Json::Value& value : mapping::valueMapOf(declared)) {
        std::string text = shownText(cimgate::textOf(value));
        if (!text.empty() && std::find(property.values.begin(), property.values.end(), text) ==
                                 property.values.end()) {
            property.values.push_back(std::move(text));
        }
    }
    if (!property.values.empty()) {
        property.type = ValueType::Text;
        property.isUnsigned = false;
    }
}

void setTexts(Property& property, const Json::Value& declared)
{
    property.units = shownText(cimgate::textOf(declared, mapping::kUnits));
    property.description = shownText(cimgate::textOf(declared, mapping::kDescription));
}

// Of arrays from the data cache it goes by the name that is shown, and members of a collection
// alone have it; of live ones by the property's own, where no value map makes a new array.
std::string countNameOf(const std::string& cimName, const Property& property, bool isCached)
{
    if (!property.isArray || (!isCached && !property.values.empty())) {
        return "";
    }
    return (isCached ? property.name : cimName) + "@odata.count";
}

} // namespace

Property propertyOf(const std::string& cimName, const Json::Value& declared, bool isCached)
{
    Property property;
    const std::string alias = cimgate::textOf(declared, mapping::kAlias);
    property.name = shownText(alias.empty() ? cimName : alias);
    property.isArray = cimgate::flagOf(declared, mapping::kIsArrayType);
    setType(property, declared, isCached);
    setValues(property, declared);
    setTexts(property, declared);
    property.isNullable = !property.isArray || !isCached;
    property.countName = countNameOf(cimName, property, isCached);
    return property;
}

Property parameterOf(const std::string& name, const Json::Value& declared)
{
    Property parameter;
    parameter.name = shownText(name);
    parameter.isArray = cimgate::flagOf(declared, mapping::kIsArrayType);
    parameter.isRequired = cimgate::flagOf(declared, mapping::kIsRequired);
    parameter.type = typeOfRedfish(cimgate::textOf(declared, mapping::kRedfishType));
    // Negative integers are no value of any parameter.
    parameter.isUnsigned = parameter.type == ValueType::Integer;
    setValues(parameter, declared);
    setTexts(parameter, declared);
    return parameter;
}

Property outputOf(const std::string& name, const Json::Value& declared)
{
    Property output = propertyOf(name, declared, false);
    output.name = shownText(name);
    output.countName.clear();
    return output;
}

void join(Property& property, const Property& other)
{
    const bool isSameShape = property.type == other.type && property.isArray == other.isArray;
    if (!isSameShape) {
        property.type = ValueType::Any;
    }
    if (!isSameShape || property.values.empty() || other.values.empty()) {
        property.values.clear();
    }
    for (const std::string& value : property.values.empty() ? property.values : other.values) {
        if (std::find(property.values.begin(), property.values.end(), value) ==
            property.values.end()) {
            property.values.push_back(value);
        }
    }
    property.isUnsigned = property.isUnsigned && other.isUnsigned;
    property.isNullable = property.isNullable || other.isNullable;
    if (property.countName.empty()) {
        property.countName = other.countName;
    }
}

std::string shownText(const std::string& text)
{
    return cimgate::isXmlText(text) ? text : "";
}

bool isIdentifier(std::string_view name)
{
    const auto isPart = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
    };
    return !name.empty() && std::isdigit(static_cast<unsigned char>(name.front())) == 0 &&
           std::all_of(name.begin(), name.end(), isPart);
}

} // namespace host::schema
