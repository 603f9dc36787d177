#include "schema/csdl.h"

#include "schema/addresses.h"
#include "schema/xml_text.h"

#include <algorithm>
#include <map>
#include <set>

namespace host::schema {

namespace {

constexpr const char* kEdmx = "http://docs.oasis-open.org/odata/ns/edmx";
constexpr const char* kEdm = "http://docs.oasis-open.org/odata/ns/edm";
constexpr const char* kVocabularies =
    "http://docs.oasis-open.org/odata/odata/v4.0/errata03/csd01/complete/vocabularies/";

// The standard's types that all others derive from or have in them.
const TypeName kResource{"Resource", "v1_0_0", "Resource"};
const TypeName kExtensions{"RedfishExtensions", "v1_0_0", ""};

// What the metadata document refers to of a namespace: itself, and those of its versions.
void addReference(XmlText& xml, const TypeName& type, const std::set<std::string>& nameSpaces)
{
    xml.begin("edmx:Reference", {{"Uri", csdlUriOf(type)}});
    for (const std::string& nameSpace : nameSpaces) {
        xml.empty("edmx:Include", {{"Namespace", nameSpace}});
    }
    xml.end();
}

void addVocabulary(XmlText& xml, const std::string& name, const char* alias)
{
    xml.begin("edmx:Reference", {{"Uri", kVocabularies + name + ".xml"}});
    xml.empty("edmx:Include", {{"Namespace", name}, {"Alias", alias}});
    xml.end();
}

void addExtensions(XmlText& xml)
{
    xml.begin("edmx:Reference", {{"Uri", csdlUriOf(kExtensions)}});
    xml.empty("edmx:Include", {{"Namespace", kExtensions.versioned()}, {"Alias", "Redfish"}});
    xml.empty("edmx:Include", {{"Namespace", "Validation.v1_0_0"}, {"Alias", "Validation"}});
    xml.end();
}

void beginDocument(XmlText& xml)
{
    xml.begin("edmx:Edmx", {{"xmlns:edmx", kEdmx}, {"Version", "4.0"}});
}

// The other resources that a type has in it.
std::vector<TypeName> contentOf(const ResourceType& type)
{
    std::vector<TypeName> content;
    if (type.members) {
        content.push_back(*type.members);
    }
    for (const Embedded& embedded : type.embedded) {
        if (embedded.type) {
            content.push_back(*embedded.type);
        }
    }
    return content;
}

void addReferences(XmlText& xml, const std::vector<const ResourceType*>& types)
{
    addVocabulary(xml, "Org.OData.Core.V1", "OData");
    addVocabulary(xml, "Org.OData.Capabilities.V1", "Capabilities");
    addVocabulary(xml, "Org.OData.Measures.V1", "Measures");
    addExtensions(xml);
    addReference(xml, kResource, {kResource.nameSpace, kResource.versioned()});
    std::set<std::string> referred;
    for (const ResourceType* type : types) {
        for (const TypeName& content : contentOf(*type)) {
            if (referred.insert(content.nameSpace).second) {
                addReference(xml, content, {content.nameSpace});
            }
        }
    }
}

// ---- Annotations

void addDescription(XmlText& xml, const std::string& description)
{
    if (!description.empty()) {
        xml.empty("Annotation", {{"Term", "OData.Description"}, {"String", description}});
    }
}

void addPermission(XmlText& xml)
{
    xml.empty("Annotation",
              {{"Term", "OData.Permissions"}, {"EnumMember", "OData.Permission/Read"}});
}

void addRestriction(XmlText& xml, const char* term, const char* property)
{
    xml.begin("Annotation", {{"Term", term}});
    xml.begin("Record");
    xml.empty("PropertyValue", {{"Property", property}, {"Bool", "false"}});
    xml.end();
    xml.end();
}

void addUris(XmlText& xml, const ResourceType& type)
{
    if (type.uris.empty()) {
        return;
    }
    xml.begin("Annotation", {{"Term", "Redfish.Uris"}});
    xml.begin("Collection");
    for (const std::string& uri : type.uris) {
        xml.text("String", uri);
    }
    xml.end();
    xml.end();
}

void addCapabilities(XmlText& xml, const ResourceType& type)
{
    addDescription(xml, type.description);
    if (type.isContainer) {
        return; // no resource that could be inserted, updated or deleted
    }
    addRestriction(xml, "Capabilities.InsertRestrictions", "Insertable");
    addRestriction(xml, "Capabilities.UpdateRestrictions", "Updatable");
    addRestriction(xml, "Capabilities.DeleteRestrictions", "Deletable");
    addUris(xml, type);
}

// ---- Properties

std::string responseTypeOf(const ResourceType& type, const Action& action)
{
    return type.prefix + action.name + "Response";
}

// CSDL names the members of an enumeration; other values stay texts.
bool isEnumeration(const Property& property)
{
    return !property.values.empty() &&
           std::all_of(property.values.begin(), property.values.end(), isIdentifier);
}

std::string primitiveTypeOf(ValueType type)
{
    switch (type) {
    case ValueType::Integer:
        return "Edm.Int64";
    case ValueType::Number:
        return "Edm.Decimal";
    case ValueType::Boolean:
        return "Edm.Boolean";
    case ValueType::DateTime:
        return "Edm.DateTimeOffset";
    case ValueType::Any:
        return "Edm.PrimitiveType";
    case ValueType::Text:
        break;
    }
    return "Edm.String";
}

// prefix is what the names of its enumerations begin with: the version's name space and a dot, and
// of a parameter the action.
std::string csdlTypeOf(const Property& property, const std::string& prefix)
{
    const std::string type =
        isEnumeration(property) ? prefix + property.name : primitiveTypeOf(property.type);
    return property.isArray ? "Collection(" + type + ")" : type;
}

void addFacts(XmlText& xml, const Property& property)
{
    addDescription(xml, property.description);
    if (!property.units.empty()) {
        xml.empty("Annotation", {{"Term", "Measures.Unit"}, {"String", property.units}});
    }
    if (property.isUnsigned) {
        xml.empty("Annotation", {{"Term", "Validation.Minimum"}, {"Int", "0"}});
    }
}

// prefix is as of csdlTypeOf().
void addProperty(XmlText& xml, const Property& property, const std::string& prefix)
{
    if (!isIdentifier(property.name)) {
        return; // CSDL has no such name
    }
    xml.begin("Property", {{"Name", property.name},
                           {"Type", csdlTypeOf(property, prefix)},
                           {"Nullable", property.isNullable ? "true" : "false"}});
    addPermission(xml);
    addFacts(xml, property);
    xml.end();
}

// prefix is as of csdlTypeOf().
void addStructure(XmlText& xml, const char* name, const std::string& prefix)
{
    xml.empty("Property", {{"Name", name}, {"Type", prefix + name}, {"Nullable", "false"}});
}

std::string navigationTypeOf(const std::optional<TypeName>& type)
{
    return type ? type->unversioned() : "Resource.Item";
}

// Other resources that stand in it as they are, and not as links.
void addInPlace(XmlText& xml, const std::string& name, const std::string& type, bool isNullable)
{
    xml.begin("NavigationProperty",
              {{"Name", name}, {"Type", type}, {"Nullable", isNullable ? "true" : "false"}});
    addPermission(xml);
    xml.empty("Annotation", {{"Term", "OData.AutoExpand"}});
    xml.end();
}

void addEmbedded(XmlText& xml, const ResourceType& type)
{
    for (const Embedded& embedded : type.embedded) {
        if (isIdentifier(embedded.name)) {
            addInPlace(xml, embedded.name, navigationTypeOf(embedded.type), true);
        }
    }
}

void addMembers(XmlText& xml, const ResourceType& type)
{
    if (type.hasId) {
        xml.begin("Property", {{"Name", "Id"}, {"Type", "Resource.Id"}, {"Nullable", "false"}});
        addPermission(xml);
        xml.end();
    }
    addInPlace(xml, "Members", "Collection(" + navigationTypeOf(type.members) + ")", false);
}

void addContent(XmlText& xml, const ResourceType& type)
{
    const std::string prefix = type.name.versioned() + "." + type.prefix;
    for (const Property& property : type.properties) {
        addProperty(xml, property, prefix);
    }
    if (type.hasLinks) {
        addStructure(xml, "Links", prefix);
    }
    if (!type.actions.empty()) {
        addStructure(xml, "Actions", prefix);
    }
    if (type.isCollection) {
        addMembers(xml, type);
    }
    addEmbedded(xml, type);
}

// ---- What a type needs beside itself

void addLinks(XmlText& xml, const ResourceType& type)
{
    if (!type.hasLinks) {
        return;
    }
    xml.begin("ComplexType", {{"Name", type.prefix + "Links"}, {"BaseType", "Resource.Links"}});
    for (const Link& link : type.links) {
        xml.begin("NavigationProperty",
                  {{"Name", link.name},
                   {"Type", link.isArray ? "Collection(Resource.Item)" : "Resource.Item"},
                   {"Nullable", "false"}});
        addPermission(xml);
        xml.empty("Annotation", {{"Term", "OData.AutoExpandReferences"}});
        xml.end();
    }
    xml.end();
}

void addEnumeration(XmlText& xml, const Property& property, const std::string& prefix)
{
    if (!isEnumeration(property) || !isIdentifier(property.name)) {
        return;
    }
    xml.begin("EnumType", {{"Name", prefix + property.name}});
    for (const std::string& value : property.values) {
        xml.empty("Member", {{"Name", value}});
    }
    xml.end();
}

void addEnumerations(XmlText& xml, const ResourceType& type)
{
    for (const Property& property : type.properties) {
        addEnumeration(xml, property, type.prefix);
    }
    for (const Action& action : type.actions) {
        for (const Property& parameter : action.parameters) {
            addEnumeration(xml, parameter, type.prefix + action.name);
        }
        for (const Property& output : action.outputs) {
            addEnumeration(xml, output, responseTypeOf(type, action));
        }
    }
}

void addResponse(XmlText& xml, const ResourceType& type, const Action& action)
{
    if (action.outputs.empty()) {
        return;
    }
    const std::string name = responseTypeOf(type, action);
    xml.begin("ComplexType", {{"Name", name}});
    for (const Property& output : action.outputs) {
        addProperty(xml, output, type.name.versioned() + "." + name);
    }
    xml.end();
}

void addTypes(XmlText& xml, const ResourceType& type)
{
    addLinks(xml, type);
    if (!type.actions.empty()) {
        xml.begin("ComplexType", {{"Name", type.prefix + "Actions"}});
        xml.end();
    }
    for (const Action& action : type.actions) {
        addResponse(xml, type, action);
    }
    addEnumerations(xml, type);
}

void addParameter(XmlText& xml, const Property& parameter, const std::string& prefix)
{
    if (!isIdentifier(parameter.name)) {
        return;
    }
    xml.begin("Parameter", {{"Name", parameter.name},
                            {"Type", csdlTypeOf(parameter, prefix)},
                            {"Nullable", parameter.isRequired ? "false" : "true"}});
    addFacts(xml, parameter);
    xml.end();
}

void addActions(XmlText& xml, const ResourceType& type)
{
    const std::string nameSpace = type.name.versioned() + ".";
    const std::string prefix = nameSpace + type.prefix;
    for (const Action& action : type.actions) {
        xml.begin("Action", {{"Name", action.name}, {"IsBound", "true"}});
        xml.empty("Parameter", {{"Name", type.name.name}, {"Type", prefix + "Actions"}});
        for (const Property& parameter : action.parameters) {
            addParameter(xml, parameter, prefix + action.name);
        }
        if (!action.outputs.empty()) {
            xml.empty("ReturnType",
                      {{"Type", nameSpace + responseTypeOf(type, action)}, {"Nullable", "false"}});
        }
        xml.end();
    }
}

// ---- Name spaces

const char* elementOf(const ResourceType& type)
{
    return type.isContainer ? "ComplexType" : "EntityType";
}

std::string baseTypeOf(const ResourceType& type)
{
    if (type.isContainer) {
        return "Resource.OemObject";
    }
    return type.isCollection ? "Resource.v1_0_0.ResourceCollection" : "Resource.v1_0_0.Resource";
}

void beginSchema(XmlText& xml, const std::string& nameSpace)
{
    xml.begin("Schema", {{"xmlns", kEdm}, {"Namespace", nameSpace}});
}

// What all versions of a type have in common: the last of them has the most.
void addAbstractType(XmlText& xml, const ResourceType& type)
{
    xml.begin(elementOf(type),
              {{"Name", type.name.name}, {"BaseType", baseTypeOf(type)}, {"Abstract", "true"}});
    addCapabilities(xml, type);
    xml.end();
    addActions(xml, type);
}

void addVersionOf(XmlText& xml, const ResourceType& type)
{
    xml.begin(elementOf(type), {{"Name", type.name.name}, {"BaseType", type.name.unversioned()}});
    addContent(xml, type);
    xml.end();
    addTypes(xml, type);
}

void addTypeWithoutVersion(XmlText& xml, const ResourceType& type)
{
    xml.begin("EntityType", {{"Name", type.name.name}, {"BaseType", baseTypeOf(type)}});
    addCapabilities(xml, type);
    addContent(xml, type);
    xml.end();
    addTypes(xml, type);
    addActions(xml, type);
}

} // namespace

std::string csdlOf(const std::vector<const ResourceType*>& types)
{
    XmlText xml;
    beginDocument(xml);
    addReferences(xml, types);
    xml.begin("edmx:DataServices");
    beginSchema(xml, types.front()->name.nameSpace);
    std::map<std::string, const ResourceType*> latest;
    std::map<std::string, std::vector<const ResourceType*>> versions;
    for (const ResourceType* type : types) {
        if (type->name.version.empty()) {
            addTypeWithoutVersion(xml, *type);
        } else {
            latest[type->name.name] = type;
            versions[type->name.versioned()].push_back(type);
        }
    }
    for (const auto& [name, type] : latest) {
        addAbstractType(xml, *type);
    }
    xml.end();
    for (const auto& [nameSpace, ofVersion] : versions) {
        beginSchema(xml, nameSpace);
        for (const ResourceType* type : ofVersion) {
            addVersionOf(xml, *type);
        }
        xml.end();
    }
    xml.end();
    xml.end();
    return xml.take();
}

std::string metadataOf(const std::vector<TypeName>& types)
{
    std::map<std::string, std::set<std::string>> nameSpaces;
    for (const TypeName& type : types) {
        nameSpaces[type.nameSpace].insert({type.nameSpace, type.versioned()});
    }
    XmlText xml;
    beginDocument(xml);
    for (const auto& [nameSpace, included] : nameSpaces) {
        addReference(xml, {nameSpace, "", ""}, included);
    }
    xml.begin("edmx:DataServices");
    beginSchema(xml, "Service");
    xml.empty("EntityContainer",
              {{"Name", "Service"}, {"Extends", "ServiceRoot.v1_5_0.ServiceContainer"}});
    xml.end();
    xml.end();
    xml.end();
    return xml.take();
}

} // namespace host::schema
