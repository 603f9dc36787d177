#include "table.h"

#include <ResourceMapper/mapping/CacheNames.h>

namespace filler {

namespace {

using cimgate::mapping::quotedName;

std::string joined(const std::vector<std::string>& columns, const char* between,
                   const char* behind = "")
{
    std::string text;
    for (const std::string& column : columns) {
        text.append(text.empty() ? "" : between).append(quotedName(column)).append(behind);
    }
    return text;
}

// "IS" finds nulls too.
std::string findQuery(const std::string& table, const std::vector<std::string>& columns,
                      const std::vector<size_t>& identity)
{
    std::vector<std::string> names;
    names.reserve(identity.size());
    for (const size_t column : identity) {
        names.push_back(columns[column]);
    }
    return "SELECT rowid, " + joined(columns, ", ") + " FROM " + quotedName(table) + " WHERE " +
           joined(names, " AND ", " IS ?");
}

std::string insertQuery(const std::string& table, const std::vector<std::string>& columns)
{
    std::string marks;
    for (size_t i = 0; i < columns.size(); ++i) {
        marks += marks.empty() ? "?" : ", ?";
    }
    return "INSERT INTO " + quotedName(table) + " (" + joined(columns, ", ") + ") VALUES (" +
           marks + ")";
}

std::string updateQuery(const std::string& table, const std::vector<std::string>& columns)
{
    return "UPDATE " + quotedName(table) + " SET " + joined(columns, ", ", " = ?") +
           " WHERE rowid = ?";
}

} // namespace

TableRefresh::TableRefresh(Database& database, const std::string& table,
                           const std::vector<std::string>& columns, std::vector<size_t> identity)
    : mDatabase(database),
      mTable(quotedName(table)),
      mIdentity(std::move(identity)),
      mFind(database, findQuery(table, columns, mIdentity)),
      mInsert(database, insertQuery(table, columns)),
      mUpdate(database, updateQuery(table, columns))
{}

bool TableRefresh::put(const std::vector<Cell>& row)
{
    int parameter = 0;
    for (const size_t column : mIdentity) {
        mFind.bind(parameter++, row[column]);
    }
    const bool isKnown = mFind.step();
    const int64_t number = isKnown ? mFind.integerAt(0) : 0;
    const bool isChanged = isKnown && !isSame(row);
    mFind.reset();
    if (isKnown && !mSeen.insert(number).second) {
        return false;
    }
    if (!isKnown) {
        insert(row);
    } else if (isChanged) {
        update(row, number);
    }
    ++mRows;
    return true;
}

bool TableRefresh::isSame(const std::vector<Cell>& row) const
{
    for (size_t column = 0; column < row.size(); ++column) {
        if (!mFind.isCellAt(static_cast<int>(column) + 1, row[column])) {
            return false;
        }
    }
    return true;
}

void TableRefresh::bindRow(Statement& statement, const std::vector<Cell>& row)
{
    for (size_t column = 0; column < row.size(); ++column) {
        statement.bind(static_cast<int>(column), row[column]);
    }
}

void TableRefresh::insert(const std::vector<Cell>& row)
{
    bindRow(mInsert, row);
    mInsert.run();
    mSeen.insert(sqlite3_last_insert_rowid(mDatabase.handle()));
    ++mChanged;
}

void TableRefresh::update(const std::vector<Cell>& row, int64_t number)
{
    bindRow(mUpdate, row);
    mUpdate.bind(static_cast<int>(row.size()), number);
    mUpdate.run();
    ++mChanged;
}

void TableRefresh::removeOthers()
{
    if (mDatabase.integerOf("SELECT count(*) FROM " + mTable) == mRows) {
        return;
    }
    std::vector<int64_t> others;
    Statement all(mDatabase, "SELECT rowid FROM " + mTable);
    while (all.step()) {
        const int64_t number = all.integerAt(0);
        if (!mSeen.contains(number)) {
            others.push_back(number);
        }
    }
    Statement remove(mDatabase, "DELETE FROM " + mTable + " WHERE rowid = ?");
    for (const int64_t number : others) {
        remove.bind(0, number);
        remove.run();
        ++mChanged;
    }
}

} // namespace filler
