#include "worker/cache_file.h"

#include "errno_text.h"
#include "log.h"

#include <ResourceMapper.h>

#include <cerrno>
#include <string>

namespace host {

bool CacheFile::isReplaced()
{
    struct stat now
    {};
    return mIsNoted && look(now) && (now.st_dev != mNoted.st_dev || now.st_ino != mNoted.st_ino);
}

// A writer's new file may be a moment away; anything else that hides it is told, once while it
// lasts, since requests go on being answered from the old one.
bool CacheFile::look(struct stat& found)
{
    const std::string& path = SQLInterface::DataCachePath;
    const int cause = stat(path.c_str(), &found) == 0 ? 0 : errno;
    if (cause != 0 && cause != ENOENT && cause != mCause) {
        const std::string text = errnoText();
        log(Severity::Error, "cannot see whether the data cache " + path + " is replaced: " + text);
    }
    mCause = cause;
    return cause == 0;
}

} // namespace host
