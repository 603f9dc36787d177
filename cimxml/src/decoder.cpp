#include "decoder.h"

#include "xml_document.h"

#include <charconv>
#include <cstring>
#include <utility>

namespace cimxml {
namespace {

bool flag(pugi::xml_node element, const char* name, bool otherwise = false)
{
    const pugi::xml_attribute attribute = element.attribute(name);
    return attribute ? equalsIgnoreCase(attribute.value(), "true") : otherwise;
}

Type typeOf(pugi::xml_node element, const char* attribute = "TYPE")
{
    return typeFromName(element.attribute(attribute).value()).value_or(Type::String);
}

std::optional<std::uint32_t> arraySizeOf(pugi::xml_node element)
{
    const std::string_view text = element.attribute("ARRAYSIZE").value();
    std::uint32_t size = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), size);
    return error == std::errc() ? std::optional(size) : std::nullopt;
}

bool isOfType(pugi::xml_node place, std::optional<Scalar>& scalar, Type type, std::string_view text,
              Fault& fault)
{
    constexpr std::size_t kShownBytes = 64;
    scalar = parseScalar(type, text);
    return scalar || fault.set(place, '"' + std::string(text.substr(0, kShownBytes)) +
                                          "\" is no value of type " + std::string(typeName(type)));
}

bool decodeReference(pugi::xml_node valueReference, Scalar& scalar, Fault& fault)
{
    auto path = std::make_shared<ObjectPath>();
    if (!decodePath(ElementView(valueReference).reference(), *path, fault)) {
        return false;
    }
    scalar = std::shared_ptr<const ObjectPath>(std::move(path));
    return true;
}

// VALUE, VALUE.NULL, VALUE.REFERENCE
bool decodeScalar(pugi::xml_node element, Type type, Scalar& scalar, Fault& fault)
{
    if (isNamed(element, "VALUE.NULL")) {
        scalar = std::monostate();
        return true;
    }
    if (isNamed(element, "VALUE.REFERENCE")) {
        return decodeReference(element, scalar, fault);
    }
    std::optional<Scalar> parsed;
    if (!isOfType(element, parsed, type, elementText(element), fault)) {
        return false;
    }
    scalar = *std::move(parsed);
    return true;
}

bool decodeKey(const KeyView& view, pugi::xml_node place, KeyBinding& key, Fault& fault)
{
    key.name = view.name();
    if (view.isReference()) {
        auto path = std::make_shared<ObjectPath>();
        if (!decodePath(view.reference(), *path, fault)) {
            return false;
        }
        key.type = Type::Reference;
        key.value = std::shared_ptr<const ObjectPath>(std::move(path));
        return true;
    }
    key.type = view.type();
    key.hasType = view.hasType();
    std::optional<Scalar> parsed;
    if (!isOfType(place, parsed, key.type, view.text(), fault)) {
        return false;
    }
    key.value = *std::move(parsed);
    return true;
}

bool decodeQualifiers(pugi::xml_node parent, std::vector<Qualifier>& qualifiers, Fault& fault)
{
    for (const pugi::xml_node element : parent.children("QUALIFIER")) {
        Qualifier& qualifier = qualifiers.emplace_back();
        qualifier.name = element.attribute("NAME").value();
        qualifier.propagated = flag(element, "PROPAGATED");
        qualifier.overridable = flag(element, "OVERRIDABLE", true);
        qualifier.toSubclass = flag(element, "TOSUBCLASS", true);
        qualifier.toInstance = flag(element, "TOINSTANCE");
        qualifier.translatable = flag(element, "TRANSLATABLE");
        if (!decodeValue(element, typeOf(element), qualifier.value, fault)) {
            return false;
        }
    }
    return true;
}

bool decodeProperty(const PropertyView& view, Property& property, Fault& fault)
{
    const pugi::xml_node element = view.node();
    property.name = view.name();
    property.embedded = view.embedded();
    property.propagated = view.propagated();
    property.classOrigin = view.classOrigin();
    property.referenceClass = view.referenceClass();
    property.arraySize = arraySizeOf(element);
    property.value = Value::null(view.type(), view.isArray());
    return decodeValue(element, view.type(), property.value, fault) &&
           decodeQualifiers(element, property.qualifiers, fault);
}

bool decodeProperties(pugi::xml_node parent, std::vector<Property>& properties, Fault& fault)
{
    for (const PropertyView view : ViewRange<PropertyView>(parent)) {
        if (!decodeProperty(view, properties.emplace_back(), fault)) {
            return false;
        }
    }
    return true;
}

// PARAMETER, PARAMETER.REFERENCE, PARAMETER.ARRAY, PARAMETER.REFARRAY
bool decodeParameter(pugi::xml_node element, Parameter& parameter, Fault& fault)
{
    const bool isReferenceArray = isNamed(element, "PARAMETER.REFARRAY");
    const bool isReference = isReferenceArray || isNamed(element, "PARAMETER.REFERENCE");
    parameter.name = element.attribute("NAME").value();
    parameter.type = isReference ? Type::Reference : typeOf(element);
    parameter.isArray = isReferenceArray || isNamed(element, "PARAMETER.ARRAY");
    parameter.referenceClass = element.attribute("REFERENCECLASS").value();
    parameter.arraySize = arraySizeOf(element);
    return decodeQualifiers(element, parameter.qualifiers, fault);
}

bool decodeMethod(pugi::xml_node element, Method& method, Fault& fault)
{
    method.name = element.attribute("NAME").value();
    method.returnType = typeFromName(element.attribute("TYPE").value());
    method.propagated = flag(element, "PROPAGATED");
    method.classOrigin = element.attribute("CLASSORIGIN").value();
    for (const pugi::xml_node child : element.children()) {
        if (child.type() == pugi::node_element && !isNamed(child, "QUALIFIER") &&
            !decodeParameter(child, method.parameters.emplace_back(), fault)) {
            return false;
        }
    }
    return decodeQualifiers(element, method.qualifiers, fault);
}

bool isObjectType(std::string_view parameterType)
{
    return equalsIgnoreCase(parameterType, "object") || equalsIgnoreCase(parameterType, "instance");
}

} // namespace

std::string joinedNameSpace(pugi::xml_node localNameSpacePath)
{
    std::string joined;
    for (const pugi::xml_node part : localNameSpacePath.children("NAMESPACE")) {
        joined += joined.empty() ? "" : "/";
        joined += part.attribute("NAME").value();
    }
    return joined;
}

Embedded embeddedOf(pugi::xml_node element)
{
    const pugi::xml_attribute mixedCase = element.attribute("EmbeddedObject");
    const std::string_view kind =
        (mixedCase ? mixedCase : element.attribute("EMBEDDEDOBJECT")).value();
    const std::string_view type = element.attribute("PARAMTYPE").value();
    if (equalsIgnoreCase(kind, "instance") || equalsIgnoreCase(type, "instance")) {
        return Embedded::Instance;
    }
    const bool isObject = equalsIgnoreCase(kind, "object") || equalsIgnoreCase(type, "object");
    return isObject ? Embedded::Object : Embedded::None;
}

bool decodePath(const ObjectPathView& view, ObjectPath& path, Fault& fault)
{
    path.host = view.host();
    path.nameSpace = view.nameSpace();
    path.className = view.className();
    for (const KeyView key : view.keys()) {
        if (!decodeKey(key, view.node(), path.keys.emplace_back(), fault)) {
            return false;
        }
    }
    return true;
}

bool decodeInstance(pugi::xml_node element, Instance& instance, Fault& fault)
{
    instance.className = element.attribute("CLASSNAME").value();
    return decodeQualifiers(element, instance.qualifiers, fault) &&
           decodeProperties(element, instance.properties, fault);
}

bool decodeClass(pugi::xml_node element, Class& cls, Fault& fault)
{
    cls.name = element.attribute("NAME").value();
    cls.superClass = element.attribute("SUPERCLASS").value();
    for (const pugi::xml_node method : element.children("METHOD")) {
        if (!decodeMethod(method, cls.methods.emplace_back(), fault)) {
            return false;
        }
    }
    return decodeQualifiers(element, cls.qualifiers, fault) &&
           decodeProperties(element, cls.properties, fault);
}

bool decodeValueElement(pugi::xml_node element, Type type, Value& value, Fault& fault)
{
    const bool isReferenceArray = isNamed(element, "VALUE.REFARRAY");
    const bool isReference = isReferenceArray || isNamed(element, "VALUE.REFERENCE");
    value.type = isReference ? Type::Reference : type;
    value.isArray = isReferenceArray || isNamed(element, "VALUE.ARRAY");
    value.isNull = false;
    if (!value.isArray) {
        return decodeScalar(element, type, value.scalar, fault);
    }
    for (const pugi::xml_node child : element.children()) {
        if (child.type() == pugi::node_element &&
            !decodeScalar(child, type, value.elements.emplace_back(), fault)) {
            return false;
        }
    }
    return true;
}

bool decodeValue(pugi::xml_node parent, Type type, Value& value, Fault& fault)
{
    value.type = type;
    for (const pugi::xml_node child : parent.children()) {
        if (std::strncmp(child.name(), "VALUE", std::strlen("VALUE")) == 0) {
            return decodeValueElement(child, type, value, fault);
        }
    }
    return true;
}

bool decodeMethodParameter(pugi::xml_node element, MethodParameter& parameter, Fault& fault)
{
    const pugi::xml_attribute type = element.attribute("PARAMTYPE");
    parameter.name = element.attribute("NAME").value();
    parameter.hasType = static_cast<bool>(type);
    parameter.embedded = embeddedOf(element);
    const Type declared = isObjectType(type.value()) ? Type::String : typeOf(element, "PARAMTYPE");
    return decodeValue(element, declared, parameter.value, fault);
}

CimError decodeError(pugi::xml_node element)
{
    CimError error;
    const std::string_view code = element.attribute("CODE").value();
    unsigned int number = 0;
    const char* end = code.data() + code.size();
    const auto [last, result] = std::from_chars(code.data(), end, number);
    if (result == std::errc() && last == end && number != 0) {
        error.code = number;
    }
    error.description = element.attribute("DESCRIPTION").value();
    return error;
}

} // namespace cimxml
