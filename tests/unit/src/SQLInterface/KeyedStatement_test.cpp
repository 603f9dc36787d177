#include "Answer.h"
#include "LibraryTest.h"

#include <sqlite3.h>

#include <string>

namespace {

using support::openStatements;
using support::Request;

constexpr const char* kKeyedMapping = R"({
    "VexoFan": {"@odata.id": "/r/VexoFan", "UniqueSelector": "Key",
                "mappings": {"XCIM_Fan": {"properties": {"Key": {}, "Name": {}}}}}
})";
constexpr const char* kFans = "create table Tbl_XCIM_Fan (Key, Name); "
                              "insert into Tbl_XCIM_Fan values ('1', 'First'), ('2', 'Second')";

class StatementsThatStay : public support::LibraryTest
{
protected:
    StatementsThatStay() { mMapping.Write(kKeyedMapping); }

    void SetUp() override { openCache(kFans); }

    void TearDown() override
    {
        SQLInterface::KeepStatements(std::nullopt);
        LibraryTest::TearDown();
    }

    static Json::Value nameOfFan(const std::string& key)
    {
        Request request("/r/VexoFan/" + key);
        const support::Answer answer =
            answerOf(request, [](ResourceMapper& mapper, Json::Value& body) {
                return mapper.GetInstance(body, true);
            });
        EXPECT_EQ(answer.result, RM_OK);
        return answer.body["Name"];
    }

    static int countOf(const std::string& tail, unsigned int& count)
    {
        return SQLInterface().GetInstanceCount(tail, &count);
    }
};

TEST_F(StatementsThatStay, ServeOtherKeys)
{
    SQLInterface::KeepStatements(1);
    EXPECT_EQ(nameOfFan("1"), "First");
    EXPECT_EQ(openStatements(), 1);
    EXPECT_EQ(nameOfFan("2"), "Second");
    EXPECT_EQ(nameOfFan("1"), "First");
    EXPECT_EQ(openStatements(), 1);
}

TEST_F(StatementsThatStay, HoldNoLock)
{
    SQLInterface::KeepStatements(1);
    EXPECT_EQ(nameOfFan("1"), "First");
    mCache.Run("update Tbl_XCIM_Fan set Name = 'Third'");
    EXPECT_EQ(nameOfFan("1"), "Third");
}

TEST_F(StatementsThatStay, GoWithTheSchemaThatTheyFit)
{
    SQLInterface::KeepStatements(1);
    EXPECT_EQ(nameOfFan("1"), "First");
    SQLInterface::KeepStatements(1);
    EXPECT_EQ(openStatements(), 1);
    SQLInterface::KeepStatements(2);
    EXPECT_EQ(openStatements(), 0);
}

TEST_F(StatementsThatStay, AreNoneWhereTheSchemaIsUnknown)
{
    SQLInterface::KeepStatements(1);
    EXPECT_EQ(nameOfFan("1"), "First");
    SQLInterface::KeepStatements(std::nullopt);
    EXPECT_EQ(openStatements(), 0);
    EXPECT_EQ(nameOfFan("2"), "Second");
    EXPECT_EQ(openStatements(), 0);
}

TEST_F(StatementsThatStay, GoWithTheConnectionThatTheyAreOf)
{
    SQLInterface::KeepStatements(1);
    EXPECT_EQ(nameOfFan("1"), "First");
    sqlite3* const former = dbhandle;
    ASSERT_EQ(LoadDatabase(), 0);
    SQLInterface::KeepStatements(1);
    EXPECT_EQ(sqlite3_close(former), SQLITE_OK);
    EXPECT_EQ(nameOfFan("2"), "Second");
}

TEST_F(StatementsThatStay, AreNotThoseThatFailed)
{
    SQLInterface::KeepStatements(1);
    unsigned int count = 0;
    EXPECT_EQ(countOf("Tbl_XCIM_Fan where abs(-9223372036854775807 - rowid)", count), SQLITE_ERROR);
    EXPECT_EQ(openStatements(), 0);
    EXPECT_EQ(countOf("Tbl_XCIM_Fan where Nobody = 1", count), SQLITE_MISUSE);
    EXPECT_EQ(openStatements(), 0);
}

TEST_F(StatementsThatStay, AreAtMostSixteenThatWereUsedLast)
{
    SQLInterface::KeepStatements(1);
    unsigned int count = 0;
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(nameOfFan("1"), "First"); // one of its statements is used again and again
        EXPECT_EQ(countOf("Tbl_XCIM_Fan where rowid > " + std::to_string(i), count), 0);
        EXPECT_EQ(count, i == 0 ? 2U : i == 1 ? 1U : 0U);
    }
    EXPECT_EQ(openStatements(), 16);
    const support::StatementTrace trace;
    EXPECT_EQ(nameOfFan("2"), "Second");
    EXPECT_EQ(openStatements(), 16);
    EXPECT_EQ(trace.Texts().size(), 1U);
}

} // namespace
