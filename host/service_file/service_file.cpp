#include "service_file/service_file.h"

#include "schema/addresses.h"
#include "service_file/mapped_uris.h"
#include "service_file/own_uris.h"
#include "service_file/source.h"

#include <ResourceMapper/mapping/Entry.h>

#include <algorithm>
#include <utility>

namespace host::service_file {

namespace mapping = cimgate::mapping;

namespace {

constexpr const char* kAllowableValues = "@Redfish.AllowableValues";

std::string lastSegmentOf(const std::string& uri)
{
    return uri.substr(uri.rfind('/') + 1);
}

// The texts of a parameter's value map, in the mapping's order.
std::vector<std::string> mappedTexts(const Json::Value& input)
{
    std::vector<std::string> texts;
    for (const Json::Value& text : cimgate::objectOf(mapping::valueMapOf(input))) {
        if (text.isString()) {
            texts.push_back(text.asString());
        }
    }
    return texts;
}

// Whether the mapped action takes it.
bool isAllowed(const Json::Value& value, const std::vector<std::string>& allowed)
{
    return allowed.empty() || (value.isString() && std::find(allowed.begin(), allowed.end(),
                                                             value.asString()) != allowed.end());
}

Parameter parameterOf(const std::string& name, const Json::Value& declared,
                      const Json::Value& inputs)
{
    Parameter parameter;
    parameter.mappedName = name;
    if (const Json::Value& as = cimgate::memberOf(declared, kAs); as.isString()) {
        parameter.mappedName = as.asString();
    }
    const Json::Value& input = cimgate::memberOf(inputs, parameter.mappedName);
    parameter.isRequired = cimgate::flagOf(input, mapping::kIsRequired);
    const std::vector<std::string> allowed = mappedTexts(input);
    const Json::Value& values = cimgate::memberOf(declared, kValues);
    parameter.isTranslated = values.isObject();
    if (parameter.isTranslated) {
        for (auto value = values.begin(); value != values.end(); ++value) {
            if (isAllowed(*value, allowed)) {
                parameter.values.emplace(value.name(), *value);
            }
        }
    } else if (!allowed.empty()) {
        parameter.isTranslated = true;
        for (const std::string& text : allowed) {
            parameter.values.emplace(text, text);
        }
    }
    return parameter;
}

// What a resource's body shows of an action.
Json::Value shownAction(const std::string& uri, const Action& action)
{
    Json::Value shown(Json::objectValue);
    shown["target"] = uri;
    for (const auto& [name, parameter] : action.parameters) {
        if (!parameter.isTranslated) {
            continue;
        }
        Json::Value& values = shown[name + kAllowableValues] = Json::Value(Json::arrayValue);
        for (const auto& [value, mapped] : parameter.values) {
            values.append(value);
        }
    }
    return shown;
}

// The root is made before anything can be read.
Json::Value withoutSources(const Json::Value& value)
{
    if (isSource(value)) {
        return {};
    }
    Json::Value constant = value;
    if (value.isObject() || value.isArray()) {
        for (Json::Value& part : constant) {
            part = withoutSources(part);
        }
    }
    return constant;
}

class Reader
{
public:
    Reader(const Json::Value& file, const Json::Value& mapping)
        : mFile(file), mMapping(mapping), mMapped(mapping)
    {}

    ServiceFile read();

private:
    void addResource(const std::string& uri, const Json::Value& declared);
    Json::Value actionsOf(const std::string& uri, const Json::Value& declared);
    void addMembers();
    Json::Value membersBelow(const std::string& path) const;
    void addParts(Resource& resource);
    void addDataType(const std::string& container);

    const Json::Value& mFile;
    const Json::Value& mMapping;
    const MappedUris mMapped;
    ServiceFile mRead;
};

ServiceFile Reader::read()
{
    mRead.root = Json::Value(Json::objectValue);
    for (auto member = mFile.begin(); member != mFile.end(); ++member) {
        const std::string uri = servedUri(member.name());
        if (!member->isObject() || !isUsableUri(uri) || isServicesOwn(uri) ||
            mMapped.contains(uri) || isRepeated(mFile, member.name())) {
            continue;
        }
        if (uri == kRootUri) {
            mRead.root = withoutSources(*member);
        } else {
            addResource(uri, *member);
        }
    }
    addMembers();
    for (auto& [uri, resource] : mRead.resources) {
        addParts(resource);
    }
    return std::move(mRead);
}

void Reader::addResource(const std::string& uri, const Json::Value& declared)
{
    const Json::Value& typeText = cimgate::memberOf(declared, kType);
    const std::optional<schema::TypeName> type =
        typeText.isString() ? schema::typeNameOf(typeText.asString()) : std::nullopt;
    if (!type) {
        return;
    }
    Resource resource;
    resource.type = *type;
    resource.body = declared;
    resource.body["@odata.id"] = uri;
    resource.body["@odata.context"] = std::string(schema::kMetadataUri) + "#" + type->unversioned();
    if (!type->version.empty() && !resource.body.isMember("Id")) { // collections have none
        resource.body["Id"] = lastSegmentOf(uri);
    }
    if (const Json::Value& actions = cimgate::memberOf(declared, kActions); actions.isObject()) {
        resource.body[kActions] = actionsOf(uri, actions);
    }
    mRead.resources.emplace(uri, std::move(resource));
}

Json::Value Reader::actionsOf(const std::string& uri, const Json::Value& declared)
{
    Json::Value shown(Json::objectValue);
    for (auto member = declared.begin(); member != declared.end(); ++member) {
        const Json::Value& target = cimgate::memberOf(*member, kAction);
        const Json::Value* inputs =
            target.isString() ? mMapped.inputsOf(target.asString()) : nullptr;
        const std::string own = actionUri(uri, member.name());
        if (inputs == nullptr || own.empty()) {
            continue;
        }
        Action action;
        action.target = target.asString();
        action.constants = cimgate::objectOf(cimgate::memberOf(*member, kConstants));
        const Json::Value& parameters = cimgate::memberOf(*member, kParameters);
        if (parameters.isObject()) {
            for (auto parameter = parameters.begin(); parameter != parameters.end(); ++parameter) {
                action.parameters.emplace(parameter.name(),
                                          parameterOf(parameter.name(), *parameter, *inputs));
            }
        }
        shown[member.name()] = shownAction(own, action);
        mRead.actions.emplace(own, std::move(action));
    }
    return shown;
}

// A collection that does not name its members has the resources that are declared right below it.
void Reader::addMembers()
{
    for (auto& [uri, resource] : mRead.resources) {
        if (!resource.type.name.ends_with("Collection")) {
            continue;
        }
        Json::Value& members = resource.body[kMembers];
        if (!members.isArray()) {
            members = membersBelow(uri + "/");
        }
        resource.body["Members@odata.count"] = members.size();
    }
}

Json::Value Reader::membersBelow(const std::string& path) const
{
    Json::Value members(Json::arrayValue);
    for (auto other = mRead.resources.lower_bound(path);
         other != mRead.resources.end() && other->first.starts_with(path); ++other) {
        if (other->first.find('/', path.size()) == std::string::npos) {
            members.append(Json::Value(Json::objectValue))["@odata.id"] = other->first;
        }
    }
    return members;
}

void Reader::addParts(Resource& resource)
{
    resource.isConstant = !hasSource(resource.body);
    forEachSource(resource.body, [&](const Source& source) {
        resource.parts.insert(resource.parts.end(), source.uris.begin(), source.uris.end());
        if (source.kind == Source::Kind::Embedded) {
            addDataType(source.container);
        }
    });
}

void Reader::addDataType(const std::string& container)
{
    if (const auto type = schema::containerTypeOf(mMapping, container)) {
        mRead.dataTypes.emplace(container, "#" + type->qualified());
    }
}

} // namespace

ServiceFile readServiceFile(const Json::Value& file, const Json::Value& mapping)
{
    return Reader(file, mapping).read();
}

std::string servedUri(const std::string& declared)
{
    return declared.ends_with('/') ? declared.substr(0, declared.size() - 1) : declared;
}

bool isRepeated(const Json::Value& file, const std::string& declared)
{
    return declared.ends_with('/') && file.isMember(servedUri(declared));
}

bool isUsableUri(std::string_view uri)
{
    if (uri == kRootUri) {
        return true;
    }
    const std::string below = std::string(kRootUri) + "/";
    const auto isPlain = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
               std::string_view("-._~/:@!,").find(c) != std::string_view::npos;
    };
    return uri.starts_with(below) && uri.size() > below.size() && !uri.ends_with('/') &&
           uri.find("//") == std::string_view::npos &&
           uri.find("/Actions/") == std::string_view::npos &&
           std::all_of(uri.begin(), uri.end(), isPlain);
}

std::string actionUri(const std::string& resourceUri, const std::string& key)
{
    const bool isAction = key.size() > 1 && key.front() == '#' &&
                          isUsableUri(std::string(kRootUri) + "/" + key.substr(1));
    return isAction ? resourceUri + "/Actions/" + key.substr(1) : "";
}

} // namespace host::service_file
