// One state of the data cache for one request. Readiness, count, rows and links are read by
// statements of their own, between which the cache's writer may commit.
#ifndef HOST_WORKER_CACHE_READ_H_
#define HOST_WORKER_CACHE_READ_H_

#include <optional>
#include <string>

namespace host {

// What SQLite has complained of.
struct CacheFault
{
    int code; // SQLite's primary result code
    std::string words;
};

// What the log says of a fault.
std::string faultText(const std::string& table, const CacheFault& fault);

// A read transaction on the library's connection, which must be open. It holds a lock. Its own
// statements stay prepared until another connection is read: who closes one does so with
// sqlite3_close_v2().
class CacheRead
{
public:
    // Has SQLite tell this process what goes wrong, also in the middle of what succeeds in the end.
    // To be called before any connection is opened.
    static void watchSqlite();

    CacheRead();
    ~CacheRead() { end(); }
    CacheRead(const CacheRead&) = delete;
    CacheRead& operator=(const CacheRead&) = delete;

    // What has gone wrong since it began; to be asked before it ends, and where the last statement
    // may have failed before any other is run.
    std::optional<CacheFault> fault() const;

    // Lets writers go on.
    void end();
};

} // namespace host

#endif
