#include "worker/data_cache.h"

#include "cache_file.h"
#include "log.h"
#include "worker/cache_read.h"

#include <ResourceMapper.h>
#include <ResourceMapper/mapping/CachedClasses.h>
#include <service/errno_text.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>

namespace host {

namespace {

// What every data cache has. Naming it makes SQLite read the file, which opening does not.
std::string readinessQuery()
{
    return std::string("select ClassName from ") + cimgate::mapping::kReadinessTable;
}

// A connection for a look.
class Connection
{
public:
    explicit Connection(const std::string& path)
        : mResult(sqlite3_open_v2(path.c_str(), &mHandle, SQLITE_OPEN_READONLY, nullptr))
    {}
    ~Connection() { sqlite3_close(mHandle); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // What SQLite says against reading from it; "" for nothing. A writer's lock is no objection:
    // whoever reads waits for it.
    std::string objection()
    {
        if (mResult == SQLITE_OK) {
            sqlite3_stmt* statement = nullptr;
            mResult =
                sqlite3_prepare_v2(mHandle, readinessQuery().c_str(), -1, &statement, nullptr);
            sqlite3_finalize(statement);
        }
        return mResult == SQLITE_OK || mResult == SQLITE_BUSY ? "" : sqlite3_errmsg(mHandle);
    }

private:
    sqlite3* mHandle = nullptr;
    int mResult;
};

// Why a file cannot be read as a data cache; "" where it can.
std::string problemOf(const std::string& path)
{
    const std::string problem = problemOfCacheFile(path);
    return problem.empty() ? Connection(path).objection() : problem;
}

} // namespace

void DataCache::look()
{
    note(problemOf(SQLInterface::DataCachePath));
}

bool DataCache::open()
{
    if (!mIsOpen) {
        // Before the cache is opened: a replacement in between costs a worker, not an answer.
        const bool isSeen = findFile(mOpened);
        const std::string problem = problemOfCacheFile(SQLInterface::DataCachePath);
        if (!problem.empty()) {
            note(problem);
        }
        mIsOpen = isSeen && problem.empty() && LoadDatabase() == SQLITE_OK;
    }
    return mIsOpen;
}

bool DataCache::canFindLinks()
{
    if (open() && mNotedProblem != "") {
        look();
    }
    return mIsOpen && mNotedProblem == "";
}

// Only what is new to this worker: one that goes on with a file that has been deleted says nothing
// against those that find none.
void DataCache::note(const std::string& problem)
{
    if (problem != mNotedProblem) {
        mNotedProblem = problem;
        mNotice.note(problem);
    }
}

bool DataCache::isReplaced()
{
    struct stat now
    {};
    return mIsOpen && findFile(now) &&
           (now.st_dev != mOpened.st_dev || now.st_ino != mOpened.st_ino);
}

// A writer's new file may be a moment away; anything else that hides it is told, once while it
// lasts, since requests go on being answered from the old one.
bool DataCache::findFile(struct stat& found)
{
    const std::string& path = SQLInterface::DataCachePath;
    const int cause = stat(path.c_str(), &found) == 0 ? 0 : errno;
    if (mIsOpen && cause != 0 && cause != ENOENT && cause != mCause) {
        const std::string text = service::errnoText();
        log(Severity::Error, "cannot see whether the data cache " + path + " is replaced: " + text);
    }
    mCause = cause;
    return cause == 0;
}

} // namespace host
