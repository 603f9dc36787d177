// What the mapping needs of the data cache, and what the data cache has.
#ifndef HOST_CHECK_CACHE_RULES_H_
#define HOST_CHECK_CACHE_RULES_H_

#include "check/inspection.h"

#include <string>

namespace host::check {

// How much of the data cache is looked at.
enum class Depth {
    Tables, // its tables and their columns, and of each table the first row
    Rows    // all of it
};

// Whether the mapping needs a data cache at all.
bool needsCache(const Json::Value& mapping);

// Tells what is missing in the data cache, or cannot be read as the mapping says.
void checkCache(Inspection& inspection, const std::string& path, Depth depth);

} // namespace host::check

#endif
