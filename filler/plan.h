// What the mapping wants in the data cache.
#ifndef FILLER_PLAN_H_
#define FILLER_PLAN_H_

#include "cell.h"

#include <json/json.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace filler {

struct WantedColumn
{
    std::string name;
    std::string entry; // the first of the mapping's that names it, for messages
    ColumnReading reading;
};

// A class of which all instances are kept; an association without columns, for its links alone.
struct WantedClass
{
    std::string name;
    std::string entry; // the first of the mapping's that wants it, for messages
    std::vector<WantedColumn> columns;
    std::string key;                       // the column that tells its instances apart
    std::vector<std::string> moreKeys;     // other columns by which instances are looked up
    std::vector<std::string> conditions;   // of other SELECTs, as in "where " and condition
    std::vector<std::string> associations; // classes whose links are read with it, as spelled
    unsigned int intervalS = 0;
};

struct Plan
{
    std::vector<WantedClass> classes;
    // Class name in lower case to the property that is the key of its resources.
    std::map<std::string, std::string> keys;

    // The associations of all classes, each once.
    std::vector<std::string> associations() const;
};

// The key column of a class none of whose entries has one: its object path as a text.
inline constexpr const char* kPathColumn = "__Path";

// Whether all readers take the column's cells for integers.
bool showsIntegers(const ColumnReading& reading);

Plan planOf(const Json::Value& mapping, unsigned int intervalS);

// Reads the mapping file. Returns nothing, with what to do in problem, where it cannot be used.
std::optional<Plan> readPlan(const std::string& path, unsigned int intervalS, std::string& problem);

} // namespace filler

#endif
