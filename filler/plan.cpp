#include "plan.h"

#include <JsonAccess.h>
#include <JsonMembers.h>
#include <ResourceMapper/mapping/CacheNames.h>
#include <ResourceMapper/mapping/CachedClasses.h>
#include <ResourceMapper/mapping/Entry.h>
#include <ResourceMapper/mapping/Links.h>
#include <service/errno_text.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

namespace filler {

namespace {

namespace mapping = cimgate::mapping;

using mapping::lower;

// ---- Columns ----

// What is no object is logged.
template <typename Function>
void forEachMember(const Json::Value& object, const Function& function)
{
    cimgate::forEachMember(cimgate::objectOf(object), function);
}

// Letter case makes no other column.
WantedColumn& columnNamed(WantedClass& wanted, const std::string& name, const std::string& entry)
{
    const auto known =
        std::find_if(wanted.columns.begin(), wanted.columns.end(),
                     [&](const WantedColumn& column) { return lower(column.name) == lower(name); });
    if (known != wanted.columns.end()) {
        return *known;
    }
    return wanted.columns.emplace_back(WantedColumn{name, entry, {}});
}

void addReading(ColumnReading& reading, const Json::Value& property)
{
    if (mapping::valueMapOf(property).empty()) {
        reading.plain.push_back(
            mapping::numberTypeOf(cimgate::textOf(property, mapping::kCimType)));
    } else {
        reading.isMapped = true;
    }
}

// The names in "name=value,name=value".
std::vector<std::string> namesIn(const std::string& selectors)
{
    std::vector<std::string> names;
    std::istringstream items(selectors);
    for (std::string item; std::getline(items, item, ',');) {
        names.push_back(item.substr(0, item.find('=')));
    }
    return names;
}

// The fixed keys of an entry, in either way that it may have them.
std::vector<std::string> fixedKeysOf(const Json::Value& entry, const std::string& cimClass)
{
    std::vector<std::string> names = namesIn(cimgate::textOf(entry, mapping::kSelectors));
    for (const Json::Value& name : cimgate::arrayOf(
             cimgate::memberOf(mapping::classOf(entry, cimClass), mapping::kKeyProperties))) {
        names.push_back(cimgate::textOf(name));
    }
    std::erase(names, "");
    return names;
}

// ---- Classes ----

void addKey(WantedClass& wanted, const std::string& key)
{
    if (key.empty() || lower(key) == lower(wanted.key)) {
        return;
    }
    if (wanted.key.empty()) {
        wanted.key = key;
    } else {
        wanted.moreKeys.push_back(key);
    }
}

void addEntry(WantedClass& wanted, const std::string& name, const Json::Value& entry)
{
    forEachMember(mapping::propertiesOf(entry, wanted.name),
                  [&](const std::string& property, const Json::Value& declaration) {
                      addReading(columnNamed(wanted, property, name).reading, declaration);
                  });
    const std::string key = cimgate::textOf(entry, mapping::kUniqueSelector);
    addKey(wanted, key);
    if (!key.empty() && !cimgate::hasMember(mapping::propertiesOf(entry, wanted.name), key)) {
        // Reads ask for it all the same.
        columnNamed(wanted, key, name).reading.plain.emplace_back(std::nullopt);
    }
    for (const std::string& fixed : fixedKeysOf(entry, wanted.name)) {
        (void)columnNamed(wanted, fixed, name);
    }
    const Json::Value& interval =
        cimgate::memberOf(mapping::classOf(entry, wanted.name), mapping::kRefreshInterval);
    if (interval.isUInt() && interval.asUInt() > 0) {
        wanted.intervalS = std::min(wanted.intervalS, interval.asUInt());
    }
}

// The interval of the mapping, where it has one, holds, also where it is the longer one.
void settleInterval(WantedClass& wanted, unsigned int intervalS)
{
    if (wanted.intervalS == UINT32_MAX) {
        wanted.intervalS = intervalS;
    }
}

std::string associationOf(const std::string& link)
{
    const std::string table = mapping::associationTableOf(link);
    const std::string prefix = mapping::kTablePrefix;
    return table.starts_with(prefix) ? table.substr(prefix.size()) : "";
}

// The associations that the links of an entry are looked up in.
std::vector<std::string> associationsOf(const Json::Value& entry)
{
    std::vector<std::string> names;
    forEachMember(cimgate::memberOf(entry, mapping::kLinks), [&](const std::string& link,
                                                                 const Json::Value&) {
        const std::string name =
            mapping::kindOfLink(link) == mapping::LinkKind::Association ? associationOf(link) : "";
        if (!name.empty()) {
            names.push_back(name);
        }
    });
    return names;
}

void addNew(std::vector<std::string>& names, const std::string& name)
{
    const bool isNew = std::none_of(names.begin(), names.end(),
                                    [&](const auto& known) { return lower(known) == lower(name); });
    if (isNew) {
        names.push_back(name);
    }
}

// What containers ask of a resource, with some text in the place of each "#p1".
void addConditions(Plan& plan, const Json::Value& all)
{
    forEachMember(all, [&](const std::string&, const Json::Value& container) {
        forEachMember(cimgate::memberOf(container, mapping::kInstances),
                      [&](const std::string& resource, const Json::Value& how) {
                          std::string condition = cimgate::textOf(how, mapping::kQueryClause);
                          const Json::Value& entry =
                              mapping::memberEntryOf(all, cimgate::memberOf(all, resource));
                          const auto wanted = std::find_if(
                              plan.classes.begin(), plan.classes.end(),
                              [name = mapping::classNameOf(entry)](const WantedClass& known) {
                                  return known.name == name;
                              });
                          if (!condition.empty() && wanted != plan.classes.end()) {
                              wanted->conditions.push_back(condition + " COLLATE NOCASE");
                          }
                      });
    });
}

// Links of resources that are not kept themselves.
void addLoneAssociations(Plan& plan, const Json::Value& all, unsigned int intervalS)
{
    std::vector<std::string> known = plan.associations();
    forEachMember(all, [&](const std::string& name, const Json::Value& entry) {
        for (const std::string& association : associationsOf(entry)) {
            const size_t before = known.size();
            addNew(known, association);
            if (known.size() > before) {
                WantedClass wanted;
                wanted.name = association;
                wanted.entry = name;
                wanted.associations = {association};
                wanted.intervalS = intervalS;
                plan.classes.push_back(std::move(wanted));
            }
        }
    });
}

} // namespace

bool showsIntegers(const ColumnReading& reading)
{
    using mapping::NumberType;
    const auto isInteger = [](const std::optional<NumberType>& type) {
        return type && *type != NumberType::Boolean && *type != NumberType::DateTime;
    };
    return (reading.isMapped || !reading.plain.empty()) &&
           std::all_of(reading.plain.begin(), reading.plain.end(), isInteger);
}

std::vector<std::string> Plan::associations() const
{
    std::vector<std::string> all;
    for (const WantedClass& wanted : classes) {
        for (const std::string& name : wanted.associations) {
            addNew(all, name);
        }
    }
    return all;
}

Plan planOf(const Json::Value& all, unsigned int intervalS)
{
    Plan plan;
    for (const mapping::CachedClass& cached : mapping::cachedClasses(all)) {
        WantedClass wanted;
        wanted.name = cached.name;
        wanted.entry = cached.entries.front().name;
        wanted.intervalS = UINT32_MAX;
        for (const mapping::NamedEntry& entry : cached.entries) {
            addEntry(wanted, std::string(entry.name), *entry.entry);
            for (const std::string& association : associationsOf(*entry.entry)) {
                addNew(wanted.associations, association);
            }
        }
        settleInterval(wanted, intervalS);
        if (wanted.key.empty()) {
            wanted.key = kPathColumn;
            (void)columnNamed(wanted, kPathColumn, wanted.entry);
        }
        plan.classes.push_back(std::move(wanted));
    }
    addConditions(plan, all);
    addLoneAssociations(plan, all, intervalS);
    forEachMember(all, [&](const std::string&, const Json::Value& entry) {
        const std::string key = cimgate::textOf(entry, mapping::kUniqueSelector);
        if (!key.empty()) {
            plan.keys.emplace(lower(mapping::classNameOf(entry)), key);
        }
    });
    return plan;
}

std::optional<Plan> readPlan(const std::string& path, unsigned int intervalS, std::string& problem)
{
    std::ifstream in(path);
    // A directory can be opened.
    (void)in.peek();
    if (!in.is_open() || in.bad()) {
        problem = "cannot read the mapping file " + path + ": " + service::errnoText() +
                  "; name a readable file with --rmf";
        return std::nullopt;
    }
    Json::Value all;
    if (!cimgate::readJson(in, all) || !all.isObject()) {
        problem = "the mapping file " + path + " is not a JSON object; cimgated --check tells " +
                  "where it is wrong; correct it or name another one with --rmf";
        return std::nullopt;
    }
    return planOf(all, intervalS);
}

} // namespace filler
