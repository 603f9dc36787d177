#include "worker/cache_read.h"

#include <SQLInterface.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace host {

namespace {

constexpr int kPrimary = 0xff; // of an extended result code

// Of the last message since the transaction began that tells of a fault.
int notedCode = SQLITE_OK; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

bool isFault(int code)
{
    switch (code) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
    case SQLITE_NOTICE:
    case SQLITE_WARNING:
    case SQLITE_SCHEMA: // the statement is prepared again
        return false;
    default:
        return true;
    }
}

// A statement that the cache's tables do not fit (and that the library steps all the same) says
// nothing of what others have read: it counts where it was the last.
void noteMessage(void* /*context*/, int code, const char* /*message*/)
{
    const int primary = code & kPrimary;
    if (isFault(primary) && primary != SQLITE_ERROR && primary != SQLITE_MISUSE) {
        notedCode = primary;
    }
}

// A statement that gives a number or nothing. It stays prepared: each request that reads the cache
// runs three of them, and parsing them takes longer than running them.
class KeptStatement
{
public:
    explicit KeptStatement(const char* sql) : mSql(sql) {}
    ~KeptStatement() { sqlite3_finalize(mStatement); }
    KeptStatement(const KeptStatement&) = delete;
    KeptStatement& operator=(const KeptStatement&) = delete;

    bool run()
    {
        if (!isPrepared()) {
            return false;
        }
        const int status = sqlite3_step(mStatement); // whether it has failed, the reset says
        mNumber = status == SQLITE_ROW ? sqlite3_column_int(mStatement, 0) : 0;
        return sqlite3_reset(mStatement) == SQLITE_OK;
    }

    // What the last run gave.
    int number() const { return mNumber; }

private:
    bool isPrepared()
    {
        if (mStatement != nullptr && sqlite3_db_handle(mStatement) == dbhandle) {
            return true;
        }
        sqlite3_finalize(std::exchange(mStatement, nullptr));
        return sqlite3_prepare_v3(dbhandle, mSql, -1, SQLITE_PREPARE_PERSISTENT, &mStatement,
                                  nullptr) == SQLITE_OK;
    }

    const char* mSql;
    sqlite3_stmt* mStatement = nullptr;
    int mNumber = 0;
};

struct Statements
{
    KeptStatement begin{"BEGIN"}; // takes no lock yet
    KeptStatement takeState{"PRAGMA schema_version"};
    KeptStatement commit{"COMMIT"};
    KeptStatement rollback{"ROLLBACK"};
};

Statements& statements()
{
    static Statements kept;
    return kept;
}

// How long the index of the cache's log may be half written: a writer does that in microseconds,
// and one that was killed at it has a successor soon.
constexpr std::chrono::milliseconds kIndexPatience{2000};
constexpr std::chrono::milliseconds kFirstPause{1};
constexpr std::chrono::milliseconds kLongestPause{20};

// Takes the state that is read; its schema's number, nothing where it cannot be read. A reader who
// may not write cannot tell a writer at work on the index from one that was killed there, and
// SQLite's own patience is for locks.
std::optional<int> takeState()
{
    const auto end = std::chrono::steady_clock::now() + kIndexPatience;
    auto pause = kFirstPause;
    bool isTaken = statements().takeState.run();
    while (!isTaken && sqlite3_extended_errcode(dbhandle) == SQLITE_READONLY_RECOVERY &&
           std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(pause);
        pause = std::min(2 * pause, kLongestPause);
        notedCode = SQLITE_OK;
        isTaken = statements().takeState.run();
    }
    return isTaken ? std::optional(statements().takeState.number()) : std::nullopt;
}

} // namespace

std::string faultText(const std::string& table, const CacheFault& fault)
{
    return "cannot read " + table + ": " + fault.words;
}

void CacheRead::watchSqlite()
{
    (void)sqlite3_config(SQLITE_CONFIG_LOG, noteMessage, nullptr);
}

CacheRead::CacheRead()
{
    notedCode = SQLITE_OK;
    (void)statements().begin.run(); // where it fails, the connection says why
    SQLInterface::KeepStatements(takeState());
}

std::optional<CacheFault> CacheRead::fault() const
{
    const int last = sqlite3_errcode(dbhandle) & kPrimary;
    const int code = notedCode == SQLITE_OK ? last : notedCode; // a lock gives no message
    if (!isFault(code)) {
        return std::nullopt;
    }
    return CacheFault{code, code == last ? sqlite3_errmsg(dbhandle) : sqlite3_errstr(code)};
}

void CacheRead::end()
{
    // A fault may have ended it already.
    if (sqlite3_get_autocommit(dbhandle) == 0 && !statements().commit.run()) {
        (void)statements().rollback.run();
    }
}

} // namespace host
