#include "Log.h"
#include "ResourceMapper/mapping/CachedClasses.h"
#include "SQLInterface.h"
#include "SQLInterface/DataCache.h"
#include "SQLInterface/KeyedStatement.h"
#include "SQLInterface/RowToJson.h"

#include <sqlite3.h>

#include <cstdlib>

using cimgate::KeyedStatement;
using cimgate::RowShape;
using enum cimgate::LogLevel;

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): the process's one connection
sqlite3* dbhandle = nullptr;

const std::string Table_Prefix = cimgate::mapping::kTablePrefix;
const std::string meta_table = cimgate::mapping::kReadinessTable;
const std::string noCase = " COLLATE NOCASE";
const std::string baseCountQuery = "select count(*) from ";

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): hosts may set it
std::string SQLInterface::DataCachePath = "/var/run/cmpidatacache/CMPI_DataCache.db";

namespace {

// How long a reader waits for the cache writer's locks.
constexpr int kBusyTimeoutMs = 10000;

} // namespace

int LoadDatabase()
{
    LOG_SCOPE();
    const int rc = sqlite3_open_v2(SQLInterface::DataCachePath.c_str(), &dbhandle,
                                   SQLITE_OPEN_READONLY, nullptr);
    if (rc != SQLITE_OK) {
        LOG_AT(LOG_ERROR, "DB status: %d, Can't open database: %s", rc, sqlite3_errmsg(dbhandle));
        // Without its cache the process is of no use; whoever supervises it sees the status.
        std::exit(1); // NOLINT(concurrency-mt-unsafe): called before any other thread
    }
    RM_ASSERT_TEXT(dbhandle != nullptr, "(dbhandle != NULL)");
    return sqlite3_busy_timeout(dbhandle, kBusyTimeoutMs);
}

SQLInterface::SQLInterface()
{
    LOG_SCOPE();
}

SQLInterface::~SQLInterface()
{
    LOG_SCOPE();
}

int SQLInterface::GetPrepareStatement(std::string query, sqlite3_stmt** stmt, std::string bindValue)
{
    LOG_SCOPE();
    sqlite3_stmt* prepared = nullptr;
    const int rc = sqlite3_prepare_v2(dbhandle, query.c_str(), static_cast<int>(query.size()),
                                      &prepared, nullptr);
    if (stmt != nullptr) {
        *stmt = prepared;
    }
    if (rc != SQLITE_OK) {
        LOG_AT(LOG_ERROR, "SQL error while preparing Query");
        return rc;
    }
    if (stmt == nullptr) {
        LOG_AT(LOG_ERROR, "SQL statement is NULL");
        sqlite3_finalize(prepared);
        return 1;
    }
    cimgate::bindKey(prepared, bindValue);
    return SQLITE_OK;
}

int SQLInterface::GetInstanceCount(std::string tail, unsigned int* count)
{
    LOG_SCOPE();
    KeyedStatement statement;
    if (statement.prepare(*this, baseCountQuery + tail, "") != SQLITE_OK) {
        // Stepping the missing statement gives SQLITE_MISUSE, which becomes the result.
        LOG_AT(LOG_ERROR, "Prepare statement failed");
    }
    const int rc = sqlite3_step(statement.get());
    if (rc == SQLITE_ROW) {
        *count = static_cast<unsigned int>(sqlite3_column_int(statement.get(), 0));
        return SQLITE_OK;
    }
    if (rc == SQLITE_DONE) {
        *count = 0;
        LOG_AT(LOG_ERROR, "Got empty result");
        return rc;
    }
    LOG_AT(LOG_ERROR, "SQL Error while getting number of rows");
    return rc;
}

int SQLInterface::SQLToJson(sqlite3_stmt* stmt, Json::Value& out, Json::Value rmf,
                            std::string className, bool isCollection)
{
    return cimgate::rowsToJson(stmt, out, rmf, className,
                               isCollection ? RowShape::Members : RowShape::Properties);
}
