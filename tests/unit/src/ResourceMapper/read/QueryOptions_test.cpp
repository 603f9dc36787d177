#include "LibraryTest.h"

namespace {

using support::IsJson;
using support::json;
using support::logged;
using support::loggedAnywhere;
using support::Request;

class QueryOptions : public support::LibraryTest
{
protected:
    // The items of the request's "$select".
    static Json::Value selectList(const std::string& query)
    {
        Request request("/r/X?" + query);
        Json::Value list;
        EXPECT_EQ(request.mapper.isQueryOptionPresent(OL_OPTION_SELECT, list), RM_OK);
        return list;
    }
};

TEST_F(QueryOptions, AbsentNumberIsZero)
{
    const Request request("/r/X?$select=top");
    unsigned long value = 7;
    EXPECT_FALSE(request.mapper.isQueryOptionPresent(OL_OPTION_TOP, value));
    EXPECT_EQ(value, 0U);
}

TEST_F(QueryOptions, NumbersAreReadByTheirOption)
{
    const Request request("/r/X?$top=70&$skip=0");
    unsigned long value = 7;
    EXPECT_TRUE(request.mapper.isQueryOptionPresent(OL_OPTION_TOP, value));
    EXPECT_EQ(value, 70U);
    EXPECT_TRUE(request.mapper.isQueryOptionPresent(OL_OPTION_SKIP, value));
    EXPECT_EQ(value, 0U);
}

TEST_F(QueryOptions, NumberThatCannotBeReadIsTheLargest)
{
    for (const char* query : {"$top=abc", "$top=-1", "$top=4294967296", "$top="}) {
        const Request request(std::string("/r/X?") + query);
        unsigned long value = 7;
        EXPECT_TRUE(request.mapper.isQueryOptionPresent(OL_OPTION_TOP, value)) << query;
        EXPECT_EQ(value, 4294967295U) << query;
    }
}

TEST_F(QueryOptions, SelectIsSplitAtCommas)
{
    EXPECT_THAT(selectList("$select=Name"), IsJson(R"(["Name"])"));
    EXPECT_THAT(selectList("$select=Name,Links/A,*"), IsJson(R"(["Name", "Links/A", "*"])"));
    EXPECT_THAT(selectList("$select=+Name+,++Id"), IsJson(R"(["Name", "Id"])"));
    EXPECT_THAT(selectList("$select=a,,b"), IsJson(R"(["a", "", "b"])"));
    EXPECT_THAT(selectList("$select=a,"), IsJson(R"(["a", ""])"));
    EXPECT_THAT(selectList("$select=,"), IsJson(R"(["", ""])"));
    EXPECT_THAT(selectList("$select=%20a%20%2Cb"), IsJson(R"([" a ", "b"])"));
}

TEST_F(QueryOptions, SelectIsLogged)
{
    (void)selectList("$select=+Name,Id");
    EXPECT_TRUE(loggedAnywhere("Select query: QParam (+Name,Id) ,  QParamLen (8)"));
}

TEST_F(QueryOptions, SelectIsAppendedToTheList)
{
    Request request("/r/X?$select=b,c");
    Json::Value list = json(R"(["a"])");
    EXPECT_EQ(request.mapper.isQueryOptionPresent(OL_OPTION_SELECT, list), RM_OK);
    EXPECT_THAT(list, IsJson(R"(["a", "b", "c"])"));
}

TEST_F(QueryOptions, SelectOf255BytesIsAccepted)
{
    EXPECT_EQ(selectList("$select=" + std::string(255, 'a'))[0].asString(), std::string(255, 'a'));
}

TEST_F(QueryOptions, SelectOf256BytesIsRefused)
{
    Request request("/r/X?$select=" + std::string(256, 'a'));
    Json::Value list;
    EXPECT_EQ(request.mapper.isQueryOptionPresent(OL_OPTION_SELECT, list), RM_INTERNAL_ERROR);
    EXPECT_TRUE(logged(1, "Exceeded Length 256"));
    EXPECT_TRUE(list.isNull());
    EXPECT_TRUE(request.mapper.mErrorArgs.empty());
}

TEST_F(QueryOptions, EmptySelectIsRefused)
{
    for (const char* url : {"/r/X?$select=", "/r/X?$select"}) {
        Request request(url);
        Json::Value list;
        EXPECT_EQ(request.mapper.isQueryOptionPresent(OL_OPTION_SELECT, list), RM_INTERNAL_ERROR);
        EXPECT_TRUE(logged(1, "Exceeded Length 0"));
    }
}

TEST_F(QueryOptions, SelectOfBlanksOnlyIsOneEmptyItem)
{
    EXPECT_THAT(selectList("$select=+++"), IsJson(R"([""])"));
}

TEST_F(QueryOptions, NoOptionLeavesTheList)
{
    Request request("/r/X?$top=1");
    Json::Value list = json(R"(["a"])");
    EXPECT_EQ(request.mapper.isQueryOptionPresent(OL_OPTION_SELECT, list), RM_OK);
    EXPECT_THAT(list, IsJson(R"(["a"])"));
}

TEST_F(QueryOptions, ExpandIsNotSupported)
{
    for (const char* query : {"$expand=*", "$filter=x&$expand=y", "$expand=y&$filter=x"}) {
        Request request(std::string("/r/X?") + query);
        Json::Value list;
        EXPECT_EQ(request.mapper.isQueryOptionPresent(OL_OPTION_SELECT, list),
                  RM_QUERY_NOT_SUPPORTED);
        EXPECT_TRUE(logged(1, "Expand query not supported"));
        EXPECT_THAT(request.mapper.mErrorArgs, IsJson(R"({"p1": "Expand"})"));
    }
}

TEST_F(QueryOptions, FilterIsNotSupported)
{
    Request request("/r/X?$filter=x");
    Json::Value list;
    EXPECT_EQ(request.mapper.isQueryOptionPresent(OL_OPTION_SELECT, list), RM_QUERY_NOT_SUPPORTED);
    EXPECT_TRUE(logged(1, "Filter query not supported"));
    EXPECT_THAT(request.mapper.mErrorArgs, IsJson(R"({"p1": "Filter"})"));
}

TEST_F(QueryOptions, SelectHidesExpandAndFilter)
{
    EXPECT_THAT(selectList("$select=Name&$expand=*"), IsJson(R"(["Name"])"));
    EXPECT_THAT(selectList("$filter=x&$select=Name"), IsJson(R"(["Name"])"));
}

TEST_F(QueryOptions, EncodedBlanksAreTrimmedAtBothEnds)
{
    const std::pair<const char*, const char*> cases[] = {
        {"Name", "Name"}, {"+Name", "Name"}, {"Name++", "Name"}, {"++a+b+", "a+b"},
        {"+", ""},        {"++++", ""},      {"", ""},           {" +a+ ", " +a+ "}};
    Request request("/r/X");
    for (const auto& [text, trimmed] : cases) {
        EXPECT_EQ(request.mapper.TrimWhiteSpace(text), trimmed) << text;
    }
}

} // namespace
