// The data cache as the check looks at it: read-only, on a connection of its own.
#ifndef HOST_CHECK_CACHE_READER_H_
#define HOST_CHECK_CACHE_READER_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace host::check {

// What is stored in a column, as far as it was looked at.
struct Column
{
    std::string name; // as the table declares it
    bool hasReals = false;
    bool hasNumbers = false; // integers, or arrays of anything but texts
};

class CacheReader
{
public:
    // Where a writer has its lock, statements wait for busyMs.
    CacheReader(const std::string& path, int busyMs);

    // Why the file cannot be read, in SQLite's words; "" where it can. Looks at its first page.
    std::string problem() const;

    // Why a statement cannot be prepared; "" where it can.
    std::string problemOf(const std::string& sql) const;

    // The columns of a statement and what is in its rows; none where it cannot be prepared.
    std::vector<Column> columnsOf(const std::string& sql) const;

    // The rows of a statement, each as texts; what was read until it failed.
    std::vector<std::vector<std::string>> rowsOf(const std::string& sql) const;

private:
    using Connection = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;

    Connection mConnection;
    std::string mOpenProblem;
};

} // namespace host::check

#endif
