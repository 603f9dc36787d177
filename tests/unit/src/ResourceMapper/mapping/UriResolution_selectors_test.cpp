#include "LibraryTest.h"

namespace {

using support::IsJson;
using support::json;
using support::logged;
using support::loggedFrom;
using support::Request;

class Selectors : public support::LibraryTest
{
protected:
    // The selector set that a text gives.
    static Json::Value parsed(const std::string& text)
    {
        Request request("/");
        EXPECT_EQ(request.mapper.parseSelectors(text), 0);
        return request.mapper.mSelectorSet;
    }
};

TEST_F(Selectors, AreNameAndValueJoinedByCommas)
{
    EXPECT_THAT(parsed("InstanceID=Sys.1,Name=Foo"),
                IsJson(R"({"InstanceID": "Sys.1", "Name": "Foo"})"));
    EXPECT_TRUE(logged(3, "KeyName(InstanceID) Value(Sys.1)"));
    EXPECT_TRUE(logged(3, "KeyName(Name) Value(Foo)"));
    EXPECT_TRUE(loggedFrom(3, "parseSelectors", "Entering"));
}

TEST_F(Selectors, ValueBeginsAfterTheFirstEqualsSign)
{
    EXPECT_THAT(parsed("A=x=y"), IsJson(R"({"A": "x=y"})"));
    EXPECT_THAT(parsed("A=,=B"), IsJson(R"({"": "B", "A": ""})"));
}

TEST_F(Selectors, LastValueOfANameCounts)
{
    EXPECT_THAT(parsed("A=1,A=2"), IsJson(R"({"A": "2"})"));
}

TEST_F(Selectors, EmptyTextAborts)
{
    Request request("/");
    EXPECT_ABORTS("!s.empty()", (void)request.mapper.parseSelectors(""));
}

TEST_F(Selectors, ItemWithoutEqualsSignAborts)
{
    for (const char* text : {"A", "A=1,B", "A=1,", ","}) {
        Request request("/");
        EXPECT_ABORTS("eq_pos != std::string::npos", (void)request.mapper.parseSelectors(text));
    }
}

TEST_F(Selectors, OnTheMessageQueueTheTextIsTheOneKey)
{
    Request request("/", true);
    request.mapper.mCimClass = "C";
    request.mapper.mResourceObj = json(R"({"mappings": {"C": {"key_properties": ["Id"]}}})");
    EXPECT_EQ(request.mapper.parseSelectors("A=1,B=2"), 0);
    EXPECT_THAT(request.mapper.mSelectorSet, IsJson(R"({"Id": "A=1,B=2"})"));
    EXPECT_TRUE(logged(3, "Parsing ID = A=1,B=2"));
}

TEST_F(Selectors, OnTheMessageQueueAnyOtherNumberOfKeysAborts)
{
    for (const char* keys : {"[]", R"(["A", "B"])", "null"}) {
        Request request("/", true);
        request.mapper.mCimClass = "C";
        request.mapper.mResourceObj =
            json(std::string(R"({"mappings": {"C": {"key_properties": )") + keys + "}}}");
        EXPECT_ABORTS("mResourceObj[MAPPINGS_KEY][mCimClass][KEYPROPERTIES_KEY].size() == 1",
                      (void)request.mapper.parseSelectors("A"));
    }
}

TEST_F(Selectors, OnTheMessageQueueAnEmptyTextAborts)
{
    Request request("/", true);
    EXPECT_ABORTS("!s.empty()", (void)request.mapper.parseSelectors(""));
}

} // namespace
