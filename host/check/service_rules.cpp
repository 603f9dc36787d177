#include "check/service_rules.h"

#include "queue/container_id.h"
#include "schema/property.h"
#include "schema/resource_type.h"
#include "service_file/mapped_uris.h"
#include "service_file/own_uris.h"
#include "service_file/service_file.h"
#include "service_file/source.h"

#include <ResourceMapper/mapping/Entry.h>

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

namespace host::check {

namespace {

namespace mapping = cimgate::mapping;
using service_file::Source;

constexpr const char* kNotServed = "the resource is not served";
constexpr const char* kNull = "the value is null";
constexpr const char* kNullAndTold = "the value is null, and \"Status\" says why";
constexpr const char* kNoAction = "the resource does not show the action";

class ServiceRules
{
public:
    ServiceRules(Inspection& inspection, const Json::Value& mapping)
        : mInspection(inspection), mMapping(mapping), mMapped(mapping)
    {}

    void check();

private:
    void checkResource(const std::string& declared, const Json::Value& resource);
    void checkRoot(const Place& place);
    void checkType(const Place& place);
    void checkValue(const Place& place);
    void checkLink(const Place& place, const std::string& target);
    void checkSource(const Place& place);
    void checkWords(const Place& place, const Source& source);
    void checkProperty(const Place& place, const Source& source, const std::string& uri);
    void checkValues(const Place& place, const Source& source);
    std::optional<schema::Property> shownProperty(const std::string& uri,
                                                  const std::string& name) const;
    void checkEmbedded(const Place& place, const Source& source);
    void checkActions(const Place& resource, const std::string& uri);
    void checkAction(const Place& place, const Json::Value& inputs);
    void checkParameter(const Place& place, const std::string& name, const Json::Value& inputs);
    const Json::Value* readEntryAt(const std::string& uri) const;
    bool isThere(const std::string& uri) const;

    Inspection& mInspection;
    const Json::Value& mMapping;
    const service_file::MappedUris mMapped;
};

void ServiceRules::check()
{
    forEachMember(mInspection.mapping(), [this](const std::string& uri, const Json::Value& value) {
        checkResource(uri, value);
    });
}

void ServiceRules::checkResource(const std::string& declared, const Json::Value& resource)
{
    const Place place{declared, resource};
    const std::string uri = service_file::servedUri(declared);
    if (!resource.isObject()) {
        mInspection.add(place, {"it is no object", kNotServed, "give its properties in braces"});
        return;
    }
    if (!service_file::isUsableUri(uri)) {
        mInspection.add(place, {"this is no URI that a resource can have", kNotServed,
                                "give one below /redfish/v1/, of letters, digits and - . _ ~ : @"});
        return;
    }
    if (service_file::isServicesOwn(uri)) {
        mInspection.add(
            place, {"the service makes what is there by itself", kNotServed, "choose another URI"});
        return;
    }
    if (mMapped.contains(uri)) {
        mInspection.add(place, {"the mapping file has this URI", "clients get what it says",
                                "choose another URI, or take it out of the mapping"});
        return;
    }
    if (service_file::isRepeated(mInspection.mapping(), declared)) {
        mInspection.add(place, {"it is declared as " + quoted(uri) + " too",
                                "clients get what stands there", "keep one of the two"});
        return;
    }
    if (uri == service_file::kRootUri) {
        checkRoot(place);
    } else {
        checkType(place);
        checkActions(place, uri);
    }
    forEachMember(resource, [&](const std::string& name, const Json::Value& value) {
        if (name != service_file::kActions) {
            checkValue(place.part("property", name, value));
        }
    });
}

void ServiceRules::checkRoot(const Place& place)
{
    constexpr const char* kOwn[] = {"@odata.id",   "@odata.type", "@odata.context",
                                    "Id",          "UUID",        "RedfishVersion",
                                    "JsonSchemas", "Registries",  "ProtocolFeaturesSupported"};
    for (const char* name : kOwn) {
        if (place.value.isMember(name)) {
            mInspection.add(
                place.part("property", name, place.value[name]),
                {"the root has it of its own", "what stands here is not shown", "take it out"});
        }
    }
    forEachMember(place.value, [&](const std::string& name, const Json::Value& value) {
        if (service_file::hasSource(value)) {
            mInspection.add(place.part("property", name, value),
                            {"the root is the same at all times", kNull,
                             "give a constant, or show it at another resource"});
        }
    });
}

void ServiceRules::checkType(const Place& place)
{
    const Json::Value& type = place.value[service_file::kType];
    if (!type.isString() || !schema::typeNameOf(type.asString())) {
        mInspection.add(place, {"it has no \"@odata.type\" that names a type", kNotServed,
                                "give one such as \"#Chassis.v1_14_0.Chassis\""});
    }
    if (const Json::Value& name = place.value["Name"];
        !name.isString() || name.asString().empty()) {
        mInspection.add(place, {"it has no \"Name\"", "clients may refuse the resource",
                                "every Redfish resource has one: give a text"});
    }
}

void ServiceRules::checkValue(const Place& place)
{
    if (service_file::isSource(place.value)) {
        checkSource(place);
        return;
    }
    if (place.value.isObject() && place.value["@odata.id"].isString()) {
        checkLink(place.at(place.value["@odata.id"]), place.value["@odata.id"].asString());
    }
    if (place.value.isArray()) {
        for (const Json::Value& element : place.value) {
            checkValue(place.at(element));
        }
    }
    forEachMember(place.value, [&](const std::string& name, const Json::Value& value) {
        checkValue({place.name + "/" + name, value});
    });
}

void ServiceRules::checkLink(const Place& place, const std::string& target)
{
    if (!isThere(service_file::servedUri(target.substr(0, target.find('#'))))) {
        mInspection.add(place, {"nothing can be read at " + quoted(target),
                                "clients that follow it get an error",
                                "link to a resource of the mapping or of this file, to one of "
                                "several instances with its key"});
    }
}

void ServiceRules::checkSource(const Place& place)
{
    const std::optional<Source> source = service_file::sourceOf(place.value);
    if (!source) {
        mInspection.add(place,
                        {"it does not say enough to make a value", kNull,
                         "give {\"from\": URI, \"property\": NAME}, {\"count\": URI}, "
                         "{\"sum\": URI, \"property\": NAME}, {\"worst\": URI, \"property\": NAME} "
                         "or {\"embed\": CONTAINER, \"id\": ID}"});
        return;
    }
    checkWords(place, *source);
    if (source->kind == Source::Kind::Embedded) {
        checkEmbedded(place, *source);
        return;
    }
    for (const std::string& uri : source->uris) {
        if (!mMapped.canBeRead(uri.substr(0, uri.find('?')))) {
            mInspection.add(place,
                            {"no mapped resource can be read at " + quoted(uri), kNullAndTold,
                             "name a mapped resource, with its key, or a collection"});
        } else if (!source->property.empty()) {
            checkProperty(place, *source, uri);
        }
    }
    checkValues(place, *source);
}

// What stands beside the word.
void ServiceRules::checkWords(const Place& place, const Source& source)
{
    const bool isCount = source.kind == Source::Kind::Count;
    const bool isEmbedded = source.kind == Source::Kind::Embedded;
    size_t kinds = 0;
    forEachMember(place.value, [&](const std::string& name, const Json::Value& value) {
        if (service_file::isSourceWord(name)) {
            ++kinds;
        }
        const bool isUsed = service_file::isSourceWord(name) ||
                            (isEmbedded && name == service_file::kId) ||
                            (!isEmbedded && !isCount &&
                             (name == service_file::kProperty || name == service_file::kValues ||
                              name == service_file::kDivide));
        if (!isUsed) {
            mInspection.add(place.at(value), {quoted(name) + " means nothing here",
                                              "it is passed over", "look at its spelling"});
        }
        if (name == service_file::kValues && !value.isObject()) {
            mInspection.add(place.at(value),
                            {"\"values\" is no object", "values are shown as they are",
                             "give {\"OK\": \"OK\", \"Degraded\": \"Warning\"}"});
        }
        if (name == service_file::kDivide && (!value.isNumeric() || value.asDouble() == 0)) {
            mInspection.add(place.at(value),
                            {"\"divide\" is no number to divide by", "values are shown as they are",
                             "give one such as 1000"});
        }
    });
    if (kinds > 1) {
        mInspection.add(place, {"it says more than one way to make the value",
                                "one of them is taken", "decide on one"});
    }
}

// The entry whose properties the answer at a mapped URI has; null where that is not known.
const Json::Value* ServiceRules::readEntryAt(const std::string& uri) const
{
    const std::string path = uri.substr(0, uri.find('?'));
    const size_t slash = path.rfind('/');
    const std::string last = path.substr(slash + 1);
    const std::string above = path.substr(0, slash);
    const std::string& name = mMapping.isMember(last) ? last : above.substr(above.rfind('/') + 1);
    if (!mMapping.isMember(name)) {
        return nullptr;
    }
    return &mapping::memberEntryOf(mMapping, mMapping[name]);
}

// The property of the mapping by which answers at a URI have what a source names; nothing where
// they have none, or have it without one.
std::optional<schema::Property> ServiceRules::shownProperty(const std::string& uri,
                                                            const std::string& name) const
{
    const Json::Value* entry = readEntryAt(uri);
    if (entry == nullptr) {
        return std::nullopt;
    }
    const std::string cimClass = mapping::classNameOf(*entry);
    const bool isCached = mapping::sourceOf(*entry, cimClass, false) == mapping::Source::DataCache;
    std::optional<schema::Property> found;
    forEachMember(mapping::propertiesOf(*entry, cimClass),
                  [&](const std::string& cimName, const Json::Value& declared) {
                      schema::Property shown = schema::propertyOf(cimName, declared, isCached);
                      if (shown.name == name || shown.countName == name) {
                          found = std::move(shown);
                      }
                  });
    return found;
}

void ServiceRules::checkProperty(const Place& place, const Source& source, const std::string& uri)
{
    const std::string name = source.property.substr(0, source.property.find('/'));
    constexpr const char* kCommon[] = {"Id", "Name", "Description", "Links", "Actions"};
    const bool isCommon = name.starts_with('@') || std::find(std::begin(kCommon), std::end(kCommon),
                                                             name) != std::end(kCommon);
    if (!isCommon && readEntryAt(uri) != nullptr && !shownProperty(uri, name)) {
        mInspection.add(place, {"answers of " + quoted(uri) + " have no property " + quoted(name),
                                kNull, "name a property as the mapping shows it, by its alias"});
    }
}

// Where all that a source reads has a value map, "values" can only name what stands there.
void ServiceRules::checkValues(const Place& place, const Source& source)
{
    std::set<std::string> known;
    for (const std::string& uri : source.uris) {
        const std::optional<schema::Property> property = shownProperty(uri, source.property);
        if (!property || property->values.empty()) {
            return;
        }
        known.insert(property->values.begin(), property->values.end());
    }
    if (source.values == nullptr) {
        return;
    }
    forEachMember(*source.values, [&](const std::string& value, const Json::Value& shown) {
        if (!known.contains(value)) {
            mInspection.add(place.at(shown),
                            {quoted(value) + " is in no value map of " + quoted(source.property),
                             "nothing ever becomes what stands here",
                             "name a text that the mapping shows"});
        }
    });
}

void ServiceRules::checkEmbedded(const Place& place, const Source& source)
{
    if (!cimgate::hasMember(cimgate::memberOf(mMapping, source.container), mapping::kInstances)) {
        mInspection.add(place, {"no container is called " + quoted(source.container), kNullAndTold,
                                "name an entry of the mapping that has \"instances\""});
    }
    if (!isContainerId(source.id)) {
        mInspection.add(place, {quoted(source.id) + " is no id that a container is asked with",
                                kNullAndTold, "use letters, digits and . _ : # -"});
    }
}

void ServiceRules::checkActions(const Place& resource, const std::string& uri)
{
    const Json::Value& actions = resource.value[service_file::kActions];
    forEachMember(actions, [&](const std::string& key, const Json::Value& declared) {
        const Place place = resource.part("action", key, declared);
        if (service_file::actionUri(uri, key).empty()) {
            mInspection.add(place, {"this is no name of an action", kNoAction,
                                    "call it as its type does, \"#ComputerSystem.Reset\""});
            return;
        }
        const Json::Value& target = cimgate::memberOf(declared, service_file::kAction);
        const Json::Value* inputs =
            target.isString() ? mMapped.inputsOf(target.asString()) : nullptr;
        if (inputs == nullptr) {
            mInspection.add(place, {"it stands for no action of the mapping", kNoAction,
                                    "give the \"target\" of a mapped action as \"action\""});
        } else {
            checkAction(place, *inputs);
        }
    });
}

void ServiceRules::checkAction(const Place& place, const Json::Value& inputs)
{
    const Json::Value& parameters = cimgate::memberOf(place.value, service_file::kParameters);
    const Json::Value& constants = cimgate::memberOf(place.value, service_file::kConstants);
    std::vector<std::string> given =
        constants.isObject() ? constants.getMemberNames() : std::vector<std::string>();
    forEachMember(parameters, [&](const std::string& name, const Json::Value& declared) {
        checkParameter(place.part("parameter", name, declared), name, inputs);
        const Json::Value& as = cimgate::memberOf(declared, service_file::kAs);
        given.push_back(as.isString() ? as.asString() : name);
    });
    forEachMember(inputs, [&](const std::string& name, const Json::Value& input) {
        if (cimgate::flagOf(input, mapping::kIsRequired) &&
            std::find(given.begin(), given.end(), name) == given.end()) {
            mInspection.add(
                place, {"the mapped action needs " + quoted(name) + ", which no parameter becomes",
                        "each request for it is refused",
                        "give it \"as\" of a parameter, or in \"constants\""});
        }
    });
}

void ServiceRules::checkParameter(const Place& place, const std::string& name,
                                  const Json::Value& inputs)
{
    const Json::Value& as = cimgate::memberOf(place.value, service_file::kAs);
    const std::string mappedName = as.isString() ? as.asString() : name;
    if (!inputs.isMember(mappedName)) {
        mInspection.add(place, {"the mapped action has no parameter " + quoted(mappedName),
                                "each request with it is refused",
                                "name one of its \"inputs\" with \"as\""});
        return;
    }
    const Json::Value& map = mapping::valueMapOf(inputs[mappedName]);
    forEachMember(cimgate::memberOf(place.value, service_file::kValues),
                  [&](const std::string& value, const Json::Value& mapped) {
                      const bool isTaken =
                          !map.isObject() || std::find(map.begin(), map.end(), mapped) != map.end();
                      if (!isTaken) {
                          mInspection.add(
                              place.at(mapped),
                              {"the mapped action takes no such value for " + quoted(value),
                               quoted(value) + " is not allowed",
                               "name a text of the value map of " + quoted(mappedName)});
                      }
                  });
}

bool ServiceRules::isThere(const std::string& uri) const
{
    const Json::Value& file = mInspection.mapping();
    return !uri.starts_with('/') || uri == service_file::kRootUri || mMapped.canBeRead(uri) ||
           service_file::isServicesOwn(uri) || file.isMember(uri) || file.isMember(uri + "/");
}

} // namespace

void checkServiceRules(Inspection& inspection, const Json::Value& mapping)
{
    ServiceRules(inspection, mapping.isObject() ? mapping : Json::Value::nullSingleton()).check();
}

} // namespace host::check
