// The fixed parts of what the data cache is asked.
#ifndef DATA_CACHE_H_
#define DATA_CACHE_H_

#include <string>

extern const std::string Table_Prefix;   // a class's table is this followed by the class name
extern const std::string meta_table;     // the readiness table
extern const std::string noCase;         // with its leading blank
extern const std::string baseCountQuery; // with its trailing blank

#endif
