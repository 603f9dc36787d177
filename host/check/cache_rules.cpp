#include "check/cache_rules.h"

#include "cache_file.h"
#include "check/cache_reader.h"

#include <ResourceMapper/mapping/CacheNames.h>
#include <ResourceMapper/mapping/CachedClasses.h>
#include <ResourceMapper/mapping/CimType.h>
#include <ResourceMapper/mapping/Links.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <set>
#include <system_error>

namespace host::check {

namespace {

namespace mapping = cimgate::mapping;

using mapping::kReadinessTable;
using mapping::lower;
using mapping::quotedName;
using mapping::tableOf;

// A writer holds its lock for moments; a check at the start waits for one, one that was asked for
// as long as workers do.
constexpr int kBusyMsAtStart = 200;
constexpr int kBusyMs = 10000;

std::string joined(const std::vector<std::string>& items)
{
    std::string text;
    for (const std::string& item : items) {
        text += (text.empty() ? "" : ",") + item;
    }
    return text;
}

// ---- The links that need a table ----

struct AssociationLink
{
    Place place;
    std::string name;
};

std::vector<AssociationLink> associationLinks(const Json::Value& all)
{
    std::vector<AssociationLink> links;
    forEachMember(all, [&](const std::string& entryName, const Json::Value& entry) {
        if (!entry.isObject()) {
            return;
        }
        forEachMember(cimgate::memberOf(entry, mapping::kLinks), [&](const std::string& name,
                                                                     const Json::Value& link) {
            if (mapping::kindOfLink(name) == mapping::LinkKind::Association) {
                links.push_back({Place{entryName, entry}.part("link", name, link), name});
            }
        });
    });
    return links;
}

// The place of a column; property is null for a key that is not mapped.
Place placeOf(const mapping::NamedEntry& entry, const std::string& column,
              const Json::Value& property)
{
    const Place place{std::string(entry.name), *entry.entry};
    return property.isNull() ? place.part("key", column,
                                          cimgate::memberOf(*entry.entry, mapping::kUniqueSelector))
                             : place.part("property", column, property);
}

// ---- The rules ----

class CacheRules
{
public:
    CacheRules(Inspection& inspection, const std::string& path, Depth depth)
        : mInspection(inspection), mPath(path), mDepth(depth)
    {}

    void run();

private:
    void addToFile(Finding finding);
    std::string readerProblem();
    bool isReadable();
    void learnTables();
    // Its writer makes the tables when it comes to them. At the start that is no fault.
    bool hasJustBegun() const { return mDepth == Depth::Tables && mReady.empty(); }
    bool hasTable(const std::string& name) const { return mTables.contains(lower(name)); }
    void checkPages();
    void checkReadiness();
    void checkLinks();
    void checkClass(const mapping::CachedClass& cached);
    void checkTable(const mapping::CachedClass& cached, const Place& place);
    void checkEntry(const mapping::CachedClass& cached, const mapping::NamedEntry& entry);
    static std::vector<std::string> namesOf(const mapping::NamedEntry& entry,
                                            const std::string& cimClass);
    std::string selectOf(const std::vector<std::string>& columns, const std::string& table) const;
    bool canBeRead(const Place& place, const std::string& column, const std::string& table);
    void checkColumn(const Place& place, const Json::Value& property, const std::string& name,
                     const Column& column);
    void checkConditions();
    void checkCondition(const Place& embedded, const std::string& resource);

    Inspection& mInspection;
    const std::string& mPath;
    Depth mDepth;
    std::optional<CacheReader> mReader; // once there is a file to be read
    std::set<std::string> mTables;      // in lower case
    std::set<std::string> mColumns;     // of the table at hand, in lower case
    std::set<std::string> mReady;       // in lower case
};

void CacheRules::run()
{
    if (!isReadable()) {
        return;
    }
    learnTables();
    if (mTables.empty()) {
        addToFile({"it has no tables yet", "reads of cached resources are answered 503",
                   "let the service that fills the data cache do so"});
        return;
    }
    checkPages();
    checkReadiness();
    checkLinks();
    for (const mapping::CachedClass& cached : mapping::cachedClasses(mInspection.mapping())) {
        checkClass(cached);
    }
    checkConditions();
}

void CacheRules::addToFile(Finding finding)
{
    mInspection.faults().push_back({mPath, {}, "", std::move(finding)});
}

std::string CacheRules::readerProblem()
{
    mReader.emplace(mPath, mDepth == Depth::Rows ? kBusyMs : kBusyMsAtStart);
    return mReader->problem();
}

bool CacheRules::isReadable()
{
    constexpr const char* kEffect = "reads of cached resources are answered 503";
    const std::string obstacle = problemOfCacheFile(mPath);
    if (obstacle == kCacheIsMissing) {
        addToFile({"it cannot be found: " + std::generic_category().message(ENOENT), kEffect,
                   "let the service that fills the data cache make it, or name another file with "
                   "--cache"});
        return false;
    }
    if (!obstacle.empty()) {
        addToFile({"it cannot be opened: " + obstacle, "the service does not start",
                   "mend that, or name another file with --cache"});
        return false;
    }
    const std::string problem = readerProblem();
    if (!problem.empty()) {
        addToFile({"it cannot be read: " + problem, kEffect,
                   "have it made again, or name another file with --cache"});
    }
    return problem.empty();
}

void CacheRules::learnTables()
{
    for (const auto& row : mReader->rowsOf("select name from sqlite_master "
                                           "where type in ('table', 'view')")) {
        mTables.insert(lower(row.front()));
    }
    for (const auto& row :
         mReader->rowsOf(std::string("select ClassName from ") + kReadinessTable)) {
        mReady.insert(lower(row.front()));
    }
}

void CacheRules::checkPages()
{
    if (mDepth != Depth::Rows) {
        return;
    }
    for (const auto& row : mReader->rowsOf("pragma quick_check(1)")) {
        if (row.front() != "ok") {
            addToFile({"it is damaged: " + row.front(),
                       "reads of damaged pages fail, or run until the deadline",
                       "have it made again"});
        }
    }
}

void CacheRules::checkReadiness()
{
    const std::string problem =
        mReader->problemOf(std::string("select ClassName from ") + kReadinessTable);
    if (!problem.empty()) {
        addToFile({"the table " + std::string(kReadinessTable) +
                       " of the classes that are ready cannot be read: " + problem,
                   "all cached resources are answered 503",
                   "let the service that fills the data cache make it, with the column ClassName"});
    }
}

void CacheRules::checkLinks()
{
    std::set<std::string> told;
    for (const AssociationLink& link : associationLinks(mInspection.mapping())) {
        const std::string problem = mReader->problemOf(mapping::associationQuery(link.name));
        const std::string table = mapping::associationTableOf(link.name);
        const bool isMissed = !hasJustBegun() || hasTable(table);
        if (!problem.empty() && isMissed && told.insert(table).second) {
            std::string wrong = "the data cache's table of the link, " + table;
            wrong.append(", cannot be read: ").append(problem);
            mInspection.add(link.place,
                            {wrong,
                             "each request that shows the link runs until its deadline (504)",
                             "have the table made, if only empty, or take the link out"});
        }
    }
}

void CacheRules::checkClass(const mapping::CachedClass& cached)
{
    const mapping::NamedEntry& first = cached.entries.front();
    const Json::Value& classMap = mapping::classOf(*first.entry, cached.name);
    if (!mInspection.isClear(*first.entry) || !mInspection.isClear(classMap)) {
        return;
    }
    const Place place =
        Place{std::string(first.name), *first.entry}.part("class", cached.name, classMap);
    if (cached.columns.empty()) {
        mInspection.add(place, {"the class has neither properties nor a key",
                                "reads of it are answered 500", "map at least one property"});
    } else if (hasTable(tableOf(cached.name))) {
        checkTable(cached, place);
    } else if (!hasJustBegun()) {
        const bool isReady = mReady.contains(lower(cached.name));
        mInspection.add(place, {"the data cache has no table " + tableOf(cached.name),
                                isReady ? "reads of it are answered 500"
                                        : "reads of it are answered 503 until it is there",
                                "correct the name of the class, or have the table made"});
    }
}

void CacheRules::checkTable(const mapping::CachedClass& cached, const Place& place)
{
    const std::string table = tableOf(cached.name);
    const std::string problem = mReader->problemOf("select 1 from " + table);
    if (!problem.empty()) {
        mInspection.add(place,
                        {"the table " + table + " cannot be read: " + problem,
                         "reads of it are answered 500",
                         "have it made again, of a class whose name has letters, digits and _"});
        return;
    }
    mColumns.clear();
    for (const auto& row : mReader->rowsOf("pragma table_info(" + quotedName(table) + ")")) {
        mColumns.insert(lower(row[1]));
    }
    for (const mapping::NamedEntry& entry : cached.entries) {
        if (mInspection.isClear(*entry.entry) &&
            mInspection.isClear(mapping::classOf(*entry.entry, cached.name))) {
            checkEntry(cached, entry);
        }
    }
}

// One statement tells of all columns where nothing is wrong with them, as is mostly so.
void CacheRules::checkEntry(const mapping::CachedClass& cached, const mapping::NamedEntry& entry)
{
    const std::string table = tableOf(cached.name);
    const Json::Value& properties = mapping::propertiesOf(*entry.entry, cached.name);
    const std::vector<std::string> names = namesOf(entry, cached.name);
    const std::vector<Column> all = mReader->columnsOf(selectOf(names, table));
    const bool areAllThere = !all.empty();
    for (size_t i = 0; i < names.size(); ++i) {
        const Json::Value& property = cimgate::memberOf(properties, names[i]);
        const Place place = placeOf(entry, names[i], property);
        if (!areAllThere && !canBeRead(place, names[i], table)) {
            continue;
        }
        const std::vector<Column> one = areAllThere
                                            ? std::vector<Column>{all[i]}
                                            : mReader->columnsOf(selectOf({names[i]}, table));
        if (!one.empty()) {
            checkColumn(place, property, names[i], one.front());
        }
    }
}

// The columns that are read, each once: the key may be a property too.
std::vector<std::string> CacheRules::namesOf(const mapping::NamedEntry& entry,
                                             const std::string& cimClass)
{
    std::vector<std::string> names = mapping::columnsOf(*entry.entry, cimClass);
    if (!names.empty() &&
        std::find(names.begin(), names.end() - 1, names.back()) != names.end() - 1) {
        names.pop_back();
    }
    return names;
}

std::string CacheRules::selectOf(const std::vector<std::string>& columns,
                                 const std::string& table) const
{
    return "select " + joined(columns) + " from " + table +
           (mDepth == Depth::Rows ? "" : " limit 1");
}

bool CacheRules::canBeRead(const Place& place, const std::string& column, const std::string& table)
{
    const std::string problem = mReader->problemOf("select " + column + " from " + table);
    if (!problem.empty()) {
        const bool isThere = mColumns.contains(lower(column));
        mInspection.add(place, {isThere ? quoted(column) + " cannot be asked for: " + problem
                                        : "the table " + table + " has no column " + quoted(column),
                                "all reads of the resource are answered 500",
                                isThere ? "the name is a word of SQLite: map another column"
                                        : "correct the name, or have the column made"});
    }
    return problem.empty();
}

// property is null for a key that is not mapped.
void CacheRules::checkColumn(const Place& place, const Json::Value& property,
                             const std::string& name, const Column& column)
{
    constexpr const char* kEffect = "reading them ends the worker (500)";
    if (column.name != name && lower(column.name) == lower(name)) {
        mInspection.add(place,
                        {"the column is called " + quoted(column.name) + ", in another letter case",
                         "its values are not shown as the mapping says",
                         "write " + quoted(column.name)});
    } else if (!mInspection.isClear(property)) {
        return; // its type is told already
    } else if (column.hasReals) {
        mInspection.add(place, {"the column has REAL cells", kEffect,
                                "let the data cache's writer store integers or texts"});
    } else if (column.hasNumbers && mapping::valueMapOf(property).empty() &&
               !mapping::numberTypeOf(cimgate::textOf(property, mapping::kCimType))) {
        mInspection.add(place, {"the column has numbers, and \"cim_type\" is no type of them",
                                kEffect, "map it with the number's type, or store texts"});
    }
}

void CacheRules::checkConditions()
{
    forEachMember(mInspection.mapping(), [&](const std::string& name,
                                             const Json::Value& container) {
        forEachMember(
            cimgate::memberOf(container, mapping::kInstances),
            [&](const std::string& resource, const Json::Value& how) {
                const Place place = Place{name, container}.part("embedded resource", resource, how);
                if (mInspection.isClear(how)) {
                    checkCondition(place, resource);
                }
            });
    });
}

// A container's condition, as it is asked.
void CacheRules::checkCondition(const Place& embedded, const std::string& resource)
{
    const Json::Value& all = mInspection.mapping();
    const Json::Value& entry = mapping::memberEntryOf(all, cimgate::memberOf(all, resource));
    const std::string table = tableOf(mapping::classNameOf(entry));
    std::string condition = cimgate::textOf(embedded.value, mapping::kQueryClause);
    if (condition.empty() || !hasTable(table)) {
        return;
    }
    constexpr size_t kPlaceholderBytes = 3; // "#p1"
    for (size_t at = condition.find("#p"); at != std::string::npos; at = condition.find("#p", at)) {
        condition.replace(at, kPlaceholderBytes, "1");
    }
    const std::string problem =
        mReader->problemOf("select 1 from " + table + " where " + condition + " COLLATE NOCASE");
    if (!problem.empty()) {
        mInspection.add(embedded.at(embedded.value[mapping::kQueryClause]),
                        {"\"QueryClause\" is no condition on " + table + ": " + problem,
                         "the resource is left out of the container's data",
                         "correct the condition"});
    }
}

} // namespace

bool needsCache(const Json::Value& mapping)
{
    return !mapping::cachedClasses(mapping).empty() || !associationLinks(mapping).empty();
}

void checkCache(Inspection& inspection, const std::string& path, Depth depth)
{
    CacheRules(inspection, path, depth).run();
}

} // namespace host::check
