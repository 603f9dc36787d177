// The data cache and what stands beside it.
#ifndef FILLER_CACHE_FILES_H_
#define FILLER_CACHE_FILES_H_

#include <string>

namespace filler {

// Where the library looks for it, unless it is told otherwise.
inline constexpr const char* kDefaultCache = "/var/run/cmpidatacache/CMPI_DataCache.db";

// What the filler tells of itself (status_file.h).
inline std::string statusFileOf(const std::string& cache)
{
    return cache + ".status";
}

// Empty; while a filler runs it holds a lock on it (fcntl), whatever becomes of it.
inline std::string lockFileOf(const std::string& cache)
{
    return cache + ".lock";
}

} // namespace filler

#endif
