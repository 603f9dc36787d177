#include "native/tree.h"

#include "native/mapped_uris.h"
#include "schema/addresses.h"
#include "schema/csdl.h"
#include "schema/json_schema.h"
#include "schema/json_text.h"

#include <map>
#include <utility>

namespace host::native {

namespace {

using schema::JsonText;
using schema::ResourceType;
using schema::TypeName;

constexpr const char* kRoot = "/redfish/v1/";
constexpr const char* kMetadata = "/redfish/v1/$metadata";
constexpr const char* kRegistries = "/redfish/v1/Registries";
constexpr const char* kSchemas = schema::kJsonSchemasUri;
constexpr const char* kRedfishVersion = "1.6.0";

const TypeName kServiceRoot{"ServiceRoot", "v1_5_0", "ServiceRoot"};
const TypeName kRegistryFiles{"MessageRegistryFileCollection", "", "MessageRegistryFileCollection"};
const TypeName kRegistryFile{"MessageRegistryFile", "v1_1_0", "MessageRegistryFile"};
const TypeName kSchemaFiles{"JsonSchemaFileCollection", "", "JsonSchemaFileCollection"};
const TypeName kSchemaFile{"JsonSchemaFile", "v1_1_0", "JsonSchemaFile"};
const TypeName kMessage{"Message", "v1_1_1", "Message"}; // of errors

void beginResource(JsonText& json, const std::string& uri, const TypeName& type)
{
    json.beginObject();
    json.member("@odata.context", std::string(kMetadata) + "#" + type.unversioned());
    json.member("@odata.id", uri);
    json.member("@odata.type", "#" + type.qualified());
}

void addLink(JsonText& json, const char* name, const std::string& uri)
{
    json.beginObject(name);
    json.member("@odata.id", uri);
    json.end();
}

class Tree
{
public:
    Tree(const Json::Value& mapping, const Service& service);

    Documents take() { return std::move(mDocuments); }

private:
    void add(const std::string& uri, MediaType type, std::string text,
             std::string describedBy = {});
    void addResource(const std::string& uri, const TypeName& type, JsonText& json);
    void addCollection(const char* uri, const TypeName& type, const char* name,
                       const std::vector<std::string>& members);
    void addVersions();
    void addRoot();
    void addServiceDocument();
    void addRegistries();
    void addRegistry(const RegistryFile& file, const std::string& uri);
    void addNameSpaces(const std::vector<ResourceType>& types);
    void addNameSpace(const std::vector<const ResourceType*>& versions);
    void addSchemaFiles();
    void addSchemaFile(const TypeName& type, const std::string& uri);
    void addMetadata();

    const Service& mService;
    const MappedUris mMapped;
    std::vector<TypeName> mTypes; // of all resources, native and mapped
    Documents mDocuments;
};

Tree::Tree(const Json::Value& mapping, const Service& service)
    : mService(service),
      mMapped(mapping),
      mTypes({kServiceRoot, kRegistryFiles, kRegistryFile, kSchemaFiles, kSchemaFile, kMessage})
{
    addVersions();
    addRoot();
    addServiceDocument();
    addRegistries();
    addNameSpaces(schema::resourceTypesOf(mapping));
    addSchemaFiles();
    addMetadata();
}

void Tree::add(const std::string& uri, MediaType type, std::string text, std::string describedBy)
{
    if (!mMapped.contains(uri)) {
        mDocuments[uri] = makeDocument(type, std::move(text), std::move(describedBy));
    }
}

void Tree::addResource(const std::string& uri, const TypeName& type, JsonText& json)
{
    json.end();
    add(uri, MediaType::Json, json.take(), schema::jsonSchemaUriOf(type));
}

void Tree::addCollection(const char* uri, const TypeName& type, const char* name,
                         const std::vector<std::string>& members)
{
    JsonText json;
    beginResource(json, uri, type);
    json.member("Name", name);
    json.beginArray("Members");
    for (const std::string& member : members) {
        json.beginObject();
        json.member("@odata.id", member);
        json.end();
    }
    json.end();
    json.member("Members@odata.count", members.size());
    addResource(uri, type, json);
}

void Tree::addVersions()
{
    JsonText json;
    json.beginObject();
    json.member("v1", kRoot);
    json.end();
    add("/redfish", MediaType::Json, json.take());
}

// Its links lead to what there is, and it announces no query option: the service's own resources
// have none, and of mapped ones each entry decides.
void Tree::addRoot()
{
    JsonText json;
    beginResource(json, kRoot, kServiceRoot);
    json.member("Id", "RootService");
    json.member("Name", "Root Service");
    json.member("RedfishVersion", kRedfishVersion);
    if (!mService.uuid.empty()) {
        json.member("UUID", mService.uuid);
    }
    json.member("Product", "cimgate");
    json.beginObject("ProtocolFeaturesSupported");
    json.member("ExcerptQuery", false);
    json.beginObject("ExpandQuery");
    for (const char* way : {"ExpandAll", "Levels", "Links", "NoLinks"}) {
        json.member(way, false);
    }
    json.end();
    for (const char* query : {"FilterQuery", "OnlyMemberQuery", "SelectQuery"}) {
        json.member(query, false);
    }
    json.end();
    addLink(json, "JsonSchemas", kSchemas);
    addLink(json, "Registries", kRegistries);
    json.beginObject("Links");
    json.end();
    addResource("/redfish/v1", kServiceRoot, json);
}

void Tree::addServiceDocument()
{
    JsonText json;
    json.beginObject();
    json.member("@odata.context", kMetadata);
    json.beginArray("value");
    const std::pair<const char*, const char*> singletons[] = {
        {"Service", kRoot}, {"JsonSchemas", kSchemas}, {"Registries", kRegistries}};
    for (const auto& [name, uri] : singletons) {
        json.beginObject();
        json.member("kind", "Singleton");
        json.member("name", name);
        json.member("url", uri);
        json.end();
    }
    json.end();
    json.end();
    add("/redfish/v1/odata", MediaType::Json, json.take());
}

void Tree::addRegistries()
{
    std::vector<std::string> members;
    for (const RegistryFile& file : mService.registries) {
        members.push_back(std::string(kRegistries) + "/" + file.id);
        addRegistry(file, members.back());
    }
    addCollection(kRegistries, kRegistryFiles, "Message Registries", members);
}

void Tree::addRegistry(const RegistryFile& file, const std::string& uri)
{
    const std::string fileUri = uri + ".json";
    JsonText json;
    beginResource(json, uri, kRegistryFile);
    json.member("Id", file.id);
    json.member("Name", file.name);
    json.member("Registry", file.registry);
    json.memberList("Languages", {file.language});
    json.beginArray("Location");
    json.beginObject();
    json.member("Language", file.language);
    json.member("Uri", fileUri);
    json.end();
    json.end();
    addResource(uri, kRegistryFile, json);
    const std::optional<TypeName> type = schema::typeNameOf(file.type);
    add(fileUri, MediaType::Json, file.text, type ? schema::jsonSchemaUriOf(*type) : "");
    if (type) {
        mTypes.push_back(*type);
    }
}

void Tree::addNameSpaces(const std::vector<ResourceType>& types)
{
    std::map<std::string, std::vector<const ResourceType*>> versions;
    for (const ResourceType& type : types) {
        mTypes.push_back(type.name);
        if (type.name.isVendors()) {
            versions[type.name.nameSpace].push_back(&type);
        }
    }
    for (const auto& [nameSpace, all] : versions) {
        addNameSpace(all);
    }
}

void Tree::addNameSpace(const std::vector<const ResourceType*>& versions)
{
    const TypeName& first = versions.front()->name;
    add(schema::csdlUriOf(first), MediaType::Xml, schema::csdlOf(versions));
    std::vector<TypeName> names;
    for (const ResourceType* type : versions) {
        names.push_back(type->name);
        add(schema::jsonSchemaUriOf(type->name), MediaType::Json, schema::jsonSchemaOf(*type));
    }
    if (!first.version.empty()) {
        add(schema::unversionedSchemaUriOf(first), MediaType::Json,
            schema::unversionedSchemaOf(names));
    }
}

void Tree::addSchemaFiles()
{
    std::map<std::string, TypeName> files; // by URI
    for (const TypeName& type : mTypes) {
        files.try_emplace(std::string(kSchemas) + "/" + type.nameSpace, type);
    }
    std::vector<std::string> members;
    for (const auto& [uri, type] : files) {
        members.push_back(uri);
        addSchemaFile(type, uri);
    }
    addCollection(kSchemas, kSchemaFiles, "Schemas", members);
}

void Tree::addSchemaFile(const TypeName& type, const std::string& uri)
{
    JsonText json;
    beginResource(json, uri, kSchemaFile);
    json.member("Id", type.nameSpace);
    json.member("Name", type.nameSpace + " Schema");
    json.member("Schema", "#" + type.unversioned());
    json.memberList("Languages", {"en"});
    json.beginArray("Location");
    json.beginObject();
    json.member("Language", "en");
    json.member(type.isVendors() ? "Uri" : "PublicationUri", schema::unversionedSchemaUriOf(type));
    json.end();
    json.end();
    addResource(uri, kSchemaFile, json);
}

void Tree::addMetadata()
{
    add(kMetadata, MediaType::Xml, schema::metadataOf(mTypes));
}

} // namespace

Documents documentsOf(const Json::Value& mapping, const Service& service)
{
    return Tree(mapping, service).take();
}

} // namespace host::native
