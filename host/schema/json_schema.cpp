#include "schema/json_schema.h"

#include "schema/addresses.h"
#include "schema/json_text.h"

#include <algorithm>
#include <map>
#include <set>

namespace host::schema {

namespace {

constexpr const char* kDraft = "http://json-schema.org/draft-07/schema#";
constexpr const char* kDefinitions = "#/definitions/";
constexpr const char* kLink = "#/definitions/idRef";

void addReference(JsonText& json, const std::string& target)
{
    json.member("$ref", target);
}

// An element of an array.
void addElement(JsonText& json, const std::string& target)
{
    json.beginObject();
    addReference(json, target);
    json.end();
}

std::string definitionOf(const TypeName& type)
{
    return jsonSchemaUriOf(type) + "#/definitions/" + type.name;
}

const char* jsonTypeOf(ValueType type)
{
    switch (type) {
    case ValueType::Integer:
        return "integer";
    case ValueType::Number:
        return "number";
    case ValueType::Boolean:
        return "boolean";
    default:
        return "string";
    }
}

void addType(JsonText& json, const char* type, bool isNullable)
{
    if (isNullable) {
        json.memberList("type", {type, "null"});
    } else {
        json.member("type", type);
    }
}

void addValues(JsonText& json, const Property& property)
{
    json.beginArray("enum");
    for (const std::string& value : property.values) {
        json.element(value);
    }
    if (property.isNullable) {
        json.nullElement();
    }
    json.end();
}

// Of an array's element, or of a value that stands alone.
void addValue(JsonText& json, const Property& property)
{
    addType(json, jsonTypeOf(property.type), property.isNullable);
    if (!property.values.empty()) {
        addValues(json, property);
    }
    if (property.type == ValueType::DateTime) {
        json.member("format", "date-time");
    }
    if (property.isUnsigned) {
        json.member("minimum", size_t{0});
    }
}

void addTexts(JsonText& json, const Property& property)
{
    if (!property.description.empty()) {
        json.member("description", property.description);
    }
    if (!property.units.empty()) {
        json.member("units", property.units);
    }
}

void addContent(JsonText& json, const Property& property)
{
    if (property.type != ValueType::Any && property.isArray) {
        json.member("type", "array");
        json.beginObject("items");
        addValue(json, property);
        json.end();
    } else if (property.type != ValueType::Any) {
        addValue(json, property);
    }
    addTexts(json, property);
}

void addText(JsonText& json, const char* name, const char* format = nullptr)
{
    json.beginObject(name);
    json.member("type", "string");
    if (format != nullptr) {
        json.member("format", format);
    }
    json.member("readonly", true);
    json.end();
}

void addCount(JsonText& json, const std::string& name)
{
    json.beginObject(name);
    json.member("type", "integer");
    json.member("minimum", size_t{0});
    json.member("readonly", true);
    json.end();
}

void addTypeName(JsonText& json, const ResourceType& type)
{
    json.beginObject("@odata.type");
    json.member("type", "string");
    json.member("const", "#" + type.name.qualified());
    json.end();
}

void addCommonProperties(JsonText& json, const ResourceType& type)
{
    addText(json, "@odata.context", "uri-reference");
    addText(json, "@odata.id", "uri-reference");
    addTypeName(json, type);
    addText(json, "Description");
    if (type.hasId) {
        addText(json, "Id");
    }
    addText(json, "Name");
}

void addProperty(JsonText& json, const Property& property)
{
    json.beginObject(property.name);
    addContent(json, property);
    json.member("readonly", true);
    json.end();
    if (!property.countName.empty()) {
        addCount(json, property.countName);
    }
}

void addMembers(JsonText& json, const ResourceType& type)
{
    json.beginObject("Members");
    json.member("type", "array");
    json.beginObject("items");
    if (type.members) {
        addReference(json, definitionOf(*type.members));
    }
    json.end();
    json.member("readonly", true);
    json.end();
    addCount(json, "Members@odata.count");
    if (type.hasNextLink) {
        addText(json, "Members@odata.nextLink", "uri-reference");
    }
}

void addProperties(JsonText& json, const ResourceType& type)
{
    json.beginObject("properties");
    addCommonProperties(json, type);
    for (const Property& property : type.properties) {
        addProperty(json, property);
    }
    if (type.hasLinks) {
        json.beginObject("Links");
        addReference(json, kDefinitions + type.prefix + "Links");
        json.end();
    }
    if (!type.actions.empty()) {
        json.beginObject("Actions");
        addReference(json, kDefinitions + type.prefix + "Actions");
        json.end();
    }
    if (type.isCollection) {
        addMembers(json, type);
    }
    json.end();
}

// Of an object that has nothing but what is declared.
void addClosedType(JsonText& json)
{
    json.member("type", "object");
    json.member("additionalProperties", false);
}

void beginClosedObject(JsonText& json, const std::string& name)
{
    json.beginObject(name);
    addClosedType(json);
}

void addResource(JsonText& json, const ResourceType& type)
{
    addProperties(json, type);
    json.memberList("required", {"@odata.id", "@odata.type"}); // what no $select leaves out
}

// What does not apply is left out of it.
void addContainer(JsonText& json, const ResourceType& type)
{
    json.beginObject("properties");
    addTypeName(json, type);
    for (const Embedded& embedded : type.embedded) {
        json.beginObject(embedded.name);
        if (embedded.type) {
            addReference(json, definitionOf(*embedded.type));
        } else {
            json.member("type", "object");
        }
        json.end();
    }
    json.end();
    json.memberList("required", {"@odata.type"});
}

// What defines a type, in the object that is begun.
void addTypeDefinition(JsonText& json, const ResourceType& type)
{
    addClosedType(json);
    if (!type.description.empty()) {
        json.member("description", type.description);
    }
    if (type.isContainer) {
        addContainer(json, type);
    } else {
        addResource(json, type);
    }
}

void addLinkDefinition(JsonText& json)
{
    beginClosedObject(json, "idRef");
    json.beginObject("properties");
    addText(json, "@odata.id", "uri-reference");
    json.end();
    json.end();
}

void addLink(JsonText& json, const Link& link)
{
    json.beginObject(link.name);
    if (link.isArray) {
        json.member("type", "array");
        json.beginObject("items");
        addReference(json, kLink);
        json.end();
    } else {
        addReference(json, kLink);
    }
    json.end();
}

void addLinks(JsonText& json, const ResourceType& type)
{
    beginClosedObject(json, type.prefix + "Links");
    json.beginObject("properties");
    for (const Link& link : type.links) {
        addLink(json, link);
    }
    json.end();
    json.end();
}

void addParameters(JsonText& json, const Action& action)
{
    json.beginObject("parameters");
    for (const Property& parameter : action.parameters) {
        json.beginObject(parameter.name);
        addContent(json, parameter);
        if (parameter.isRequired) {
            json.member("requiredParameter", true);
        }
        json.end();
    }
    json.end();
}

std::string responseOf(const ResourceType& type, const Action& action)
{
    return type.prefix + action.name + "Response";
}

// Not closed: what a method gives beside its declared outputs is shown too.
void addResponse(JsonText& json, const ResourceType& type, const Action& action)
{
    json.beginObject(responseOf(type, action));
    json.member("type", "object");
    json.beginObject("properties");
    for (const Property& output : action.outputs) {
        json.beginObject(output.name);
        addContent(json, output);
        json.end();
    }
    json.end();
    json.end();
}

void addAction(JsonText& json, const ResourceType& type, const Action& action)
{
    beginClosedObject(json, type.prefix + action.name);
    addParameters(json, action);
    if (!action.outputs.empty()) {
        json.beginObject("actionResponse");
        addReference(json, kDefinitions + responseOf(type, action));
        json.end();
    }
    json.beginObject("properties");
    addText(json, "target", "uri-reference");
    for (const Action::Member& member : action.members) {
        json.beginObject(member.name);
        json.member("type", member.type);
        json.end();
    }
    json.end();
    json.end();
}

void addActions(JsonText& json, const ResourceType& type)
{
    beginClosedObject(json, type.prefix + "Actions");
    json.beginObject("properties");
    for (const Action& action : type.actions) {
        json.beginObject(action.key);
        addReference(json, kDefinitions + type.prefix + action.name);
        json.end();
    }
    json.end();
    json.end();
    for (const Action& action : type.actions) {
        addAction(json, type, action);
        if (!action.outputs.empty()) {
            addResponse(json, type, action);
        }
    }
}

// It stands for any of these definitions.
void beginDocument(JsonText& json, const std::string& uri, const std::set<std::string>& definitions)
{
    json.beginObject();
    json.member("$id", uri);
    if (definitions.size() == 1) {
        json.member("$ref", kDefinitions + *definitions.begin());
    } else {
        json.beginArray("anyOf");
        for (const std::string& definition : definitions) {
            addElement(json, kDefinitions + definition);
        }
        json.end();
    }
    json.member("$schema", kDraft);
    json.beginObject("definitions");
}

std::string endDocument(JsonText& json, const std::string& title)
{
    json.end();
    json.member("title", "#" + title);
    json.end();
    return json.take();
}

// Structures that a type's definition refers to.
void addParts(JsonText& json, const ResourceType& type)
{
    if (type.hasLinks) {
        addLinks(json, type);
    }
    if (!type.actions.empty()) {
        addActions(json, type);
    }
}

void addDefinitions(JsonText& json, const ResourceType& type)
{
    json.beginObject(type.name.name);
    addTypeDefinition(json, type);
    json.end();
    addParts(json, type);
}

bool hasVersion(const ResourceType* type)
{
    return !type->name.version.empty();
}

// A link, or a resource of a type in any of its versions, of which one may be none.
void addAnyVersion(JsonText& json, const std::string& name, const Types& types)
{
    const ResourceType* own = nullptr;
    json.beginObject(name);
    json.beginArray("anyOf");
    addElement(json, kLink);
    for (const ResourceType* type : types) {
        if (hasVersion(type)) {
            addElement(json, definitionOf(type->name));
            continue;
        }
        own = type;
        json.beginObject();
        addTypeDefinition(json, *type);
        json.end();
    }
    json.end();
    json.end();
    if (own != nullptr) {
        addParts(json, *own);
    }
}

bool needsLinks(const ResourceType* type)
{
    return type->hasLinks || hasVersion(type);
}

} // namespace

std::string jsonSchemaOf(const Types& types)
{
    std::set<std::string> names;
    bool hasLinks = false;
    for (const ResourceType* type : types) {
        names.insert(type->name.name);
        hasLinks = hasLinks || type->hasLinks;
    }
    const TypeName& first = types.front()->name;
    JsonText json;
    beginDocument(json, jsonSchemaUriOf(first), names);
    for (const ResourceType* type : types) {
        addDefinitions(json, *type);
    }
    if (hasLinks) {
        addLinkDefinition(json);
    }
    return endDocument(json, first.qualified());
}

std::string unversionedSchemaOf(const Types& types)
{
    std::map<std::string, Types> versions; // by name of the type
    std::set<std::string> names;
    for (const ResourceType* type : types) {
        versions[type->name.name].push_back(type);
        names.insert(type->name.name);
    }
    const TypeName& first = types.front()->name;
    JsonText json;
    beginDocument(json, unversionedSchemaUriOf(first), names);
    for (const auto& [name, all] : versions) {
        if (std::any_of(all.begin(), all.end(), hasVersion)) {
            addAnyVersion(json, name, all);
        } else {
            addDefinitions(json, *all.front());
        }
    }
    if (std::any_of(types.begin(), types.end(), needsLinks)) {
        addLinkDefinition(json);
    }
    return endDocument(json, first.unversioned());
}

} // namespace host::schema
