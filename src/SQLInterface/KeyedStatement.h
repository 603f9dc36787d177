// A statement of a read by key, or of a count, that may serve again: preparing them is a third of
// what reading an instance takes. SQLInterface::KeepStatements() says when they may stay.
#ifndef KEYED_STATEMENT_H_
#define KEYED_STATEMENT_H_

#include <string>

class SQLInterface;
struct sqlite3_stmt;

namespace cimgate {

// To the first parameter, unless the key is empty. The result is not looked at.
void bindKey(sqlite3_stmt* statement, const std::string& key);

class KeyedStatement
{
public:
    KeyedStatement() = default;
    ~KeyedStatement();
    KeyedStatement(const KeyedStatement&) = delete;
    KeyedStatement& operator=(const KeyedStatement&) = delete;

    // As SQLInterface::GetPrepareStatement(); once.
    int prepare(SQLInterface& cache, const std::string& query, const std::string& key);

    sqlite3_stmt* get() const { return mStmt; }

private:
    std::string mQuery;
    sqlite3_stmt* mStmt = nullptr;
};

} // namespace cimgate

#endif
