#include "cache_file.h"

#include <ResourceMapper/mapping/CacheNames.h>
#include <ResourceMapper/mapping/CachedClasses.h>

#include <algorithm>
#include <set>

namespace filler {

namespace {

using cimgate::mapping::kReadinessTable;
using cimgate::mapping::kTablePrefix;
using cimgate::mapping::lower;
using cimgate::mapping::quotedName;
using cimgate::mapping::tableOf;

// Table to columns that are wanted, in lower case; without columns, all of them.
using Wanted = std::map<std::string, std::set<std::string>>;

Wanted wantedBy(const Plan& plan)
{
    Wanted wanted = {{lower(kReadinessTable), {}}};
    for (const std::string& association : plan.associations()) {
        wanted.emplace(lower(tableOf(association)), std::set<std::string>());
    }
    for (const WantedClass& one : plan.classes) {
        std::set<std::string>& columns = wanted[lower(tableOf(one.name))];
        for (const WantedColumn& column : one.columns) {
            columns.insert(lower(column.name));
        }
    }
    return wanted;
}

std::vector<std::string> tablesOf(Database& database)
{
    return database.listOf("SELECT name FROM sqlite_master WHERE type = 'table'");
}

std::string classOf(const std::string& table)
{
    return table.substr(std::string(kTablePrefix).size());
}

// SQLite drops no column that an index has.
void dropIndexes(Database& database, const std::string& table)
{
    Statement names(database, "SELECT name FROM sqlite_master WHERE type = 'index' AND "
                              "tbl_name = ? AND sql IS NOT NULL");
    names.bind(0, table);
    std::vector<std::string> indexes;
    while (names.step()) {
        indexes.push_back(names.textAt(0));
    }
    names.reset();
    for (const std::string& name : indexes) {
        database.run("DROP INDEX " + quotedName(name));
    }
}

std::vector<std::string> unwantedColumns(CacheFile& file, const std::string& table,
                                         const std::set<std::string>& wanted)
{
    std::vector<std::string> columns = file.columnsOf(classOf(table));
    std::erase_if(columns, [&](const std::string& name) {
        return wanted.empty() || wanted.contains(lower(name));
    });
    return columns;
}

// A key that was a text for the mapping and is a number now, or the other way round.
std::set<std::string> withAnotherKey(CacheFile& file, const Plan& plan)
{
    std::set<std::string> tables;
    for (const WantedClass& one : plan.classes) {
        const auto key =
            std::find_if(one.columns.begin(), one.columns.end(),
                         [&](const WantedColumn& column) { return column.name == one.key; });
        if (key != one.columns.end() && file.hasTable(one.name) &&
            file.hasIntegerKey(one) != showsIntegers(key->reading)) {
            tables.insert(lower(tableOf(one.name)));
        }
    }
    return tables;
}

std::vector<std::string> removeUnwanted(CacheFile& file, const Plan& plan)
{
    Database& database = file.database();
    const Wanted wanted = wantedBy(plan);
    const std::set<std::string> outdated = withAnotherKey(file, plan);
    std::vector<std::string> removed;
    for (const std::string& table : tablesOf(database)) {
        const auto known = wanted.find(lower(table));
        if (known == wanted.end() || outdated.contains(lower(table))) {
            file.forgetReady(classOf(table));
            database.run("DROP TABLE " + quotedName(table));
            removed.push_back(table);
            continue;
        }
        const std::vector<std::string> columns = unwantedColumns(file, table, known->second);
        if (!columns.empty()) {
            dropIndexes(database, table);
        }
        for (const std::string& column : columns) {
            database.run("ALTER TABLE " + quotedName(table) + " DROP COLUMN " + quotedName(column));
            removed.push_back(table + "." + column);
        }
    }
    return removed;
}

// That takes a lock that nobody gets while another connection is open.
void leaveLog(Database& database)
{
    std::string mode;
    (void)sqlite3_busy_timeout(database.handle(), 0);
    try {
        mode = database.textOf("PRAGMA journal_mode = DELETE");
    } catch (const DatabaseError& error) {
        if (error.code() != SQLITE_BUSY) {
            throw;
        }
    }
    if (mode != "delete") {
        throw DatabaseError("a service has it open: stop it first", SQLITE_BUSY);
    }
}

} // namespace

std::vector<std::string> compact(const std::string& path, const Plan& plan)
{
    CacheFile file(path); // it must be one of ours
    Database& database = file.database();
    leaveLog(database);
    Transaction transaction(database);
    std::vector<std::string> removed = removeUnwanted(file, plan);
    transaction.commit();
    database.run("VACUUM");
    return removed;
}

} // namespace filler
