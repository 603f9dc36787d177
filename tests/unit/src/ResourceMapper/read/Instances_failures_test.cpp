// Reads of single instances that fail on the way: what cannot be read is no instance.
#include "Answer.h"
#include "LibraryTest.h"

#include <sqlite3.h>

#include <fstream>
#include <iterator>
#include <memory>

namespace {

using support::Answer;
using support::IsJson;
using support::loggedFrom;
using support::Request;

constexpr std::size_t kPageBytes = 4096;

class UnreadableInstance : public support::LibraryTest
{
protected:
    UnreadableInstance()
    {
        mMapping.Write(R"({"VexoBox": {"@odata.id": "/r/VexoBox", "UniqueSelector": "Key",
            "mappings": {"XCIM_Box": {"properties": {"Size": {"cim_type": "uint32"}}}}}})");
    }

    void SetUp() override
    {
        openCache("create table Tbl_XCIM_Box (Key, Size, Filler);"
                  "with recursive number (n) as (select 1 union all select n + 1 from number "
                  "where n < 300) insert into Tbl_XCIM_Box "
                  "select 'Box.' || n, n, hex(zeroblob(100)) from number");
    }

    static Answer get(const std::string& key)
    {
        Request request("/r/VexoBox/" + key);
        return answerOf(request, [](ResourceMapper& mapper, Json::Value& body) {
            return mapper.GetInstance(body, true);
        });
    }

    // Makes the page with a text in it one that SQLite cannot read.
    void damagePageWith(const std::string& text) const
    {
        std::ifstream in(mCache.Path(), std::ios::binary);
        std::string content(std::istreambuf_iterator<char>(in), {});
        const std::size_t at = content.find(text);
        ASSERT_NE(at, std::string::npos);
        content.replace(at / kPageBytes * kPageBytes, kPageBytes, kPageBytes, '\xff');
        std::ofstream(mCache.Path(), std::ios::binary) << content;
        ASSERT_EQ(mCache.Open(), 0);
    }

    static void expectNoInstance(const std::string& key)
    {
        const Answer answer = get(key);
        EXPECT_EQ(answer.result, RM_INVALID_URI);
        EXPECT_TRUE(answer.body.isNull());
        EXPECT_THAT(answer.errorArgs, IsJson(R"({"p1": "VexoBox"})"));
        EXPECT_TRUE(loggedFrom(1, "SQLToJson", "Rows returned is = 0 for get instance request"));
        EXPECT_TRUE(loggedFrom(1, "GetInstance", "SQL query on get instance returned 0 rows"));
    }
};

TEST_F(UnreadableInstance, OnADamagedPageIsNone)
{
    damagePageWith("Box.150");
    EXPECT_EQ(get("Box.1").result, RM_OK);
    expectNoInstance("Box.150");
}

TEST_F(UnreadableInstance, BehindADamagedPageIsNoneWhetherOrNotThereIsOne)
{
    damagePageWith("Box.150");
    expectNoInstance("Box.300");
    expectNoInstance("Box.301");
}

TEST_F(UnreadableInstance, BehindALockThatLastsTooLongIsNone)
{
    ASSERT_EQ(get("Box.1").result, RM_OK); // the tables' layout is known
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(mCache.Path().c_str(), &handle), SQLITE_OK);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> writer(handle, sqlite3_close);
    ASSERT_EQ(sqlite3_exec(handle, "begin exclusive", nullptr, nullptr, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_busy_timeout(dbhandle, 1), SQLITE_OK);
    expectNoInstance("Box.1");
    ASSERT_EQ(sqlite3_exec(handle, "commit", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(get("Box.1").result, RM_OK);
}

TEST_F(UnreadableInstance, OfAStatementThatThereIsNotIsNone)
{
    Json::Value out = support::json(R"({"old": 1})");
    EXPECT_EQ(SQLInterface().SQLToJson(nullptr, out, Json::Value(), "XCIM_Box", false), 1);
    EXPECT_THAT(out, IsJson(R"({"old": 1})"));
}

} // namespace
