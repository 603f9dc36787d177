// A prepared statement that finalizes itself.
#ifndef STATEMENT_H_
#define STATEMENT_H_

#include <sqlite3.h>

namespace cimgate {

class Statement
{
public:
    Statement() = default;
    ~Statement() { sqlite3_finalize(mStmt); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    sqlite3_stmt* get() const { return mStmt; }
    // For SQLInterface::GetPrepareStatement(), once.
    sqlite3_stmt** slot() { return &mStmt; }

private:
    sqlite3_stmt* mStmt = nullptr;
};

} // namespace cimgate

#endif
