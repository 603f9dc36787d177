#include <cimxml/types.h>

#include <algorithm>
#include <array>

namespace cimxml {
namespace {

constexpr std::array<std::string_view, 15> kTypeNames = {
    "boolean", "char16", "uint8",  "sint8",  "uint16", "sint16",   "uint32",   "sint32",
    "uint64",  "sint64", "real32", "real64", "string", "datetime", "reference"};

// Not std::tolower: the locale must not decide which names are equal.
constexpr char lowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Differs between the names of the types, so that the type of a property, which is looked up for
// each one that is read, costs one comparison of text.
constexpr std::uint64_t typeKey(std::string_view name)
{
    std::uint64_t key = name.size();
    for (const char c : name.substr(0, sizeof key - 1)) {
        key = key << 8U | static_cast<unsigned char>(lowerCase(c));
    }
    return key;
}

constexpr std::array<std::uint64_t, kTypeNames.size()> typeKeys()
{
    std::array<std::uint64_t, kTypeNames.size()> keys{};
    std::transform(kTypeNames.begin(), kTypeNames.end(), keys.begin(), typeKey);
    return keys;
}

constexpr auto kTypeKeys = typeKeys();

template <class Named>
auto* findNamed(Named& all, std::string_view name)
{
    const auto found = std::find_if(all.begin(), all.end(), [name](const auto& one) {
        return equalsIgnoreCase(one.name, name);
    });
    return found == all.end() ? nullptr : &*found;
}

std::string keyText(const KeyBinding& key)
{
    if (const auto* path = std::get_if<std::shared_ptr<const ObjectPath>>(&key.value)) {
        return '"' + pathText(**path) + '"';
    }
    const std::string text = scalarText(key.type, key.value);
    return std::holds_alternative<std::string>(key.value) ? '"' + text + '"' : text;
}

} // namespace

std::string_view typeName(Type type)
{
    return kTypeNames[static_cast<std::size_t>(type)];
}

std::optional<Type> typeFromName(std::string_view name)
{
    const auto found = std::find(kTypeKeys.begin(), kTypeKeys.end(), typeKey(name));
    if (found == kTypeKeys.end()) {
        return std::nullopt;
    }
    const auto type = static_cast<Type>(found - kTypeKeys.begin());
    return equalsIgnoreCase(name, typeName(type)) ? std::optional(type) : std::nullopt;
}

bool isUnsigned(Type type)
{
    return type == Type::Uint8 || type == Type::Uint16 || type == Type::Uint32 ||
           type == Type::Uint64;
}

bool isSigned(Type type)
{
    return type == Type::Sint8 || type == Type::Sint16 || type == Type::Sint32 ||
           type == Type::Sint64;
}

bool isReal(Type type)
{
    return type == Type::Real32 || type == Type::Real64;
}

bool isNumber(Type type)
{
    return isUnsigned(type) || isSigned(type) || isReal(type);
}

bool equalsIgnoreCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return x == y || lowerCase(x) == lowerCase(y); // mostly the former
           });
}

bool isNull(const Scalar& scalar)
{
    return std::holds_alternative<std::monostate>(scalar);
}

Value Value::null(Type type, bool isArray)
{
    Value value;
    value.type = type;
    value.isArray = isArray;
    return value;
}

Value Value::of(Type type, Scalar scalar)
{
    Value value;
    value.type = type;
    value.isNull = cimxml::isNull(scalar);
    value.scalar = std::move(scalar);
    return value;
}

Value Value::array(Type type, std::vector<Scalar> elements)
{
    Value value;
    value.type = type;
    value.isArray = true;
    value.isNull = false;
    value.elements = std::move(elements);
    return value;
}

const KeyBinding* ObjectPath::findKey(std::string_view name) const
{
    return findNamed(keys, name);
}

std::string pathText(const ObjectPath& path)
{
    std::string text = path.className;
    char separator = '.';
    for (const KeyBinding& key : path.keys) {
        text += separator;
        text += key.name + '=' + keyText(key);
        separator = ',';
    }
    return text;
}

const Property* Instance::find(std::string_view name) const
{
    return findNamed(properties, name);
}

Property* Instance::find(std::string_view name)
{
    return findNamed(properties, name);
}

const Property* Class::findProperty(std::string_view propertyName) const
{
    return findNamed(properties, propertyName);
}

const Method* Class::findMethod(std::string_view methodName) const
{
    return findNamed(methods, methodName);
}

const Parameter* Method::findParameter(std::string_view parameterName) const
{
    return findNamed(parameters, parameterName);
}

const Qualifier* findQualifier(const std::vector<Qualifier>& qualifiers, std::string_view name)
{
    return findNamed(qualifiers, name);
}

} // namespace cimxml
