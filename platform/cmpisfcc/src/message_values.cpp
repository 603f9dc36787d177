#include "message_values.h"

#include "values.h"

#include <cimxml/objects.h>

namespace cmpisfcc {

using cimxml::Type;

std::optional<Type> messageType(CMPIType element)
{
    switch (element) {
    case CMPI_boolean:
        return Type::Boolean;
    case CMPI_char16:
        return Type::Char16;
    case CMPI_uint8:
        return Type::Uint8;
    case CMPI_uint16:
        return Type::Uint16;
    case CMPI_uint32:
        return Type::Uint32;
    case CMPI_uint64:
        return Type::Uint64;
    case CMPI_sint8:
        return Type::Sint8;
    case CMPI_sint16:
        return Type::Sint16;
    case CMPI_sint32:
        return Type::Sint32;
    case CMPI_sint64:
        return Type::Sint64;
    case CMPI_real32:
        return Type::Real32;
    case CMPI_real64:
        return Type::Real64;
    case CMPI_dateTime:
        return Type::DateTime;
    case CMPI_ref:
        return Type::Reference;
    case CMPI_string:
    case CMPI_chars:
    case CMPI_instance:
    case CMPI_class:
        return Type::String;
    default:
        return std::nullopt;
    }
}

namespace {

cimxml::Scalar messageScalar(const CMPIData& data, Type type)
{
    if ((data.state & CMPI_nullValue) != 0) {
        return {};
    }
    if (type == Type::Reference) {
        return std::make_shared<const cimxml::ObjectPath>(messagePath(data.value.ref));
    }
    if (data.type == CMPI_instance) {
        return cimxml::encodeInstance(messageInstance(data.value.inst));
    }
    if (data.type == CMPI_class) {
        const char* xml = static_cast<const ClassObject*>(data.value.cls)->xml;
        return xml == nullptr ? cimxml::Scalar() : cimxml::Scalar(std::string(xml));
    }
    // Our own text of a number is one that reads back.
    auto scalar = cimxml::parseScalar(type, textOf(data.type, data.value));
    return scalar ? *std::move(scalar) : cimxml::Scalar();
}

cimxml::Value messageArray(const CMPIArray* array, Type type)
{
    const auto& source = *static_cast<const ArrayObject*>(array);
    std::vector<cimxml::Scalar> elements;
    elements.reserve(source.count);
    for (CMPICount i = 0; i < source.count; ++i) {
        elements.push_back(messageScalar(source.elements[i], type));
    }
    return cimxml::Value::array(type, std::move(elements));
}

} // namespace

cimxml::Embedded embeddedKind(CMPIType type)
{
    switch (type & ~CMPI_ARRAY) {
    case CMPI_instance:
        return cimxml::Embedded::Instance;
    case CMPI_class:
        return cimxml::Embedded::Object;
    default:
        return cimxml::Embedded::None;
    }
}

cimxml::Value messageValue(const CMPIData& data)
{
    const bool isArray = (data.type & CMPI_ARRAY) != 0;
    const auto type = messageType(static_cast<CMPIType>(data.type & ~CMPI_ARRAY));
    if (!type || (data.state & CMPI_nullValue) != 0) {
        return cimxml::Value::null(type.value_or(Type::String), isArray);
    }
    return isArray ? messageArray(data.value.array, *type)
                   : cimxml::Value::of(*type, messageScalar(data, *type));
}

cimxml::ObjectPath messagePath(const CMPIObjectPath* path)
{
    const auto& source = *static_cast<const PathObject*>(path);
    cimxml::ObjectPath result;
    result.host = textOrNone(source.host);
    result.nameSpace = textOrNone(source.nameSpace);
    result.className = textOrNone(source.className);
    for (unsigned int i = 0; i < source.keys.count; ++i) {
        const NamedValue& key = source.keys.items[i];
        cimxml::Value value = messageValue(key.data);
        // No key is null or an array. Where one is left out, the object manager says so.
        if (!value.isNull && !value.isArray) {
            result.keys.push_back({key.name, value.type, std::move(value.scalar), false});
        }
    }
    return result;
}

cimxml::Instance messageInstance(const CMPIInstance* instance)
{
    const auto& source = *static_cast<const InstanceObject*>(instance);
    cimxml::Instance result;
    result.className = textOrNone(source.place->className);
    result.properties.reserve(source.properties.count);
    for (unsigned int i = 0; i < source.properties.count; ++i) {
        const NamedValue& item = source.properties.items[i];
        cimxml::Property property;
        property.name = item.name;
        property.value = messageValue(item.data);
        property.embedded = embeddedKind(item.data.type);
        result.properties.push_back(std::move(property));
    }
    return result;
}

cimxml::IntrinsicValue parameterValue(const CMPIData& data)
{
    const cimxml::Value value = messageValue(data);
    if (value.isNull) {
        return {};
    }
    if (value.isArray) {
        cimxml::TextArray texts;
        for (const cimxml::Scalar& element : value.elements) {
            texts.push_back(cimxml::isNull(element)
                                ? std::nullopt
                                : std::optional(cimxml::scalarText(value.type, element)));
        }
        return texts;
    }
    if (value.type == Type::Reference) {
        return cimxml::ReferenceValue{messagePath(data.value.ref)};
    }
    return cimxml::scalarText(value.type, value.scalar);
}

} // namespace cmpisfcc
