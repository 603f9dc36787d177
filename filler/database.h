// The data cache's file, for who writes it. Failures are thrown, with SQLite's words.
#ifndef FILLER_DATABASE_H_
#define FILLER_DATABASE_H_

#include "cell.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace filler {

class DatabaseError : public std::runtime_error
{
public:
    DatabaseError(const std::string& text, int code) : std::runtime_error(text), mCode(code) {}
    int code() const { return mCode; } // SQLite's primary result code

private:
    int mCode;
};

class Database;

class Statement
{
public:
    Statement(Database& database, const std::string& sql);

    // Parameters and columns are counted from 0.
    void bind(int parameter, const Cell& cell);
    void bind(int parameter, int64_t integer);
    void bind(int parameter, const std::string& text);
    // Whether there is a row.
    bool step();
    void run()
    {
        while (step()) {
        }
        reset();
    }
    void reset();
    int64_t integerAt(int column) const { return sqlite3_column_int64(mStatement.get(), column); }
    std::string textAt(int column) const;
    bool isCellAt(int column, const Cell& cell) const;

private:
    void check(int result) const;

    struct Finalize
    {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    Database& mDatabase;
    std::unique_ptr<sqlite3_stmt, Finalize> mStatement;
};

class Database
{
public:
    // Opens the file to read and write; makes it where there is none.
    explicit Database(const std::string& path);

    sqlite3* handle() { return mHandle.get(); }
    void run(const std::string& sql);
    // The first cell of the first row; "" where there is none.
    std::string textOf(const std::string& sql);
    int64_t integerOf(const std::string& sql);
    // The first column of all rows.
    std::vector<std::string> listOf(const std::string& sql);
    [[noreturn]] void fail() const;

private:
    struct Close
    {
        void operator()(sqlite3* handle) const { sqlite3_close(handle); }
    };
    std::unique_ptr<sqlite3, Close> mHandle;
};

// Rolls back what is not committed.
class Transaction
{
public:
    // A reader until something is written.
    explicit Transaction(Database& database) : mDatabase(database) { mDatabase.run("BEGIN"); }
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

private:
    Database& mDatabase;
    bool mIsDone = false;
};

} // namespace filler

#endif
