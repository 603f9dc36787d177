// Whether the data cache's file can be opened, as it is found out before SQLite opens it.
//
// Threads: a free function without state.
#ifndef HOST_CACHE_FILE_H_
#define HOST_CACHE_FILE_H_

#include <service/errno_text.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace host {

// A problem that passes when the cache's writer starts.
inline constexpr const char* kCacheIsMissing = "is missing";

// Why the file at path cannot be opened; "" where it can, kCacheIsMissing where there is none.
inline std::string problemOfCacheFile(const std::string& path)
{
    struct stat found
    {};
    if (stat(path.c_str(), &found) != 0) {
        return errno == ENOENT ? kCacheIsMissing : service::errnoText();
    }
    if (!S_ISREG(found.st_mode)) { // opening a pipe would wait for whoever writes to it
        return "it is no regular file";
    }
    return access(path.c_str(), R_OK) == 0 ? "" : service::errnoText();
}

} // namespace host

#endif
