#include "cache_file.h"

#include <ResourceMapper/mapping/CacheNames.h>
#include <ResourceMapper/mapping/CachedClasses.h>
#include <fcntl.h>
#include <service/errno_text.h>
#include <service/file_descriptor.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>

namespace filler {

namespace {

using cimgate::mapping::kReadinessTable;
using cimgate::mapping::lower;
using cimgate::mapping::quotedName;
using cimgate::mapping::tableOf;

// "cimc": tells the files that this program fills from others.
constexpr int64_t kApplicationId = 0x63696D63;

// Readers may run as another user.
constexpr mode_t kFileMode = 0644;

// What the log keeps of the room that a large refresh took.
constexpr const char* kLogBytes = "4194304";

std::string indexName(const std::string& table, const std::string& what)
{
    return "Idx_" + table + "_" + what;
}

DatabaseError systemError(const std::string& path)
{
    return {path + ": " + service::errnoText(), SQLITE_CANTOPEN};
}

// An empty file that readers may open, where there is none.
void makeFile(const std::string& path)
{
    const service::FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kFileMode));
    if (!file.isOpen()) {
        throw systemError(path);
    }
    struct stat status
    {};
    // Whatever the umask says: SQLite gives the files beside it the same rights.
    if (fstat(file.get(), &status) == 0 && status.st_size == 0) {
        (void)fchmod(file.get(), kFileMode);
    }
}

bool exists(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}

void makeReadiness(Database& database)
{
    const std::string table = kReadinessTable;
    database.run("CREATE TABLE IF NOT EXISTS " + table + " (ClassName TEXT)");
    database.run("CREATE INDEX IF NOT EXISTS " + indexName(table, "ClassName") + " ON " + table +
                 " (ClassName COLLATE NOCASE)");
}

void removeFiles(const std::string& path)
{
    for (const char* const suffix : {"", "-wal", "-shm", "-journal"}) {
        (void)unlink((path + suffix).c_str());
    }
}

// A reader that finds the file finds all that it needs: it is complete before it gets its name, and
// the files beside it, which who may only read cannot make, are there before.
void makeCache(const std::string& path)
{
    const std::string making = path + ".new";
    removeFiles(making);
    makeFile(making);
    {
        Database database(making);
        database.run("PRAGMA application_id = " + std::to_string(kApplicationId));
        makeReadiness(database);
        database.run("PRAGMA journal_mode = WAL");
    }
    removeFiles(path); // a former file's log would be taken for this one's
    makeFile(path + "-wal");
    makeFile(path + "-shm");
    if (rename(making.c_str(), path.c_str()) != 0) {
        throw systemError(path);
    }
}

const std::string& withFile(const std::string& path)
{
    if (!exists(path)) {
        makeCache(path);
    }
    return path;
}

// ---- Conditions ----

// Collects the columns of one table that a statement reads.
struct ColumnsRead
{
    std::string table;
    std::set<std::string> names;
};

int noteColumn(void* context, int action, const char* table, const char* column, const char*,
               const char*)
{
    auto& read = *static_cast<ColumnsRead*>(context);
    try {
        if (action == SQLITE_READ && table != nullptr && column != nullptr && *column != '\0' &&
            lower(table) == lower(read.table)) {
            read.names.insert(column);
        }
        return SQLITE_OK;
    } catch (const std::bad_alloc&) { // SQLite is C
        return SQLITE_DENY;
    }
}

bool isScanned(Database& database, const std::string& sql)
{
    constexpr int kDetail = 3;
    Statement plan(database, "EXPLAIN QUERY PLAN " + sql);
    while (plan.step()) {
        if (plan.textAt(kDetail).starts_with("SCAN Tbl_")) {
            return true;
        }
    }
    return false;
}

} // namespace

const std::vector<std::string>& associationColumns()
{
    static const std::vector<std::string> kColumns = {"__LeftClass", "__LeftClassKey",
                                                      "__RightClass", "__RightClassKey"};
    return kColumns;
}

CacheFile::CacheFile(const std::string& path) : mPath(path), mDatabase(withFile(path))
{
    (void)stat(path.c_str(), &mOpened);
    const int64_t id = mDatabase.integerOf("PRAGMA application_id");
    const bool isEmpty = mDatabase.integerOf("SELECT count(*) FROM sqlite_master") == 0;
    if (id != kApplicationId && !isEmpty) {
        throw DatabaseError("another program has made it", SQLITE_NOTADB);
    }
    makeLog();
    if (id != kApplicationId) {
        mDatabase.run("PRAGMA application_id = " + std::to_string(kApplicationId));
    }
    makeReadiness(mDatabase);
}

bool CacheFile::isInPlace() const
{
    struct stat now
    {};
    return stat(mPath.c_str(), &now) == 0 && now.st_dev == mOpened.st_dev &&
           now.st_ino == mOpened.st_ino;
}

// Readers that may not write into the directory need the log and its index to be there: they stay
// when this connection closes.
void CacheFile::makeLog()
{
    int isOn = 1;
    (void)sqlite3_file_control(mDatabase.handle(), "main", SQLITE_FCNTL_PERSIST_WAL, &isOn);
    const std::string mode = mDatabase.textOf("PRAGMA journal_mode = WAL");
    if (mode != "wal") {
        throw DatabaseError("its journal cannot be a log (it is \"" + mode + "\")", SQLITE_ERROR);
    }
    // What a power cut takes of the last refreshes comes again; the file stays whole.
    mDatabase.run("PRAGMA synchronous = NORMAL");
    mDatabase.run(std::string("PRAGMA journal_size_limit = ") + kLogBytes);
    struct stat status
    {};
    if (stat((mPath + "-wal").c_str(), &status) == 0 && status.st_size == 0) {
        // A reader without the right to write begins at a mark that a writer has left.
        mDatabase.run("PRAGMA user_version = 1");
    }
    (void)mDatabase.integerOf("SELECT count(*) FROM sqlite_master");
}

void CacheFile::prepare(const Plan& plan)
{
    Transaction transaction(mDatabase);
    for (const std::string& association : plan.associations()) {
        makeAssociationTable(association);
    }
    for (const WantedClass& wanted : plan.classes) {
        if (!wanted.columns.empty() && hasTable(wanted.name)) {
            addColumns(wanted);
            if (hasUntypedNumbers(wanted)) {
                forgetReady(wanted.name);
            }
            makeIndexes(wanted);
        }
    }
    transaction.commit();
    indexConditions(plan);
}

void CacheFile::makeAssociationTable(const std::string& association)
{
    std::string columns;
    for (const std::string& column : associationColumns()) {
        columns.append(columns.empty() ? "" : ", ").append(column);
    }
    const std::string table = tableOf(association);
    mDatabase.run("CREATE TABLE IF NOT EXISTS " + quotedName(table) + " (" + columns + ")");
    for (const char* const key : {"__LeftClassKey", "__RightClassKey"}) {
        makeIndex(indexName(table, key), quotedName(table) + " (" + key + ")", false);
    }
}

bool CacheFile::hasTable(const std::string& cimClass)
{
    Statement find(mDatabase, "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND "
                              "name = ? COLLATE NOCASE");
    find.bind(0, tableOf(cimClass));
    return find.step() && find.integerAt(0) > 0;
}

bool CacheFile::makeTable(const WantedClass& wanted, bool hasIntegerKey)
{
    const bool isThere = hasTable(wanted.name);
    if (isThere && !hasOtherIntegers(wanted, hasIntegerKey)) {
        return false;
    }
    std::set<std::string> known;
    std::string columns;
    for (const WantedColumn& column : wanted.columns) {
        const bool isIntegerKey = hasIntegerKey && column.name == wanted.key;
        columns.append(columns.empty() ? "" : ", ").append(quotedName(column.name));
        columns.append(isIntegerKey ? " INTEGER" : "");
        known.insert(lower(column.name));
    }
    const std::string table = quotedName(tableOf(wanted.name));
    if (isThere) {
        // Readers that have a former mapping do without rows, not without columns.
        for (const std::string& name : columnsOf(wanted.name)) {
            columns += known.contains(lower(name)) ? "" : ", " + quotedName(name);
        }
        mDatabase.run("DROP TABLE " + table);
    }
    mDatabase.run("CREATE TABLE " + table + " (" + columns + ")");
    makeIndexes(wanted);
    return true;
}

std::vector<std::string> CacheFile::columnsOf(const std::string& cimClass)
{
    Statement names(mDatabase, "SELECT name FROM pragma_table_info(?)");
    names.bind(0, tableOf(cimClass));
    std::vector<std::string> columns;
    while (names.step()) {
        columns.push_back(names.textAt(0));
    }
    return columns;
}

// A column of integers, the key's under a former mapping, makes integers of texts.
bool CacheFile::hasOtherIntegers(const WantedClass& wanted, bool hasIntegerKey)
{
    Statement find(mDatabase, "SELECT count(*) FROM pragma_table_info(?) WHERE type = 'INTEGER' "
                              "AND NOT (name = ? COLLATE NOCASE AND ?)");
    find.bind(0, tableOf(wanted.name));
    find.bind(1, wanted.key);
    find.bind(2, static_cast<int64_t>(hasIntegerKey));
    return find.step() && find.integerAt(0) > 0;
}

// Numbers, or arrays of them, that an entry has no type for, as a former mapping had: they end
// readers.
bool CacheFile::hasUntypedNumbers(const WantedClass& wanted)
{
    const auto hasSome = [&](const WantedColumn& column) {
        const auto& plain = column.reading.plain;
        const std::string name = quotedName(column.name);
        return std::find(plain.begin(), plain.end(), std::nullopt) != plain.end() &&
               mDatabase.integerOf("SELECT EXISTS (SELECT 1 FROM " +
                                   quotedName(tableOf(wanted.name)) + " WHERE typeof(" + name +
                                   ") = 'integer' OR (typeof(" + name + ") = 'blob' AND substr(" +
                                   name + ", 1, 4) <> x'01000000'))") != 0;
    };
    return std::any_of(wanted.columns.begin(), wanted.columns.end(), hasSome);
}

bool CacheFile::hasIntegerKey(const WantedClass& wanted)
{
    Statement find(mDatabase,
                   "SELECT type FROM pragma_table_info(?) WHERE name = ? COLLATE NOCASE");
    find.bind(0, tableOf(wanted.name));
    find.bind(1, wanted.key);
    return find.step() && find.textAt(0) == "INTEGER";
}

void CacheFile::addColumns(const WantedClass& wanted)
{
    const std::string table = quotedName(tableOf(wanted.name));
    std::set<std::string> known;
    for (const std::string& name : columnsOf(wanted.name)) {
        known.insert(lower(name));
    }
    for (const WantedColumn& column : wanted.columns) {
        if (!known.contains(lower(column.name))) {
            mDatabase.run("ALTER TABLE " + table + " ADD COLUMN " + quotedName(column.name));
            forgetReady(wanted.name);
        }
    }
}

// Rows of a mapping with another key may be alike in this one: they come anew.
void CacheFile::makeKeyIndex(const WantedClass& wanted)
{
    const std::string table = tableOf(wanted.name);
    const std::string name = indexName(table, "_key");
    const std::string what = quotedName(table) + " (" + quotedName(wanted.key) + ")";
    try {
        makeIndex(name, what, true);
    } catch (const DatabaseError& error) {
        if (error.code() != SQLITE_CONSTRAINT) {
            throw;
        }
        mDatabase.run("DELETE FROM " + quotedName(table));
        forgetReady(wanted.name);
        makeIndex(name, what, true);
    }
}

void CacheFile::makeIndexes(const WantedClass& wanted)
{
    makeKeyIndex(wanted);
    const std::string table = tableOf(wanted.name);
    for (const std::string& key : wanted.moreKeys) {
        makeIndex(indexName(table, key), quotedName(table) + " (" + quotedName(key) + ")", false);
    }
}

// One of this name for something else is from a mapping that had another key.
void CacheFile::makeIndex(const std::string& name, const std::string& what, bool isUnique)
{
    const std::string sql = std::string("CREATE ") + (isUnique ? "UNIQUE " : "") + "INDEX " +
                            quotedName(name) + " ON " + what;
    Statement find(mDatabase, "SELECT sql FROM sqlite_master WHERE type = 'index' AND "
                              "name = ? COLLATE NOCASE");
    find.bind(0, name);
    const std::string known = find.step() ? find.textAt(0) : "";
    find.reset();
    if (known == sql) {
        return;
    }
    if (!known.empty()) {
        mDatabase.run("DROP INDEX " + quotedName(name));
    }
    mDatabase.run(sql);
}

void CacheFile::indexConditions(const Plan& plan)
{
    for (const WantedClass& wanted : plan.classes) {
        for (const std::string& condition : wanted.conditions) {
            try {
                indexCondition(tableOf(wanted.name), condition);
            } catch (const DatabaseError&) {
                // A table that it asks for is not there yet, or it is none: cimgated --check tells.
            }
        }
    }
}

void CacheFile::indexCondition(const std::string& table, const std::string& condition)
{
    const std::string sql = "SELECT 1 FROM " + quotedName(table) + " WHERE " + condition;
    ColumnsRead read{table, {}};
    sqlite3_set_authorizer(mDatabase.handle(), noteColumn, &read);
    bool isSlow = false;
    try {
        isSlow = isScanned(mDatabase, sql);
    } catch (...) {
        sqlite3_set_authorizer(mDatabase.handle(), nullptr, nullptr);
        throw;
    }
    sqlite3_set_authorizer(mDatabase.handle(), nullptr, nullptr);
    // Its last comparison is made without regard to case, others as the text stands.
    for (const char* const collation : {"NOCASE", "BINARY"}) {
        for (const std::string& column : read.names) {
            if (isSlow) {
                makeIndex(indexName(table, column + "_" + collation),
                          quotedName(table) + " (" + quotedName(column) + " COLLATE " + collation +
                              ")",
                          false);
                isSlow = isScanned(mDatabase, sql);
            }
        }
    }
}

bool CacheFile::isReady(const std::string& cimClass)
{
    Statement find(mDatabase, std::string("SELECT count(*) FROM ") + kReadinessTable +
                                  " WHERE ClassName = ? COLLATE NOCASE");
    find.bind(0, cimClass);
    return find.step() && find.integerAt(0) > 0;
}

void CacheFile::setReady(const std::string& cimClass)
{
    if (!isReady(cimClass)) {
        Statement insert(mDatabase, std::string("INSERT INTO ") + kReadinessTable + " VALUES (?)");
        insert.bind(0, cimClass);
        insert.run();
    }
}

void CacheFile::forgetReady(const std::string& cimClass)
{
    Statement forget(mDatabase, std::string("DELETE FROM ") + kReadinessTable +
                                    " WHERE ClassName = ? COLLATE NOCASE");
    forget.bind(0, cimClass);
    forget.run();
}

int64_t CacheFile::rowsOf(const std::string& cimClass)
{
    return hasTable(cimClass)
               ? mDatabase.integerOf("SELECT count(*) FROM " + quotedName(tableOf(cimClass)))
               : 0;
}

} // namespace filler
