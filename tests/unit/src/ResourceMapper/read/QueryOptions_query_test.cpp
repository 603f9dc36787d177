#include "LibraryTest.h"

namespace {

using support::json;
using support::loggedFrom;
using support::Request;

class SelectQuery : public support::LibraryTest
{
protected:
    SelectQuery() : mRequest("/r/X")
    {
        mRequest.mapper.mResourceObj = json(R"({"UniqueSelector": "InstanceID", "mappings": {
            "XCIM_Box": {"properties": {"Name": {}, "Id": {}}}, "XCIM_Bare": {}}})");
    }

    std::string query(unsigned long limit, unsigned long offset, const std::string& key,
                      const std::string& extraClause) const
    {
        return mRequest.mapper.GetSelectQuery("XCIM_Box", limit, offset, key, extraClause);
    }

    Request mRequest;
};

constexpr const char* kColumns = "select Id,Name,InstanceID from Tbl_XCIM_Box";

TEST_F(SelectQuery, ColumnsAreThePropertiesAndTheKey)
{
    EXPECT_EQ(query(0, 0, "", ""), kColumns);
    EXPECT_TRUE(loggedFrom(3, "GetSelectQuery", "Entering"));
    EXPECT_TRUE(loggedFrom(3, "GetSelectQuery", "Leaving"));
}

TEST_F(SelectQuery, MappedKeyIsListedTwice)
{
    mRequest.mapper.mResourceObj["UniqueSelector"] = "Name";
    EXPECT_EQ(query(0, 0, "", ""), "select Id,Name,Name from Tbl_XCIM_Box");
}

TEST_F(SelectQuery, ResourceWithoutKeyListsItsProperties)
{
    mRequest.mapper.mResourceObj.removeMember("UniqueSelector");
    EXPECT_EQ(query(0, 0, "", ""), "select Id,Name from Tbl_XCIM_Box");
}

TEST_F(SelectQuery, NoColumnsGiveNoQuery)
{
    mRequest.mapper.mResourceObj.removeMember("UniqueSelector");
    EXPECT_EQ(mRequest.mapper.GetSelectQuery("XCIM_Bare", 0, 0, "", ""), "");
    EXPECT_EQ(mRequest.mapper.GetSelectQuery("XCIM_Other", 0, 0, "", ""), "");
}

TEST_F(SelectQuery, KeyAloneIsAColumn)
{
    EXPECT_EQ(mRequest.mapper.GetSelectQuery("XCIM_Bare", 0, 0, "", ""),
              "select InstanceID from Tbl_XCIM_Bare");
}

TEST_F(SelectQuery, LimitAndOffsetArePrintedWhenNotZero)
{
    EXPECT_EQ(query(50, 0, "", ""), std::string(kColumns) + " LIMIT 50");
    EXPECT_EQ(query(50, 10, "", ""), std::string(kColumns) + " LIMIT 50 OFFSET 10");
    EXPECT_EQ(query(0, 5, "", ""), std::string(kColumns) + " OFFSET 5");
    EXPECT_EQ(query(4294967295UL, 4294967294UL, "", ""),
              std::string(kColumns) + " LIMIT 4294967295 OFFSET 4294967294");
}

TEST_F(SelectQuery, LimitExcludesKeyAndClause)
{
    EXPECT_EQ(query(1, 0, "key", " where a = 1"), std::string(kColumns) + " LIMIT 1");
    EXPECT_EQ(query(0, 1, "key", " where a = 1"), std::string(kColumns) + " OFFSET 1");
}

TEST_F(SelectQuery, KeyIsLeftToBeBound)
{
    EXPECT_EQ(query(0, 0, "it's", ""), std::string(kColumns) + " where InstanceID = ?");
}

TEST_F(SelectQuery, KeyExcludesTheClause)
{
    EXPECT_EQ(query(0, 0, "key", " where a = 1"), std::string(kColumns) + " where InstanceID = ?");
}

TEST_F(SelectQuery, ClauseIsAppendedAsItIs)
{
    EXPECT_EQ(query(0, 0, "", "where a = 1"), std::string(kColumns) + "where a = 1");
    EXPECT_EQ(query(0, 0, "", " where a = 1"), std::string(kColumns) + " where a = 1");
}

} // namespace
