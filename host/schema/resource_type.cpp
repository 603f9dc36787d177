#include "schema/resource_type.h"

#include <ResourceMapper/mapping/Entry.h>
#include <ResourceMapper/mapping/Links.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace host::schema {

namespace mapping = cimgate::mapping;

namespace {

constexpr const char* kOdataType = "@odata.type";
constexpr const char* kDescription = "Description";
constexpr const char* kVendor = "Vexo"; // makes of a name one that hasVendorWord()

bool isVersion(std::string_view text)
{
    return text.size() > 1 && text.front() == 'v' &&
           text.find_first_not_of("0123456789_", 1) == std::string_view::npos;
}

// What annotations make of every answer; a property that is shown by such a name is not seen.
bool isCommon(const std::string& name)
{
    return name == "Id" || name == "Name" || name == kDescription;
}

const char* jsonTypeOf(const Json::Value& value)
{
    switch (value.type()) {
    case Json::objectValue:
        return "object";
    case Json::arrayValue:
        return "array";
    case Json::booleanValue:
        return "boolean";
    case Json::stringValue:
        return "string";
    case Json::nullValue:
        return "null";
    default:
        return "number";
    }
}

// An action's own message is told as an extended one, and a job by "Location".
bool isInBody(const std::string& output, const Json::Value& declared)
{
    constexpr const char* kMessage[] = {"MessageID", "Message", "MessageArguments", "MessageArgs",
                                        "MsgArgs"};
    return !cimgate::flagOf(declared, mapping::kIsRefType) &&
           std::find(std::begin(kMessage), std::end(kMessage), output) == std::end(kMessage);
}

// The method of "#VexoIndicatorService.SetIndicator" is what follows the first dot.
std::string methodOf(const std::string& key)
{
    const size_t dot = key.find('.');
    return dot == std::string::npos ? "" : key.substr(dot + 1);
}

Action actionOf(const std::string& key, const Json::Value& declared, const Json::Value& methods)
{
    Action action;
    action.name = methodOf(key);
    action.key = key;
    const Json::Value& members = cimgate::objectOf(declared);
    for (auto member = members.begin(); member != members.end(); ++member) {
        if (cimgate::nameOf(member) != mapping::kTarget) {
            action.members.push_back({shownText(member.name()), jsonTypeOf(*member)});
        }
    }
    const Json::Value& inputs = cimgate::objectOf(
        cimgate::memberOf(cimgate::memberOf(methods, action.name), mapping::kInputs));
    for (auto input = inputs.begin(); input != inputs.end(); ++input) {
        action.parameters.push_back(parameterOf(input.name(), *input));
    }
    const Json::Value& outputs = cimgate::objectOf(
        cimgate::memberOf(cimgate::memberOf(methods, action.name), mapping::kOutputs));
    for (auto output = outputs.begin(); output != outputs.end(); ++output) {
        if (isInBody(output.name(), *output)) {
            action.outputs.push_back(outputOf(output.name(), *output));
        }
    }
    return action;
}

void addActions(ResourceType& type, const Json::Value& entry, const std::string& cimClass)
{
    const Json::Value& actions = mapping::actionsOf(entry, cimClass);
    const Json::Value& methods =
        cimgate::memberOf(mapping::classOf(entry, cimClass), mapping::kMethods);
    for (auto action = actions.begin(); action != actions.end(); ++action) {
        const std::string key = shownText(action.name());
        if (!methodOf(key).empty()) {
            type.actions.push_back(actionOf(key, *action, methods));
        }
    }
}

void addLinks(ResourceType& type, const Json::Value& entry)
{
    type.hasLinks = cimgate::hasMember(entry, mapping::kLinks);
    const Json::Value& links = cimgate::objectOf(cimgate::memberOf(entry, mapping::kLinks));
    for (auto link = links.begin(); link != links.end(); ++link) {
        const mapping::LinkKind kind = mapping::kindOfLink(link.name());
        if (kind != mapping::LinkKind::Unknown) {
            type.links.push_back({link.name(), kind != mapping::LinkKind::Fixed});
        }
    }
}

void addProperties(ResourceType& type, const Json::Value& entry, const std::string& cimClass)
{
    const mapping::Source source = mapping::sourceOf(entry, cimClass, false);
    if (source == mapping::Source::MappingFile) {
        return; // nothing is read: its answers are made of the entry alone
    }
    const std::string key = cimgate::textOf(entry, mapping::kUniqueSelector);
    const Json::Value& properties = mapping::propertiesOf(entry, cimClass);
    for (auto declared = properties.begin(); declared != properties.end(); ++declared) {
        Property property =
            propertyOf(declared.name(), *declared, source == mapping::Source::DataCache);
        if (!property.name.empty() && !isCommon(property.name)) {
            property.isNullable = property.isNullable && declared.name() != key;
            type.properties.push_back(std::move(property));
        }
    }
}

ResourceType resourceOf(const Json::Value& entry)
{
    ResourceType type;
    const std::string cimClass = mapping::classNameOf(entry);
    addProperties(type, entry, cimClass);
    addLinks(type, entry);
    addActions(type, entry, cimClass);
    return type;
}

ResourceType collectionOf(const Json::Value& file, const Json::Value& entry)
{
    ResourceType type;
    const Json::Value& member = mapping::memberEntryOf(file, entry);
    type.isCollection = true;
    type.members = typeNameOf(cimgate::textOf(member, kOdataType));
    type.hasNextLink = cimgate::flagOf(entry, mapping::kSupportsNextLink);
    // One that is read live has none.
    type.hasId =
        mapping::sourceOf(member, mapping::classNameOf(member), true) == mapping::Source::DataCache;
    return type;
}

ResourceType dataOf(const Json::Value& file, const Json::Value& container)
{
    ResourceType type;
    type.isContainer = true;
    type.description = shownText(cimgate::textOf(container, kDescription));
    const Json::Value& instances = cimgate::memberOf(container, mapping::kInstances);
    for (auto resource = instances.begin(); resource != instances.end(); ++resource) {
        const Json::Value& entry = cimgate::memberOf(file, resource.name());
        if (entry.isObject() && !shownText(resource.name()).empty()) {
            type.embedded.push_back(
                {resource.name(), typeNameOf(cimgate::textOf(entry, kOdataType))});
        }
    }
    return type;
}

// Whether resources have types in this name space.
bool isDeclared(const Json::Value& file, const std::string& nameSpace)
{
    const std::string begin = "#" + nameSpace + ".";
    const Json::Value& entries = cimgate::objectOf(file);
    return std::any_of(entries.begin(), entries.end(), [&begin](const Json::Value& entry) {
        return cimgate::textOf(entry, kOdataType).starts_with(begin);
    });
}

void addUri(ResourceType& type, const Json::Value& entry)
{
    std::string uri = shownText(cimgate::textOf(entry, mapping::kOdataId));
    if (!uri.empty()) {
        const bool hasKey =
            !type.isCollection && !cimgate::textOf(entry, mapping::kUniqueSelector).empty();
        type.uris.push_back(hasKey ? uri + "/{Id}" : std::move(uri));
    }
}

// What tells of a type.
struct Described
{
    const Json::Value& entry;
    bool isContainer;
};

// Calls use(name, Described) for every type that entries have: some come several times.
template <typename Use>
void forEachType(const Json::Value& file, const Use& use)
{
    const Json::Value& entries = cimgate::objectOf(file);
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        if (const auto name = typeNameOf(cimgate::textOf(*entry, kOdataType))) {
            use(*name, Described{*entry, false});
        }
        if (const auto name = containerTypeOf(file, entry.name())) {
            use(*name, Described{*entry, true});
        }
    }
}

// Adds what all of one list has to another, by name; what both have is joined.
template <typename Named, typename Join>
void addAll(std::vector<Named>& all, std::vector<Named> more, const Join& join)
{
    for (Named& one : more) {
        const auto same = std::find_if(
            all.begin(), all.end(), [&one](const Named& other) { return other.name == one.name; });
        if (same == all.end()) {
            all.push_back(std::move(one));
        } else {
            join(*same, one);
        }
    }
}

// Of entries with the same type, an answer may be of either.
void merge(ResourceType& type, ResourceType other)
{
    const auto keepFirst = [](const auto& /*first*/, const auto& /*second*/) {
    };
    type.uris.insert(type.uris.end(), other.uris.begin(), other.uris.end());
    type.hasId = type.hasId || other.hasId;
    type.hasLinks = type.hasLinks || other.hasLinks;
    type.hasNextLink = type.hasNextLink || other.hasNextLink;
    addAll(type.properties, std::move(other.properties), join);
    addAll(type.links, std::move(other.links), keepFirst);
    addAll(type.actions, std::move(other.actions), keepFirst);
    addAll(type.embedded, std::move(other.embedded), keepFirst);
}

// Types of one version follow each other.
void setPrefixes(std::vector<ResourceType>& types)
{
    for (size_t i = 1; i < types.size(); ++i) {
        if (types[i - 1].name.versioned() == types[i].name.versioned()) {
            types[i - 1].prefix = types[i - 1].name.name;
            types[i].prefix = types[i].name.name;
        }
    }
}

} // namespace

std::string TypeName::versioned() const
{
    return version.empty() ? nameSpace : nameSpace + "." + version;
}

bool TypeName::isVendors() const
{
    return mapping::hasVendorWord(nameSpace);
}

std::optional<TypeName> typeNameOf(const std::string& odataType)
{
    const size_t first = odataType.find('.');
    const size_t last = odataType.rfind('.');
    if (first == std::string::npos || !odataType.starts_with('#')) {
        return std::nullopt;
    }
    TypeName type{odataType.substr(1, first - 1),
                  first == last ? "" : odataType.substr(first + 1, last - first - 1),
                  odataType.substr(last + 1)};
    const bool isUsable = isIdentifier(type.nameSpace) && isIdentifier(type.name) &&
                          (type.version.empty() || isVersion(type.version));
    return isUsable ? std::optional(std::move(type)) : std::nullopt;
}

ResourceType resourceTypeOf(const Json::Value& file, const Json::Value& entry)
{
    ResourceType type = cimgate::flagOf(entry, mapping::kIsCollection) ? collectionOf(file, entry)
                                                                       : resourceOf(entry);
    type.name = typeNameOf(cimgate::textOf(entry, kOdataType)).value_or(TypeName());
    type.description = shownText(cimgate::textOf(entry, kDescription));
    addUri(type, entry);
    return type;
}

std::optional<TypeName> containerTypeOf(const Json::Value& file, const std::string& container)
{
    const Json::Value& entry = cimgate::memberOf(file, container);
    const std::string name = mapping::hasVendorWord(container) ? container : kVendor + container;
    const bool hasType = cimgate::memberOf(entry, mapping::kInstances).isObject() &&
                         isIdentifier(name) && !isDeclared(file, name);
    return hasType ? std::optional(TypeName{name, "v1_0_0", name}) : std::nullopt;
}

std::vector<TypeName> typeNamesOf(const Json::Value& file)
{
    std::map<std::string, TypeName> found; // as below
    forEachType(file, [&found](const TypeName& name, const Described& /*by*/) {
        found.try_emplace(name.qualified(), name);
    });
    std::vector<TypeName> names;
    names.reserve(found.size());
    for (auto& [qualified, name] : found) {
        names.push_back(std::move(name));
    }
    return names;
}

std::vector<ResourceType> resourceTypesOf(const Json::Value& file)
{
    std::map<std::string, ResourceType> found; // by qualified name
    forEachType(file, [&](const TypeName& name, const Described& by) {
        ResourceType type =
            by.isContainer ? dataOf(file, by.entry) : resourceTypeOf(file, by.entry);
        type.name = name;
        const auto same = found.find(name.qualified());
        if (same == found.end()) {
            found.emplace(name.qualified(), std::move(type));
        } else {
            merge(same->second, std::move(type));
        }
    });
    std::vector<ResourceType> types;
    types.reserve(found.size());
    for (auto& [qualified, type] : found) {
        types.push_back(std::move(type));
    }
    setPrefixes(types);
    return types;
}

} // namespace host::schema
