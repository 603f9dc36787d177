// Which file the data cache's path names. A writer that must not be seen half-way puts a new file
// in the old one's place; whoever has the old one open would read it for ever.
#ifndef HOST_WORKER_CACHE_FILE_H_
#define HOST_WORKER_CACHE_FILE_H_

#include <sys/stat.h>

namespace host {

class CacheFile
{
public:
    // To be called before the cache is opened: a replacement in between costs a worker, not an
    // answer.
    void note() { mIsNoted = look(mNoted); }

    // Whether there is another file now. While there is none the old one goes on serving.
    bool isReplaced();

private:
    bool look(struct stat& found);

    struct stat mNoted
    {};
    bool mIsNoted = false;
    int mCause = 0; // why the last look failed
};

} // namespace host

#endif
