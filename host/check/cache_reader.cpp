#include "check/cache_reader.h"

#include <sqlite3.h>

#include <cstring>
#include <string_view>

namespace host::check {

namespace {

using Statement = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>;

Statement prepare(sqlite3* connection, const std::string& sql)
{
    sqlite3_stmt* statement = nullptr;
    (void)sqlite3_prepare_v2(connection, sql.c_str(), static_cast<int>(sql.size()), &statement,
                             nullptr);
    return {statement, sqlite3_finalize};
}

std::string textIn(sqlite3_stmt* statement, int column)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    return text == nullptr ? std::string() : std::string(text);
}

// Whether an array cell has elements, and they are no texts: its header is a number for the type,
// 1 for texts, and one for the elements.
bool hasNumberElements(sqlite3_stmt* statement, int column)
{
    constexpr std::string_view kTexts{"\x01\0\0\0", 4};
    constexpr int kHeaderBytes = 8;
    const void* const cell = sqlite3_column_blob(statement, column);
    return sqlite3_column_bytes(statement, column) > kHeaderBytes &&
           std::memcmp(cell, kTexts.data(), kTexts.size()) != 0;
}

void note(sqlite3_stmt* statement, int index, Column& column)
{
    switch (sqlite3_column_type(statement, index)) {
    case SQLITE_FLOAT:
        column.hasReals = true;
        break;
    case SQLITE_INTEGER:
        column.hasNumbers = true;
        break;
    case SQLITE_BLOB:
        column.hasNumbers = column.hasNumbers || hasNumberElements(statement, index);
        break;
    default: // texts and nulls
        break;
    }
}

} // namespace

CacheReader::CacheReader(const std::string& path, int busyMs) : mConnection(nullptr, sqlite3_close)
{
    sqlite3* connection = nullptr;
    const int rc = sqlite3_open_v2(path.c_str(), &connection, SQLITE_OPEN_READONLY, nullptr);
    mConnection.reset(connection);
    if (rc != SQLITE_OK) {
        mOpenProblem = connection == nullptr ? sqlite3_errstr(rc) : sqlite3_errmsg(connection);
        return;
    }
    (void)sqlite3_busy_timeout(connection, busyMs);
}

std::string CacheReader::problem() const
{
    return mOpenProblem.empty() ? problemOf("select count(*) from sqlite_master") : mOpenProblem;
}

std::string CacheReader::problemOf(const std::string& sql) const
{
    const Statement statement = prepare(mConnection.get(), sql);
    return statement == nullptr ? sqlite3_errmsg(mConnection.get()) : "";
}

std::vector<Column> CacheReader::columnsOf(const std::string& sql) const
{
    const Statement statement = prepare(mConnection.get(), sql);
    std::vector<Column> columns(static_cast<size_t>(sqlite3_column_count(statement.get())));
    for (size_t i = 0; i < columns.size(); ++i) {
        columns[i].name = sqlite3_column_name(statement.get(), static_cast<int>(i));
    }
    while (statement != nullptr && sqlite3_step(statement.get()) == SQLITE_ROW) {
        for (size_t i = 0; i < columns.size(); ++i) {
            note(statement.get(), static_cast<int>(i), columns[i]);
        }
    }
    return columns;
}

std::vector<std::vector<std::string>> CacheReader::rowsOf(const std::string& sql) const
{
    std::vector<std::vector<std::string>> rows;
    const Statement statement = prepare(mConnection.get(), sql);
    const int columns = sqlite3_column_count(statement.get());
    while (statement != nullptr && sqlite3_step(statement.get()) == SQLITE_ROW) {
        std::vector<std::string>& row = rows.emplace_back();
        for (int column = 0; column < columns; ++column) {
            row.push_back(textIn(statement.get(), column));
        }
    }
    return rows;
}

} // namespace host::check
