// SQLInterface::SQLToJson() without copying the mapping entry.
#ifndef ROW_TO_JSON_H_
#define ROW_TO_JSON_H_

#include <json/json.h>

#include <string>

struct sqlite3_stmt;

namespace cimgate {

// What the rows become.
enum class RowShape {
    Properties, // the first: an object, under the column names
    Answer,     // the first: what an answer without $select shows of it, under the properties'
                // aliases, and the key, for which GetSelectQuery() adds the last column
    Members     // all: the elements of "Members", under the properties' aliases
};

int rowsToJson(sqlite3_stmt* stmt, Json::Value& out, const Json::Value& entry,
               const std::string& className, RowShape shape);

} // namespace cimgate

#endif
