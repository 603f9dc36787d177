// SQLInterface::SQLToJson() without copying the mapping entry.
#ifndef ROW_TO_JSON_H_
#define ROW_TO_JSON_H_

#include <json/json.h>

#include <string>

struct sqlite3_stmt;

int rowsToJson(sqlite3_stmt* stmt, Json::Value& out, const Json::Value& entry,
               const std::string& className, bool isCollection);

#endif
