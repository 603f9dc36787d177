#include "LibraryTest.h"
#include "SQLInterface/DataCache.h"

#include <sqlite3.h>

#include <fstream>
#include <memory>

namespace {

using support::LogCapture;
using support::logged;
using support::loggedAnywhere;
using support::Request;
using support::StatementTrace;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Statement = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>;

class DataCache : public support::LibraryTest
{
protected:
    // A prepared statement and the result of preparing it.
    std::pair<int, Statement> prepare(const std::string& query, const std::string& bindValue)
    {
        sqlite3_stmt* handle = nullptr;
        const int result = mSql.GetPrepareStatement(query, &handle, bindValue);
        return {result, Statement(handle, sqlite3_finalize)};
    }

    SQLInterface mSql;
};

TEST_F(DataCache, NamesAreThoseOfTheWriter)
{
    EXPECT_EQ(Table_Prefix, "Tbl_");
    EXPECT_EQ(meta_table, "Tbl_CMPIReady");
    EXPECT_EQ(noCase, " COLLATE NOCASE");
    EXPECT_EQ(baseCountQuery, "select count(*) from ");
}

TEST_F(DataCache, IsOpenedReadOnly)
{
    mCache.Run("create table T (A)");
    EXPECT_EQ(mCache.Open(), 0);
    ASSERT_NE(dbhandle, nullptr);
    EXPECT_EQ(sqlite3_db_readonly(dbhandle, "main"), 1);
    EXPECT_EQ(sqlite3_exec(dbhandle, "insert into T values (1)", nullptr, nullptr, nullptr),
              SQLITE_READONLY);
}

TEST_F(DataCache, ReadersWaitTenSecondsForTheWriter)
{
    ASSERT_EQ(mCache.Open(), 0);
    const auto [result, statement] = prepare("pragma busy_timeout", "");
    ASSERT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(statement.get(), 0), 10000);
}

TEST_F(DataCache, FileThatCannotBeOpenedEndsTheProcess)
{
    EXPECT_EXIT(
        {
            LogCapture::MirrorToStderr();
            LoadDatabase();
        },
        ::testing::ExitedWithCode(1),
        ::testing::HasSubstr("1|DB status: 14, Can't open database: unable to open database file"));
}

TEST_F(DataCache, StatementIsPreparedForItsUser)
{
    ASSERT_EQ(mCache.Open(), 0);
    const auto [result, statement] = prepare("select ?, typeof(?1)", "it's");
    ASSERT_EQ(result, 0);
    ASSERT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0)), "it's");
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 1)), "text");
}

TEST_F(DataCache, EmptyValueIsNotBound)
{
    ASSERT_EQ(mCache.Open(), 0);
    const auto [result, statement] = prepare("select ?", "");
    ASSERT_EQ(result, 0);
    ASSERT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_type(statement.get(), 0), SQLITE_NULL);
}

TEST_F(DataCache, ValueWithoutParameterIsIgnored)
{
    ASSERT_EQ(mCache.Open(), 0);
    const auto [result, statement] = prepare("select 1", "value");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(sqlite3_step(statement.get()), SQLITE_ROW);
}

TEST_F(DataCache, StatementThatCannotBePreparedIsReported)
{
    ASSERT_EQ(mCache.Open(), 0);
    const auto [result, statement] = prepare("select * from Tbl_Missing", "");
    EXPECT_EQ(result, SQLITE_ERROR);
    EXPECT_EQ(statement, nullptr);
    EXPECT_TRUE(logged(1, "SQL error while preparing Query"));
}

TEST_F(DataCache, MissingPlaceForTheStatementIsReported)
{
    ASSERT_EQ(mCache.Open(), 0);
    EXPECT_EQ(mSql.GetPrepareStatement("select 1", nullptr, ""), 1);
    EXPECT_TRUE(logged(1, "SQL statement is NULL"));
}

TEST_F(DataCache, CountIsThatOfTheTable)
{
    openCache("create table Tbl_A (X); insert into Tbl_A values (1), (2), (3)");
    unsigned int count = 99;
    EXPECT_EQ(mSql.GetInstanceCount("Tbl_A", &count), 0);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(mSql.GetInstanceCount("Tbl_A where X > 1", &count), 0);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(mSql.GetInstanceCount("tbl_a", &count), 0);
    EXPECT_EQ(count, 3U);
}

TEST_F(DataCache, EmptyTableCountsZero)
{
    openCache("create table Tbl_A (X)");
    unsigned int count = 99;
    EXPECT_EQ(mSql.GetInstanceCount("Tbl_A", &count), 0);
    EXPECT_EQ(count, 0U);
}

TEST_F(DataCache, CountWithoutARowIsZeroAndReported)
{
    openCache("create table Tbl_A (X)");
    unsigned int count = 99;
    EXPECT_EQ(mSql.GetInstanceCount("Tbl_A group by X", &count), SQLITE_DONE);
    EXPECT_EQ(count, 0U);
    EXPECT_TRUE(loggedAnywhere("Got empty result"));
}

TEST_F(DataCache, CountOfAMissingTableIsReported)
{
    ASSERT_EQ(mCache.Open(), 0);
    unsigned int count = 99;
    EXPECT_EQ(mSql.GetInstanceCount("Tbl_Missing", &count), SQLITE_MISUSE);
    EXPECT_EQ(count, 99U);
    EXPECT_TRUE(logged(1, "SQL error while preparing Query"));
    EXPECT_TRUE(logged(1, "Prepare statement failed"));
    EXPECT_TRUE(logged(1, "SQL Error while getting number of rows"));
}

TEST_F(DataCache, FileThatIsNoDatabaseIsReportedByItsFirstReader)
{
    std::ofstream(mCache.Path()) << std::string(4096, 'x');
    ASSERT_EQ(mCache.Open(), 0);
    EXPECT_EQ(prepare("select * from Tbl_A", "").first, SQLITE_NOTADB);
    unsigned int count = 99;
    EXPECT_NE(mSql.GetInstanceCount("Tbl_A", &count), 0);
    EXPECT_EQ(count, 99U);
}

class CacheReadiness : public DataCache
{
protected:
    CacheReadiness()
    {
        mMapping.Write(R"({
            "VexoFoo": {"@odata.id": "/r/VexoFoo",
                        "mappings": {"XCIM_Foo": {"is_cached": true}}},
            "VexoBar": {"@odata.id": "/r/VexoBar",
                        "mappings": {"XCIM_Bar": {"is_cached": false}}},
            "VexoBaz": {"@odata.id": "/r/VexoBaz", "mappings": {"XCIM_Baz": {}}}})");
    }

    static bool isCached(Request& request)
    {
        EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
        return request.mapper.IsCached();
    }
};

TEST_F(CacheReadiness, ClassWithARowIsReady)
{
    openCache("create table Tbl_CMPIReady (ClassName); "
              "insert into Tbl_CMPIReady values ('XCIM_Foo')");
    const StatementTrace trace;
    Request request("/r/VexoFoo");
    EXPECT_TRUE(isCached(request));
    EXPECT_EQ(request.scope.GetHeaderCount(), 0U);
    EXPECT_TRUE(loggedAnywhere("Entry present in meta table"));
    EXPECT_THAT(trace.Texts(), ElementsAre("select count(*) from Tbl_CMPIReady where ClassName = "
                                           "\"XCIM_Foo\" COLLATE NOCASE"));
}

TEST_F(CacheReadiness, CaseOfTheRowDoesNotMatter)
{
    openCache("create table Tbl_CMPIReady (ClassName); "
              "insert into Tbl_CMPIReady values ('xcim_fOO')");
    Request request("/r/VexoFoo");
    EXPECT_TRUE(isCached(request));
}

TEST_F(CacheReadiness, ClassWithoutARowIsToBeRetried)
{
    openCache("create table Tbl_CMPIReady (ClassName); "
              "insert into Tbl_CMPIReady values ('XCIM_Other'), (null)");
    Request request("/r/VexoFoo");
    EXPECT_FALSE(isCached(request));
    EXPECT_EQ(request.Header("Retry-After"), "5");
    EXPECT_TRUE(loggedAnywhere("Entry not present in meta table"));
}

TEST_F(CacheReadiness, MissingReadinessTableIsToBeRetried)
{
    ASSERT_EQ(mCache.Open(), 0);
    Request request("/r/VexoFoo");
    EXPECT_FALSE(isCached(request));
    EXPECT_EQ(request.Header("Retry-After"), "5");
    EXPECT_TRUE(loggedAnywhere("Entry not present in meta table"));
}

TEST_F(CacheReadiness, OnTheMessageQueueThereIsNoRetryHeader)
{
    openCache("create table Tbl_CMPIReady (ClassName)");
    Request request("/r/VexoFoo", true);
    EXPECT_FALSE(isCached(request));
    EXPECT_EQ(request.scope.GetHeaderCount(), 0U);
}

TEST_F(CacheReadiness, ClassThatIsNotCachedIsNotLookedUp)
{
    openCache("create table Tbl_CMPIReady (ClassName); "
              "insert into Tbl_CMPIReady values ('XCIM_Bar'), ('XCIM_Baz')");
    const StatementTrace trace;
    for (const char* url : {"/r/VexoBar", "/r/VexoBaz"}) {
        Request request(url);
        EXPECT_FALSE(isCached(request)) << url;
        EXPECT_EQ(request.scope.GetHeaderCount(), 0U) << url;
    }
    EXPECT_THAT(trace.Texts(), IsEmpty());
}

} // namespace
