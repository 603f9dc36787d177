// One table of the data cache, brought to what the object manager has: rows that are the same stay
// untouched, so that a refresh without changes writes nothing, and those that stay keep their
// number, by which readers page.
#ifndef FILLER_TABLE_H_
#define FILLER_TABLE_H_

#include "database.h"

#include <string>
#include <unordered_set>
#include <vector>

namespace filler {

class TableRefresh
{
public:
    // Columns of the rows that will be put; identity: the places of those that tell rows apart.
    // Both must exist, and a transaction be open until all is done.
    TableRefresh(Database& database, const std::string& table,
                 const std::vector<std::string>& columns, std::vector<size_t> identity);

    // Writes what differs. Returns false, and does nothing, for a row that was put before.
    bool put(const std::vector<Cell>& row);
    // Removes the rows that were not put.
    void removeOthers();

    int64_t rows() const { return mRows; }
    size_t changed() const { return mChanged; }

private:
    bool isSame(const std::vector<Cell>& row) const;
    void insert(const std::vector<Cell>& row);
    void update(const std::vector<Cell>& row, int64_t number);
    void bindRow(Statement& statement, const std::vector<Cell>& row);

    Database& mDatabase;
    std::string mTable;
    std::vector<size_t> mIdentity;
    Statement mFind;
    Statement mInsert;
    Statement mUpdate;
    std::unordered_set<int64_t> mSeen; // numbers of rows
    int64_t mRows = 0;
    size_t mChanged = 0;
};

} // namespace filler

#endif
