#include "ResourceMapper/mapping/CachedClasses.h"

#include "ResourceMapper/mapping/Entry.h"

#include <strings.h>

#include <algorithm>
#include <map>
#include <set>

namespace cimgate::mapping {

namespace {

// The entries whose instances other entries show.
std::set<std::string> shownElsewhere(const Json::Value& mapping)
{
    std::set<std::string> names;
    for (const Json::Value& entry : mapping) {
        if (flagOf(entry, kIsCollection)) {
            names.insert(classNameOf(entry));
        }
        const Json::Value& embedded = objectOf(memberOf(entry, kInstances));
        for (auto one = embedded.begin(); one != embedded.end(); ++one) {
            names.insert(one.name());
        }
    }
    return names;
}

bool isCachedClass(const Json::Value& entry)
{
    return !flagOf(entry, kIsCollection) && flagOf(classOf(entry, classNameOf(entry)), kIsCached);
}

void addColumns(std::vector<std::string>& columns, const std::vector<std::string>& more)
{
    for (const std::string& column : more) {
        const bool isNew = std::none_of(columns.begin(), columns.end(), [&](const auto& known) {
            return strcasecmp(known.c_str(), column.c_str()) == 0;
        });
        if (isNew) {
            columns.push_back(column);
        }
    }
}

} // namespace

std::vector<std::string> columnsOf(const Json::Value& entry, const std::string& cimClass)
{
    std::vector<std::string> columns;
    const Json::Value& properties = propertiesOf(entry, cimClass);
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        columns.emplace_back(nameOf(property));
    }
    std::string key = textOf(entry, kUniqueSelector);
    if (!key.empty()) {
        columns.push_back(std::move(key));
    }
    return columns;
}

std::vector<CachedClass> cachedClasses(const Json::Value& mapping)
{
    const std::set<std::string> shown = shownElsewhere(mapping);
    std::map<std::string, CachedClass> classes;
    for (auto entry = mapping.begin(); entry != mapping.end(); ++entry) {
        const bool isRead =
            !textOf(*entry, kUniqueSelector).empty() || shown.contains(entry.name());
        if (!isRead || !isCachedClass(*entry)) {
            continue;
        }
        const std::string name = classNameOf(*entry);
        CachedClass& found = classes[name];
        found.name = name;
        found.entries.push_back({nameOf(entry), &*entry});
        addColumns(found.columns, columnsOf(*entry, name));
    }
    std::vector<CachedClass> list;
    list.reserve(classes.size());
    for (auto& [name, found] : classes) {
        list.push_back(std::move(found));
    }
    return list;
}

} // namespace cimgate::mapping
