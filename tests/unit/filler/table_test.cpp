#include "TempDirectory.h"
#include "table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using filler::Cell;
using filler::Database;
using filler::TableRefresh;
using filler::Transaction;
using testing::ElementsAre;

Cell number(int64_t value)
{
    return {Cell::Kind::Integer, value, ""};
}

Cell text(const std::string& value)
{
    return {Cell::Kind::Text, 0, value};
}

Cell blob(const std::string& value)
{
    return {Cell::Kind::Blob, 0, value};
}

using Row = std::vector<Cell>;

class FillerTable : public testing::Test
{
protected:
    FillerTable() : mDatabase(mDirectory.File("cache.db"))
    {
        mDatabase.run("CREATE TABLE T (k, v)");
        mDatabase.run("CREATE UNIQUE INDEX I ON T (k)");
    }

    // Rows that were written.
    size_t refresh(const std::vector<Row>& rows)
    {
        Transaction transaction(mDatabase);
        TableRefresh table(mDatabase, "T", {"k", "v"}, {0});
        for (const Row& row : rows) {
            EXPECT_TRUE(table.put(row));
        }
        table.removeOthers();
        transaction.commit();
        EXPECT_EQ(table.rows(), static_cast<int64_t>(rows.size()));
        return table.changed();
    }

    std::vector<std::string> content()
    {
        return mDatabase.listOf("SELECT rowid || ' ' || k || ' ' || coalesce(typeof(v) || ' ' || "
                                "hex(v), '') FROM T ORDER BY rowid");
    }

    support::TempDirectory mDirectory;
    Database mDatabase;
};

TEST_F(FillerTable, RowsThatStayKeepTheirNumbersWhileOthersComeChangeAndGo)
{
    EXPECT_EQ(refresh({{text("a"), number(1)}, {text("b"), number(2)}, {text("c"), number(3)}}),
              3U);
    EXPECT_EQ(refresh({{text("d"), number(4)}, {text("c"), number(33)}, {text("a"), number(1)}}),
              3U);
    EXPECT_THAT(content(), ElementsAre("1 a integer 31", "3 c integer 3333", "4 d integer 34"));
}

TEST_F(FillerTable, SameRowsAreNotWritten)
{
    const std::vector<Row> rows = {{text("a"), {}},
                                   {text("b"), number(-5)},
                                   {text("c"), text("5")},
                                   {text("d"), text("")},
                                   {text("e"), blob(std::string("\0x", 2))},
                                   {number(7), blob("")}};
    EXPECT_EQ(refresh(rows), rows.size());
    const int64_t before = mDatabase.integerOf("PRAGMA data_version");
    const int64_t changes = sqlite3_total_changes(mDatabase.handle());
    EXPECT_EQ(refresh(rows), 0U);
    EXPECT_EQ(sqlite3_total_changes(mDatabase.handle()), changes);
    EXPECT_EQ(mDatabase.integerOf("PRAGMA data_version"), before);
}

TEST_F(FillerTable, CellsOfOneTextAndOfDifferentTypesAreDifferent)
{
    refresh({{text("a"), number(5)}, {text("b"), text("x")}, {text("c"), {}}});
    EXPECT_EQ(refresh({{text("a"), text("5")}, {text("b"), blob("x")}, {text("c"), text("")}}), 3U);
    EXPECT_THAT(content(), ElementsAre("1 a text 35", "2 b blob 78", "3 c text "));
}

TEST_F(FillerTable, SecondRowOfOneKeyIsRefused)
{
    Transaction transaction(mDatabase);
    TableRefresh table(mDatabase, "T", {"k", "v"}, {0});
    EXPECT_TRUE(table.put({text("a"), number(1)}));
    EXPECT_FALSE(table.put({text("a"), number(2)}));
    EXPECT_TRUE(table.put({text("A"), number(3)}));
    table.removeOthers();
    transaction.commit();
    EXPECT_THAT(content(), ElementsAre("1 a integer 31", "2 A integer 33"));
    EXPECT_EQ(table.rows(), 2);
}

TEST_F(FillerTable, NamesAreTakenAsTheyAre)
{
    mDatabase.run(R"(CREATE TABLE "Or""der" ("se lect"))");
    Transaction transaction(mDatabase);
    TableRefresh table(mDatabase, "Or\"der", {"se lect"}, {0});
    EXPECT_TRUE(table.put({text("x")}));
    EXPECT_EQ(mDatabase.textOf(R"(SELECT "se lect" FROM "Or""der")"), "x");
}

TEST_F(FillerTable, WhatIsNotCommittedIsGone)
{
    refresh({{text("a"), number(1)}});
    {
        const Transaction transaction(mDatabase);
        TableRefresh table(mDatabase, "T", {"k", "v"}, {0});
        EXPECT_TRUE(table.put({text("b"), number(2)}));
        table.removeOthers();
    }
    EXPECT_THAT(content(), ElementsAre("1 a integer 31"));
}

TEST_F(FillerTable, FailureHasSqlitesWords)
{
    try {
        mDatabase.run("SELECT * FROM None");
        FAIL();
    } catch (const filler::DatabaseError& error) {
        EXPECT_STREQ(error.what(), "no such table: None");
        EXPECT_EQ(error.code(), SQLITE_ERROR);
    }
}

} // namespace
