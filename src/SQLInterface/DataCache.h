// What all readers of the data cache share: its connection and the fixed parts of its queries.
#ifndef DATA_CACHE_H_
#define DATA_CACHE_H_

#include <string>

struct sqlite3;

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): one cache for the process
// The one connection of the process; null until LoadDatabase().
extern sqlite3* dbhandle;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

extern const std::string Table_Prefix;   // a class's table is this followed by the class name
extern const std::string meta_table;     // the readiness table
extern const std::string noCase;         // with its leading blank
extern const std::string baseCountQuery; // with its trailing blank

#endif
