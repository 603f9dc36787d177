#include "native/tree.h"

#include "host_limits.h"
#include "schema/addresses.h"
#include "schema/csdl.h"
#include "schema/json_schema.h"
#include "schema/json_text.h"
#include "service_file/mapped_uris.h"
#include "service_file/own_uris.h"

#include <JsonAccess.h>

#include <map>
#include <string_view>
#include <utility>

namespace host::native {

namespace {

using schema::JsonText;
using schema::ResourceType;
using schema::TypeName;

constexpr const char* kRoot = "/redfish/v1/"; // as it names itself
constexpr const char* kMetadata = schema::kMetadataUri;
constexpr const char* kRegistries = service_file::kRegistriesUri;
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

std::string oneLine(const Json::Value& body)
{
    std::string text = cimgate::writeJson(body);
    text.pop_back();
    return text;
}

// The mapping wins.
void addDocument(Documents& documents, const service_file::MappedUris& mapped,
                 const std::string& uri, Document document)
{
    if (!mapped.contains(uri)) {
        documents[uri] = std::move(document);
    }
}

class Tree
{
public:
    Tree(const Json::Value& mapping, const Service& service, const service_file::ServiceFile& file);

    Documents take() { return std::move(mDocuments); }

private:
    void add(const std::string& uri, MediaType type, std::string text,
             std::string describedBy = {});
    void addResource(const std::string& uri, const TypeName& type, JsonText& json);
    void addResource(const std::string& uri, const TypeName& type, std::string text);
    void addCollection(const char* uri, const TypeName& type, const char* name,
                       const std::vector<std::string>& members);
    void addDeclared();
    std::vector<std::pair<std::string, std::string>> rootLinks() const;
    void addVersions();
    void addRoot();
    void addServiceDocument();
    void addRegistries();
    void addRegistry(const RegistryFile& file, const std::string& uri);
    void addSchemaFiles();
    void addSchemaFile(const TypeName& type, const std::string& uri);
    void addMetadata();

    const Service& mService;
    const service_file::ServiceFile& mFile;
    const service_file::MappedUris mMapped;
    std::vector<TypeName> mTypes; // of all resources, native and mapped
    Documents mDocuments;
};

Tree::Tree(const Json::Value& mapping, const Service& service,
           const service_file::ServiceFile& file)
    : mService(service),
      mFile(file),
      mMapped(mapping),
      mTypes({kServiceRoot, kRegistryFiles, kRegistryFile, kSchemaFiles, kSchemaFile, kMessage})
{
    addDeclared();
    addVersions();
    addRoot();
    addServiceDocument();
    addRegistries();
    for (TypeName& type : schema::typeNamesOf(mapping)) {
        mTypes.push_back(std::move(type));
    }
    addSchemaFiles();
    addMetadata();
}

void Tree::add(const std::string& uri, MediaType type, std::string text, std::string describedBy)
{
    addDocument(mDocuments, mMapped, uri,
                makeDocument(type, std::move(text), std::move(describedBy)));
}

void Tree::addResource(const std::string& uri, const TypeName& type, JsonText& json)
{
    json.end();
    addResource(uri, type, json.take());
}

void Tree::addResource(const std::string& uri, const TypeName& type, std::string text)
{
    add(uri, MediaType::Json, std::move(text), schema::jsonSchemaUriOf(type));
    if (const auto added = mDocuments.find(uri); added != mDocuments.end()) {
        added->second.isResource = true;
    }
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

// A composed one is a worker's, but its type is the service's as well.
void Tree::addDeclared()
{
    for (const auto& [uri, resource] : mFile.resources) {
        mTypes.push_back(resource.type);
        if (resource.isConstant) {
            addResource(uri, resource.type, oneLine(resource.body));
        }
    }
}

// Names and URIs of what stands right below the root.
std::vector<std::pair<std::string, std::string>> Tree::rootLinks() const
{
    std::vector<std::pair<std::string, std::string>> links = {{"JsonSchemas", kSchemas},
                                                              {"Registries", kRegistries}};
    const std::string_view root = kRoot;
    for (const auto& [uri, resource] : mFile.resources) {
        const std::string name = uri.substr(root.size());
        if (name.find('/') == std::string::npos) {
            links.emplace_back(name, uri);
        }
    }
    return links;
}

// Its links lead to what there is. The query options that it announces are those of the service's
// own resources: of mapped ones each entry decides.
void Tree::addRoot()
{
    Json::Value root = mFile.root.isObject() ? mFile.root : Json::Value(Json::objectValue);
    const auto byDefault = [&root](const char* name, const Json::Value& value) {
        if (!root.isMember(name)) {
            root[name] = value;
        }
    };
    byDefault("Name", "Root Service");
    byDefault("Product", "cimgate");
    byDefault("Links", Json::Value(Json::objectValue));
    root["@odata.context"] = std::string(kMetadata) + "#" + kServiceRoot.unversioned();
    root["@odata.id"] = kRoot;
    root["@odata.type"] = "#" + kServiceRoot.qualified();
    root["Id"] = "RootService";
    root["RedfishVersion"] = kRedfishVersion;
    if (!mService.uuid.empty()) {
        root["UUID"] = mService.uuid;
    }
    Json::Value& features = root["ProtocolFeaturesSupported"] = Json::Value(Json::objectValue);
    features["ExcerptQuery"] = false;
    features["FilterQuery"] = false;
    features["OnlyMemberQuery"] = true;
    features["SelectQuery"] = true;
    Json::Value& expand = features["ExpandQuery"];
    for (const char* way : {"ExpandAll", "Levels", "Links", "NoLinks"}) {
        expand[way] = true;
    }
    expand["MaxLevels"] = kMaxExpandLevels;
    for (const auto& [name, uri] : rootLinks()) {
        root[name]["@odata.id"] = uri;
    }
    addResource(service_file::kRootUri, kServiceRoot, oneLine(root));
}

void Tree::addServiceDocument()
{
    JsonText json;
    json.beginObject();
    json.member("@odata.context", kMetadata);
    json.beginArray("value");
    auto singletons = rootLinks();
    singletons.emplace(singletons.begin(), "Service", kRoot);
    for (const auto& [name, uri] : singletons) {
        json.beginObject();
        json.member("kind", "Singleton");
        json.member("name", name);
        json.member("url", uri);
        json.end();
    }
    json.end();
    json.end();
    add(service_file::kServiceDocumentUri, MediaType::Json, json.take());
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

// The schemas of one name space, in all its versions.
void addSchemas(Documents& documents, const service_file::MappedUris& mapped,
                const schema::Types& versions)
{
    const auto add = [&](const std::string& uri, MediaType type, std::string text) {
        addDocument(documents, mapped, uri, makeDocument(type, std::move(text)));
    };
    const TypeName& first = versions.front()->name;
    add(schema::csdlUriOf(first), MediaType::Xml, schema::csdlOf(versions));
    add(schema::unversionedSchemaUriOf(first), MediaType::Json,
        schema::unversionedSchemaOf(versions));
    std::map<std::string, schema::Types> documentTypes; // by URI
    for (const ResourceType* type : versions) {
        if (!type->name.version.empty()) {
            documentTypes[schema::jsonSchemaUriOf(type->name)].push_back(type);
        }
    }
    for (const auto& [uri, types] : documentTypes) {
        add(uri, MediaType::Json, schema::jsonSchemaOf(types));
    }
}

} // namespace

Documents documentsOf(const Json::Value& mapping, const Service& service,
                      const service_file::ServiceFile& file)
{
    return Tree(mapping, service, file).take();
}

Documents schemasOf(const Json::Value& mapping)
{
    const std::vector<ResourceType> types = schema::resourceTypesOf(mapping);
    std::map<std::string, schema::Types> versions;
    for (const ResourceType& type : types) {
        if (type.name.isVendors()) {
            versions[type.name.nameSpace].push_back(&type);
        }
    }
    const service_file::MappedUris mapped(mapping);
    Documents documents;
    for (const auto& [nameSpace, all] : versions) {
        addSchemas(documents, mapped, all);
    }
    return documents;
}

bool isSchemaUri(std::string_view uri)
{
    return service_file::isBelow(uri, schema::kJsonSchemasUri) ||
           service_file::isBelow(uri, schema::kCsdlUri);
}

} // namespace host::native
