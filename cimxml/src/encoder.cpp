#include "encoder.h"

#include "xml_characters.h"

#include <array>

namespace cimxml {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD"; // U+FFFD

// What a byte needs: nothing, an escape everywhere, an escape in attributes, or a look at the whole
// character.
enum class Care : std::uint8_t { None, Escape, InAttribute, Look };

constexpr std::array<Care, 256> careTable()
{
    std::array<Care, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = i < 0x20 || i >= 0x80 ? Care::Look : Care::None;
    }
    for (const char c : {'<', '>', '&', '"', '\'', '\r'}) {
        table[static_cast<unsigned char>(c)] = Care::Escape;
    }
    table['\n'] = table['\t'] = Care::InAttribute;
    return table;
}

constexpr std::array<Care, 256> kCare = careTable();

std::string_view escapeOf(char c)
{
    switch (c) {
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '&':
        return "&amp;";
    case '"':
        return "&quot;";
    case '\'':
        return "&apos;";
    case '\r':
        return "&#13;";
    case '\n':
        return "&#10;";
    default:
        return "&#9;";
    }
}

void appendEscaped(std::string& out, std::string_view text, bool isAttribute)
{
    std::size_t done = 0; // what is before has been appended
    std::size_t i = 0;
    while (i < text.size()) {
        const Care care = kCare[static_cast<unsigned char>(text[i])];
        if (care == Care::None || (care == Care::InAttribute && !isAttribute)) {
            ++i;
            continue;
        }
        const std::size_t bytes = care == Care::Look ? characterBytes(text.substr(i)) : 0;
        if (bytes != 0) {
            i += bytes;
            continue;
        }
        out.append(text, done, i - done);
        out += care == Care::Look ? kReplacement : escapeOf(text[i]);
        done = ++i;
    }
    out.append(text, done);
}

void appendStart(std::string& out, std::string_view element)
{
    out += '<';
    out += element;
}

void appendOpen(std::string& out, std::string_view element)
{
    appendStart(out, element);
    out += '>';
}

void appendNameSpacePath(std::string& out, const ObjectPath& path)
{
    out += "<NAMESPACEPATH><HOST>";
    appendText(out, path.host);
    out += "</HOST>";
    appendLocalNameSpacePath(out, path.nameSpace);
    out += "</NAMESPACEPATH>";
}

std::string_view keyValueType(const Scalar& value)
{
    if (std::holds_alternative<bool>(value)) {
        return "boolean";
    }
    return std::holds_alternative<std::string>(value) ? "string" : "numeric";
}

void appendKeyValue(std::string& out, const KeyBinding& key)
{
    if (const auto* path = std::get_if<std::shared_ptr<const ObjectPath>>(&key.value)) {
        appendReference(out, **path);
        return;
    }
    appendStart(out, "KEYVALUE");
    appendAttribute(out, "VALUETYPE", keyValueType(key.value));
    if (key.hasType) {
        appendAttribute(out, "TYPE", typeName(key.type));
    }
    out += '>';
    appendText(out, scalarText(key.type, key.value));
    appendEnd(out, "KEYVALUE");
}

void appendScalar(std::string& out, Type type, const Scalar& scalar)
{
    if (const auto* path = std::get_if<std::shared_ptr<const ObjectPath>>(&scalar)) {
        appendReference(out, **path);
        return;
    }
    if (isNull(scalar)) {
        out += "<VALUE.NULL/>";
        return;
    }
    out += "<VALUE>";
    if (const auto* text = std::get_if<std::string>(&scalar)) {
        appendText(out, *text);
    } else {
        out += scalarText(type, scalar);
    }
    out += "</VALUE>";
}

void appendFlag(std::string& out, std::string_view name, bool value, bool otherwise)
{
    if (value != otherwise) {
        appendAttribute(out, name, value ? "true" : "false");
    }
}

void appendIfAny(std::string& out, std::string_view name, std::string_view value)
{
    if (!value.empty()) {
        appendAttribute(out, name, value);
    }
}

void appendEmbedded(std::string& out, Embedded embedded)
{
    if (embedded != Embedded::None) {
        appendAttribute(out, "EmbeddedObject",
                        embedded == Embedded::Instance ? "instance" : "object");
    }
}

void appendArraySize(std::string& out, const std::optional<std::uint32_t>& size)
{
    if (size) {
        appendAttribute(out, "ARRAYSIZE", std::to_string(*size));
    }
}

void appendQualifiers(std::string& out, const std::vector<Qualifier>& qualifiers)
{
    for (const Qualifier& qualifier : qualifiers) {
        appendStart(out, "QUALIFIER");
        appendAttribute(out, "NAME", qualifier.name);
        appendAttribute(out, "TYPE", typeName(qualifier.value.type));
        appendFlag(out, "PROPAGATED", qualifier.propagated, false);
        appendFlag(out, "OVERRIDABLE", qualifier.overridable, true);
        appendFlag(out, "TOSUBCLASS", qualifier.toSubclass, true);
        appendFlag(out, "TOINSTANCE", qualifier.toInstance, false);
        appendFlag(out, "TRANSLATABLE", qualifier.translatable, false);
        out += '>';
        appendValue(out, qualifier.value);
        appendEnd(out, "QUALIFIER");
    }
}

std::string_view propertyElement(const Value& value)
{
    if (value.isArray) {
        return "PROPERTY.ARRAY";
    }
    return value.type == Type::Reference ? "PROPERTY.REFERENCE" : "PROPERTY";
}

void appendProperty(std::string& out, const Property& property)
{
    const std::string_view element = propertyElement(property.value);
    appendStart(out, element);
    appendAttribute(out, "NAME", property.name);
    if (property.value.type == Type::Reference) {
        appendIfAny(out, "REFERENCECLASS", property.referenceClass);
    } else {
        appendAttribute(out, "TYPE", typeName(property.value.type));
    }
    appendArraySize(out, property.arraySize);
    appendIfAny(out, "CLASSORIGIN", property.classOrigin);
    appendFlag(out, "PROPAGATED", property.propagated, false);
    appendEmbedded(out, property.embedded);
    out += '>';
    appendQualifiers(out, property.qualifiers);
    appendValue(out, property.value);
    appendEnd(out, element);
}

std::string_view parameterElement(const Parameter& parameter)
{
    if (parameter.type == Type::Reference) {
        return parameter.isArray ? "PARAMETER.REFARRAY" : "PARAMETER.REFERENCE";
    }
    return parameter.isArray ? "PARAMETER.ARRAY" : "PARAMETER";
}

void appendParameter(std::string& out, const Parameter& parameter)
{
    const std::string_view element = parameterElement(parameter);
    appendStart(out, element);
    appendAttribute(out, "NAME", parameter.name);
    if (parameter.type == Type::Reference) {
        appendIfAny(out, "REFERENCECLASS", parameter.referenceClass);
    } else {
        appendAttribute(out, "TYPE", typeName(parameter.type));
    }
    appendArraySize(out, parameter.arraySize);
    out += '>';
    appendQualifiers(out, parameter.qualifiers);
    appendEnd(out, element);
}

void appendMethod(std::string& out, const Method& method)
{
    appendStart(out, "METHOD");
    appendAttribute(out, "NAME", method.name);
    if (method.returnType) {
        appendAttribute(out, "TYPE", typeName(*method.returnType));
    }
    appendIfAny(out, "CLASSORIGIN", method.classOrigin);
    appendFlag(out, "PROPAGATED", method.propagated, false);
    out += '>';
    appendQualifiers(out, method.qualifiers);
    for (const Parameter& parameter : method.parameters) {
        appendParameter(out, parameter);
    }
    appendEnd(out, "METHOD");
}

} // namespace

void appendText(std::string& out, std::string_view text)
{
    appendEscaped(out, text, false);
}

void appendAttribute(std::string& out, std::string_view name, std::string_view value)
{
    out += ' ';
    out += name;
    out += "=\"";
    appendEscaped(out, value, true);
    out += '"';
}

void appendOpening(std::string& out, std::string_view element, std::string_view name)
{
    appendStart(out, element);
    appendAttribute(out, "NAME", name);
    out += '>';
}

void appendEnd(std::string& out, std::string_view element)
{
    out += "</";
    out += element;
    out += '>';
}

void appendLocalNameSpacePath(std::string& out, std::string_view nameSpace)
{
    out += "<LOCALNAMESPACEPATH>";
    while (!nameSpace.empty()) {
        const std::size_t slash = nameSpace.find('/');
        if (slash != 0) {
            appendStart(out, "NAMESPACE");
            appendAttribute(out, "NAME", nameSpace.substr(0, slash));
            out += "/>";
        }
        nameSpace.remove_prefix(slash == std::string_view::npos ? nameSpace.size() : slash + 1);
    }
    out += "</LOCALNAMESPACEPATH>";
}

void appendInstanceName(std::string& out, const ObjectPath& path)
{
    appendStart(out, "INSTANCENAME");
    appendAttribute(out, "CLASSNAME", path.className);
    out += '>';
    const bool isBare = path.keys.size() == 1 && path.keys.front().name.empty();
    for (const KeyBinding& key : path.keys) {
        if (isBare) {
            appendKeyValue(out, key);
        } else {
            appendOpening(out, "KEYBINDING", key.name);
            appendKeyValue(out, key);
            appendEnd(out, "KEYBINDING");
        }
    }
    appendEnd(out, "INSTANCENAME");
}

void appendClassName(std::string& out, std::string_view name)
{
    appendStart(out, "CLASSNAME");
    appendAttribute(out, "NAME", name);
    out += "/>";
}

void appendLocalInstancePath(std::string& out, const ObjectPath& path)
{
    out += "<LOCALINSTANCEPATH>";
    appendLocalNameSpacePath(out, path.nameSpace);
    appendInstanceName(out, path);
    out += "</LOCALINSTANCEPATH>";
}

void appendLocalClassPath(std::string& out, const ObjectPath& path)
{
    out += "<LOCALCLASSPATH>";
    appendLocalNameSpacePath(out, path.nameSpace);
    appendClassName(out, path.className);
    out += "</LOCALCLASSPATH>";
}

void appendInstancePath(std::string& out, const ObjectPath& path)
{
    out += "<INSTANCEPATH>";
    appendNameSpacePath(out, path);
    appendInstanceName(out, path);
    out += "</INSTANCEPATH>";
}

void appendClassPath(std::string& out, const ObjectPath& path)
{
    out += "<CLASSPATH>";
    appendNameSpacePath(out, path);
    appendClassName(out, path.className);
    out += "</CLASSPATH>";
}

void appendReference(std::string& out, const ObjectPath& path)
{
    const bool isClass = path.keys.empty();
    out += "<VALUE.REFERENCE>";
    if (path.nameSpace.empty()) {
        isClass ? appendClassName(out, path.className) : appendInstanceName(out, path);
    } else if (path.host.empty()) {
        isClass ? appendLocalClassPath(out, path) : appendLocalInstancePath(out, path);
    } else {
        isClass ? appendClassPath(out, path) : appendInstancePath(out, path);
    }
    out += "</VALUE.REFERENCE>";
}

void appendValue(std::string& out, const Value& value)
{
    if (value.isNull) {
        return;
    }
    if (!value.isArray) {
        appendScalar(out, value.type, value.scalar);
        return;
    }
    const std::string_view element =
        value.type == Type::Reference ? "VALUE.REFARRAY" : "VALUE.ARRAY";
    appendOpen(out, element);
    for (const Scalar& scalar : value.elements) {
        appendScalar(out, value.type, scalar);
    }
    appendEnd(out, element);
}

void appendInstance(std::string& out, const Instance& instance)
{
    appendStart(out, "INSTANCE");
    appendAttribute(out, "CLASSNAME", instance.className);
    out += '>';
    appendQualifiers(out, instance.qualifiers);
    for (const Property& property : instance.properties) {
        appendProperty(out, property);
    }
    appendEnd(out, "INSTANCE");
}

void appendNamedInstance(std::string& out, const ObjectPath& path, const Instance& instance)
{
    out += "<VALUE.NAMEDINSTANCE>";
    appendInstanceName(out, path);
    appendInstance(out, instance);
    out += "</VALUE.NAMEDINSTANCE>";
}

void appendClass(std::string& out, const Class& cls)
{
    appendStart(out, "CLASS");
    appendAttribute(out, "NAME", cls.name);
    appendIfAny(out, "SUPERCLASS", cls.superClass);
    out += '>';
    appendQualifiers(out, cls.qualifiers);
    for (const Property& property : cls.properties) {
        appendProperty(out, property);
    }
    for (const Method& method : cls.methods) {
        appendMethod(out, method);
    }
    appendEnd(out, "CLASS");
}

void appendMethodParameter(std::string& out, std::string_view element,
                           const MethodParameter& parameter)
{
    appendStart(out, element);
    appendIfAny(out, "NAME", parameter.name);
    if (parameter.hasType) {
        appendAttribute(out, "PARAMTYPE", typeName(parameter.value.type));
    }
    appendEmbedded(out, parameter.embedded);
    out += '>';
    appendValue(out, parameter.value);
    appendEnd(out, element);
}

void appendMessageStart(std::string& out, std::string_view messageId, std::string_view kind)
{
    out += "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
           "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE";
    appendAttribute(out, "ID", messageId);
    out += " PROTOCOLVERSION=\"1.0\">";
    appendOpen(out, kind);
}

void appendMessageEnd(std::string& out, std::string_view kind)
{
    appendEnd(out, kind);
    out += "</MESSAGE></CIM>";
}

} // namespace cimxml
