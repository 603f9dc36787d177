#include "check/rules.h"

#include <ResourceMapper/mapping/Links.h>

#include <set>

namespace host::check {

namespace {

namespace mapping = cimgate::mapping;

std::string keyOf(const Json::Value& entry)
{
    return cimgate::textOf(entry, mapping::kUniqueSelector);
}

const Json::Value& classMapOf(const Json::Value& entry)
{
    return mapping::classOf(entry, mapping::classNameOf(entry));
}

bool isCached(const Json::Value& entry)
{
    return cimgate::flagOf(classMapOf(entry), mapping::kIsCached);
}

// ---- Collections ----

// Whether a collection's members lead back to itself, by way of other collections.
bool isCircle(const Json::Value& all, const Json::Value& collection)
{
    return cimgate::flagOf(mapping::memberEntryOf(all, collection), mapping::kIsCollection);
}

void checkMembers(Inspection& inspection, const Place& entry)
{
    const Json::Value& all = inspection.mapping();
    const Json::Value& mappings = cimgate::memberOf(entry.value, mapping::kMappings);
    const std::string member = mapping::classNameOf(entry.value);
    constexpr const char* kEffect = "GET ends a worker (500), or is answered 503";
    if (member.empty()) {
        inspection.add(entry, {"the collection has no entry of members in \"mappings\"", kEffect,
                               "name it: \"mappings\": {\"<member entry>\": {}}"});
    } else if (!all.isMember(member)) {
        inspection.add(entry.at(mappings[member]),
                       {"the collection's members are " + quoted(member) + ", which no entry is",
                        kEffect, "name the entry of its members in \"mappings\""});
    } else if (isCircle(all, entry.value)) {
        inspection.add(entry.at(mappings[member]),
                       {"collections are each other's members, in a circle", kEffect,
                        "name an entry that is no collection in one of them"});
    }
}

void checkPaging(Inspection& inspection, const Place& entry)
{
    const Json::Value& all = inspection.mapping();
    if (cimgate::flagOf(entry.value, mapping::kSupportsNextLink) &&
        !cimgate::flagOf(entry.value, mapping::kSupportsTopSkip) &&
        all.isMember(mapping::classNameOf(entry.value))) {
        inspection.add(entry.at(entry.value[mapping::kSupportsNextLink]),
                       {"\"supports_nextlink\" is set without \"supports_top_skip\"",
                        "with more than 50 members each next link leads to the first page again",
                        "set both, or neither"});
    }
}

// The key of members is looked for under its own name, after properties have got their aliases.
void checkMembersKey(Inspection& inspection, const Place& entry)
{
    const std::string name = mapping::classNameOf(entry.value);
    const Json::Value& member = cimgate::memberOf(inspection.mapping(), name);
    const std::string key = keyOf(member);
    const std::string cimClass = mapping::classNameOf(member);
    const Json::Value& property = cimgate::memberOf(mapping::propertiesOf(member, cimClass), key);
    const std::string alias = property.isObject() ? cimgate::textOf(property, mapping::kAlias) : "";
    if (isCached(member) && !alias.empty() && alias != key && inspection.isClear(property)) {
        inspection.add(Place{name, member}.part("property", key, property),
                       {"the key has an alias, " + quoted(alias),
                        "in " + entry.name + " the \"@odata.id\" of each member ends in /",
                        "take the alias from the key"});
    }
}

void checkCollection(Inspection& inspection, const Place& entry)
{
    checkMembers(inspection, entry);
    checkPaging(inspection, entry);
    const Json::Value& member =
        cimgate::memberOf(inspection.mapping(), mapping::classNameOf(entry.value));
    if (member.isObject() && inspection.isClear(member)) {
        checkMembersKey(inspection, entry);
    }
}

// ---- All others ----

void checkSelectors(Inspection& inspection, const Place& entry)
{
    const std::string selectors = cimgate::textOf(entry.value, mapping::kSelectors);
    const std::optional<std::string> broken = mapping::brokenSelectorOf(selectors);
    if (broken) {
        inspection.add(entry.at(entry.value[mapping::kSelectors]),
                       {"\"Selectors\" has " + quoted(*broken) + ", which is no name=value",
                        "each request for the resource ends a worker (500)",
                        "give name=value, several of them joined by one comma"});
    }
}

void checkClassOfKey(Inspection& inspection, const Place& entry)
{
    const bool hasKey = !keyOf(entry.value).empty();
    const bool isSingleton = !cimgate::textOf(entry.value, mapping::kSelectors).empty();
    if ((hasKey || isSingleton) && mapping::classNameOf(entry.value).empty()) {
        const char* key = hasKey ? mapping::kUniqueSelector : mapping::kSelectors;
        inspection.add(entry, {"the entry has " + quoted(key) + " but no class in \"mappings\"",
                               "reads of it fail (500), or are answered 503",
                               "name the CIM class: \"mappings\": {\"<class>\": {...}}"});
    }
}

// A live instance's key is looked for among its mapped properties.
void checkLiveKey(Inspection& inspection, const Place& entry)
{
    const std::string key = keyOf(entry.value);
    const std::string cimClass = mapping::classNameOf(entry.value);
    const Json::Value& properties = mapping::propertiesOf(entry.value, cimClass);
    if (!key.empty() && !cimClass.empty() && !isCached(entry.value) && !properties.empty() &&
        !properties.isMember(key)) {
        inspection.add(
            entry.at(entry.value[mapping::kUniqueSelector]),
            {"the key " + quoted(key) + " is no mapped property of a class that is read live",
             "the \"@odata.id\" of its instances ends in /",
             "map the key among the properties, in the same letter case"});
    }
}

void checkIsNoCollection(Inspection& inspection, const Place& entry)
{
    const std::string name = mapping::classNameOf(entry.value);
    if (!name.empty() && inspection.mapping().isMember(name)) {
        inspection.add(entry.at(entry.value[mapping::kMappings][name]),
                       {quoted(name) + " in \"mappings\" is an entry, no CIM class, and the entry "
                                       "is no collection",
                        "GET shows no members", "add \"is_collection\": true, or name a class"});
    }
}

// ---- Links ----

void checkLink(Inspection& inspection, const Place& link, const std::string& name)
{
    switch (mapping::kindOfLink(name)) {
    case mapping::LinkKind::Unknown:
        inspection.add(link, {"there is no link of this name",
                              "it is in no answer, and logged with each of them",
                              "give one that is described in mapping-file.md, or take it out"});
        break;
    case mapping::LinkKind::Fixed:
        if (!link.value.isObject() || !link.value.isMember(mapping::kOdataId)) {
            inspection.add(link, {"the link has no \"@odata.id\"", "it is shown as it stands",
                                  "give {\"@odata.id\": \"/redfish/v1/...\"}"});
        }
        break;
    case mapping::LinkKind::Number:
    case mapping::LinkKind::Association:
        break;
    }
}

void checkLinks(Inspection& inspection, const Place& entry)
{
    forEachMember(cimgate::memberOf(entry.value, mapping::kLinks),
                  [&](const std::string& name, const Json::Value& value) {
                      checkLink(inspection, entry.part("link", name, value), name);
                  });
}

void checkOther(Inspection& inspection, const Place& entry)
{
    checkSelectors(inspection, entry);
    checkIsNoCollection(inspection, entry);
    if (inspection.isClear(classMapOf(entry.value))) {
        checkClassOfKey(inspection, entry);
        checkLiveKey(inspection, entry);
    }
    checkLinks(inspection, entry);
}

} // namespace

void checkEntries(Inspection& inspection)
{
    forEachEntry(inspection, [&](const std::string& name, const Json::Value& entry) {
        if (cimgate::flagOf(entry, mapping::kIsCollection)) {
            checkCollection(inspection, {name, entry});
        } else {
            checkOther(inspection, {name, entry});
        }
    });
}

} // namespace host::check
