#include "database.h"

#include <cstring>

namespace filler {

namespace {

// Readers hold no locks that a writer waits for, save while one of them mends the file's log after
// a crash.
constexpr int kBusyTimeoutMs = 10000;

bool isBytes(const void* stored, int size, const std::string& bytes)
{
    return static_cast<size_t>(size) == bytes.size() &&
           (bytes.empty() || std::memcmp(stored, bytes.data(), bytes.size()) == 0);
}

} // namespace

// ---- Statement ----

Statement::Statement(Database& database, const std::string& sql) : mDatabase(database)
{
    sqlite3_stmt* statement = nullptr;
    const int result = sqlite3_prepare_v2(database.handle(), sql.c_str(),
                                          static_cast<int>(sql.size()) + 1, &statement, nullptr);
    mStatement.reset(statement);
    check(result);
}

void Statement::check(int result) const
{
    if (result != SQLITE_OK) {
        mDatabase.fail();
    }
}

void Statement::bind(int parameter, const Cell& cell)
{
    sqlite3_stmt* const statement = mStatement.get();
    const int at = parameter + 1;
    const auto size = static_cast<int>(cell.bytes.size());
    switch (cell.kind) {
    case Cell::Kind::Null:
        check(sqlite3_bind_null(statement, at));
        break;
    case Cell::Kind::Integer:
        check(sqlite3_bind_int64(statement, at, cell.integer));
        break;
    case Cell::Kind::Text:
        check(sqlite3_bind_text(statement, at, cell.bytes.data(), size, SQLITE_STATIC));
        break;
    case Cell::Kind::Blob:
        check(sqlite3_bind_blob(statement, at, cell.bytes.data(), size, SQLITE_STATIC));
        break;
    }
}

void Statement::bind(int parameter, int64_t integer)
{
    check(sqlite3_bind_int64(mStatement.get(), parameter + 1, integer));
}

void Statement::bind(int parameter, const std::string& text)
{
    check(sqlite3_bind_text(mStatement.get(), parameter + 1, text.data(),
                            static_cast<int>(text.size()), SQLITE_TRANSIENT));
}

bool Statement::step()
{
    const int result = sqlite3_step(mStatement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        mDatabase.fail();
    }
    return result == SQLITE_ROW;
}

void Statement::reset()
{
    (void)sqlite3_reset(mStatement.get()); // its step has said already what went wrong
}

std::string Statement::textAt(int column) const
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(mStatement.get(), column));
    return text == nullptr ? std::string() : std::string(text);
}

bool Statement::isCellAt(int column, const Cell& cell) const
{
    sqlite3_stmt* const statement = mStatement.get();
    switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL:
        return cell.kind == Cell::Kind::Null;
    case SQLITE_INTEGER:
        return cell.kind == Cell::Kind::Integer && integerAt(column) == cell.integer;
    case SQLITE_TEXT:
        return cell.kind == Cell::Kind::Text &&
               isBytes(sqlite3_column_text(statement, column),
                       sqlite3_column_bytes(statement, column), cell.bytes);
    case SQLITE_BLOB:
        return cell.kind == Cell::Kind::Blob &&
               isBytes(sqlite3_column_blob(statement, column),
                       sqlite3_column_bytes(statement, column), cell.bytes);
    default:
        return false;
    }
}

// ---- Database ----

Database::Database(const std::string& path)
{
    sqlite3* handle = nullptr;
    const int result =
        sqlite3_open_v2(path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    mHandle.reset(handle);
    if (result != SQLITE_OK) {
        fail();
    }
    (void)sqlite3_busy_timeout(handle, kBusyTimeoutMs);
}

void Database::fail() const
{
    sqlite3* const handle = mHandle.get();
    throw DatabaseError(handle == nullptr ? "out of memory" : sqlite3_errmsg(handle),
                        handle == nullptr ? SQLITE_NOMEM : sqlite3_errcode(handle));
}

void Database::run(const std::string& sql)
{
    if (sqlite3_exec(mHandle.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        fail();
    }
}

std::string Database::textOf(const std::string& sql)
{
    Statement statement(*this, sql);
    return statement.step() ? statement.textAt(0) : std::string();
}

int64_t Database::integerOf(const std::string& sql)
{
    Statement statement(*this, sql);
    return statement.step() ? statement.integerAt(0) : 0;
}

std::vector<std::string> Database::listOf(const std::string& sql)
{
    std::vector<std::string> list;
    Statement statement(*this, sql);
    while (statement.step()) {
        list.push_back(statement.textAt(0));
    }
    return list;
}

// ---- Transaction ----

Transaction::~Transaction()
{
    if (!mIsDone) {
        (void)sqlite3_exec(mDatabase.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void Transaction::commit()
{
    mDatabase.run("COMMIT");
    mIsDone = true;
}

} // namespace filler
