// A worker's data cache: the file that its path names, and the library's connection to it, which is
// opened when a request first needs it. (LoadDatabase() ends the process where it cannot open.) A
// writer that must not be seen half-way puts a new file in
// the old one's place; whoever has the old one open would read it for ever.
#ifndef HOST_WORKER_DATA_CACHE_H_
#define HOST_WORKER_DATA_CACHE_H_

#include "worker/cache_notice.h"

#include <sys/stat.h>

#include <optional>
#include <string>

namespace host {

// What the log says of a request that needs it.
inline constexpr const char* kCacheIsUnreadable = "the data cache cannot be read";

class DataCache
{
public:
    // The notice is told whether the cache can be read; it must outlive the cache.
    explicit DataCache(CacheNotice& notice) : mNotice(notice) {}

    // Looks whether it could be read, without opening it for the library.
    void look();

    // Makes it one that the library reads, where it is not open yet. False where that cannot be.
    // What an open one holds shows when it is read: it may be no database, for as long as its
    // writer takes.
    bool open();

    // The same for links: the library looks for them until SQLite says that there are no more.
    bool canFindLinks();

    // What a request has found of it while it was open: why it could not be read at all, "" where
    // it could.
    void note(const std::string& problem);

    // Whether there is another file now than the one that is open. While there is none the old one
    // goes on serving.
    bool isReplaced();

private:
    bool findFile(struct stat& found);

    CacheNotice& mNotice;
    std::optional<std::string> mNotedProblem;
    struct stat mOpened
    {};
    bool mIsOpen = false;
    int mCause = 0; // why the file could not be seen last
};

} // namespace host

#endif
