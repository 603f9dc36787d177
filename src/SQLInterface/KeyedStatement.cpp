#include "SQLInterface/KeyedStatement.h"

#include "Log.h"
#include "SQLInterface.h"

#include <sqlite3.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace cimgate {

namespace {

// A worker has memory of its own for each.
constexpr size_t kMaxKept = 16;

// The statements that nobody uses at the moment, the one that was used last behind the others.
class KeptStatements
{
public:
    KeptStatements() { mKept.reserve(kMaxKept); }
    ~KeptStatements() { drop(); }
    KeptStatements(const KeptStatements&) = delete;
    KeptStatements& operator=(const KeptStatements&) = delete;

    // What is kept fits one schema of one connection.
    void enter(sqlite3* connection, std::optional<int> schema)
    {
        if (connection != mConnection || schema != mSchema) {
            drop();
            mConnection = connection;
            mSchema = schema;
        }
    }

    // Null where there is none.
    sqlite3_stmt* take(const std::string& query)
    {
        const auto found = std::find_if(mKept.begin(), mKept.end(),
                                        [&query](const Kept& kept) { return kept.query == query; });
        if (found == mKept.end()) {
            return nullptr;
        }
        sqlite3_stmt* const statement = found->statement;
        mKept.erase(found);
        return statement;
    }

    // One that has failed is prepared anew, which says why.
    void giveBack(std::string query, sqlite3_stmt* statement)
    {
        if (!mSchema || sqlite3_db_handle(statement) != mConnection ||
            sqlite3_reset(statement) != SQLITE_OK) {
            sqlite3_finalize(statement);
            return;
        }
        (void)sqlite3_clear_bindings(statement);
        if (mKept.size() == kMaxKept) {
            sqlite3_finalize(mKept.front().statement);
            mKept.erase(mKept.begin());
        }
        mKept.push_back({std::move(query), statement});
    }

private:
    struct Kept
    {
        std::string query;
        sqlite3_stmt* statement;
    };

    void drop()
    {
        for (const Kept& kept : mKept) {
            sqlite3_finalize(kept.statement);
        }
        mKept.clear();
    }

    sqlite3* mConnection = nullptr;
    std::optional<int> mSchema;
    std::vector<Kept> mKept;
};

KeptStatements& keptStatements()
{
    static KeptStatements kept;
    return kept;
}

} // namespace

KeyedStatement::~KeyedStatement()
{
    if (mStmt != nullptr) {
        keptStatements().giveBack(std::move(mQuery), mStmt);
    }
}

void bindKey(sqlite3_stmt* statement, const std::string& key)
{
    if (!key.empty()) {
        sqlite3_bind_text(statement, 1, key.c_str(), -1, SQLITE_TRANSIENT);
    }
}

int KeyedStatement::prepare(SQLInterface& cache, const std::string& query, const std::string& key)
{
    mQuery = query;
    mStmt = keptStatements().take(query);
    if (mStmt == nullptr) {
        return cache.GetPrepareStatement(query, &mStmt, key);
    }
    LOG_SCOPE_AS("GetPrepareStatement");
    bindKey(mStmt, key);
    return SQLITE_OK;
}

} // namespace cimgate

void SQLInterface::KeepStatements(std::optional<int> schemaVersion)
{
    cimgate::keptStatements().enter(dbhandle, schemaVersion);
}
