#include "Boxes.h"
#include "LibraryTest.h"

namespace {

using support::Answer;
using support::IsJson;
using support::logged;
using support::loggedAnywhere;
using support::loggedFrom;
using support::PageCase;
using support::Request;
using support::StatementTrace;
using ::testing::ElementsAre;

class Collection : public support::LibraryTest
{
protected:
    // Maps the boxes; "paged" and "topSkip" are the collection's flags.
    void map(bool paged, bool topSkip) const
    {
        mMapping.Write(support::compact(support::boxMapping(paged, topSkip)));
    }

    // A table of boxes; sizes are 0, 1, 2 and so on.
    void fill(int rows) const
    {
        openCache("create table Tbl_XCIM_Box (Key, Size); "
                  "with recursive n(i) as (select 0 union all select i + 1 from n limit " +
                  std::to_string(rows) + ") insert into Tbl_XCIM_Box select 'Box' || i, i from n" +
                  (rows == 0 ? " where 0" : ""));
    }

    static Answer get(Request& request)
    {
        return answerOf(request, [](ResourceMapper& mapper, Json::Value& body) {
            return mapper.GetCollection(body, true);
        });
    }

    static Answer get(const std::string& query)
    {
        Request request("/r/VexoBoxes" + query);
        return get(request);
    }
};

class CollectionPage : public Collection, public ::testing::WithParamInterface<PageCase>
{
protected:
    // Checks the page; the collection is mapped.
    void expectItsPage() const
    {
        fill(GetParam().boxes);
        expectPage(get(GetParam().query), GetParam());
    }
};

class PagedCollection : public CollectionPage
{};

TEST_P(PagedCollection, HasMembersCountAndNextLink)
{
    map(true, true);
    expectItsPage();
}

INSTANTIATE_TEST_SUITE_P(
    , PagedCollection,
    ::testing::Values(
        PageCase{0, "", 0, 0, nullptr}, PageCase{1, "", 0, 1, nullptr},
        PageCase{49, "", 0, 49, nullptr},
        // The link of a collection that fills its pages exactly leads to an empty one.
        PageCase{50, "", 0, 50, "/r/VexoBoxes?$skip=50"},
        PageCase{51, "", 0, 50, "/r/VexoBoxes?$skip=50"}, PageCase{51, "?$skip=50", 50, 1, nullptr},
        PageCase{120, "", 0, 50, "/r/VexoBoxes?$skip=50"},
        PageCase{120, "?$skip=50", 50, 50, "/r/VexoBoxes?$skip=100"},
        PageCase{120, "?$skip=100", 100, 20, nullptr},
        PageCase{120, "?$skip=70", 70, 50, "/r/VexoBoxes?$skip=120"},
        PageCase{120, "?$skip=71", 71, 49, nullptr}, PageCase{120, "?$skip=119", 119, 1, nullptr},
        PageCase{120, "?$skip=0", 0, 50, "/r/VexoBoxes?$skip=50"},
        PageCase{120, "?$top=1", 0, 1, nullptr}, PageCase{120, "?$top=49", 0, 49, nullptr},
        PageCase{120, "?$top=50", 0, 50, "/r/VexoBoxes?$skip=50&$top=0"},
        PageCase{120, "?$top=51", 0, 50, "/r/VexoBoxes?$skip=50&$top=1"},
        PageCase{120, "?$top=120", 0, 50, "/r/VexoBoxes?$skip=50&$top=70"},
        PageCase{120, "?$top=70&$skip=10", 10, 50, "/r/VexoBoxes?$skip=60&$top=20"},
        PageCase{120, "?$top=120&$skip=10", 10, 50, "/r/VexoBoxes?$skip=60&$top=60"},
        PageCase{120, "?$top=20&$skip=60", 60, 20, nullptr},
        PageCase{120, "?$top=50&$skip=119", 119, 1, nullptr},
        PageCase{120, "/?$top=60", 0, 50, "/r/VexoBoxes/?$skip=50&$top=10"}));

class PagedWithoutOptions : public CollectionPage
{};

TEST_P(PagedWithoutOptions, IgnoresTopAndSkip)
{
    map(true, false);
    expectItsPage();
}

INSTANTIATE_TEST_SUITE_P(, PagedWithoutOptions,
                         ::testing::Values(PageCase{120, "?$top=1&$skip=7", 0, 50,
                                                    "/r/VexoBoxes?$skip=50"},
                                           PageCase{49, "?$top=0&$skip=1000", 0, 49, nullptr},
                                           PageCase{0, "?$top=1", 0, 0, nullptr}));

class UnpagedWithOptions : public CollectionPage
{};

TEST_P(UnpagedWithOptions, HonoursTopAndSkipWithoutALink)
{
    map(false, true);
    expectItsPage();
}

INSTANTIATE_TEST_SUITE_P(, UnpagedWithOptions,
                         ::testing::Values(PageCase{120, "", 0, 120, nullptr},
                                           PageCase{120, "?$top=70&$skip=10", 10, 70, nullptr},
                                           PageCase{120, "?$skip=10", 10, 110, nullptr}));

class UnpagedCollection : public CollectionPage
{};

TEST_P(UnpagedCollection, ComesWhole)
{
    map(false, false);
    expectItsPage();
}

INSTANTIATE_TEST_SUITE_P(, UnpagedCollection,
                         ::testing::Values(PageCase{120, "?$top=1", 0, 120, nullptr},
                                           PageCase{50, "", 0, 50, nullptr}));

// An option that is out of range.
struct RangeCase
{
    int rows;
    const char* query;
    const char* value;
    const char* option;
    const char* range;
    const char* message;
};

void PrintTo(const RangeCase& range, std::ostream* stream)
{
    *stream << range.query << " of " << range.rows;
}

class OptionOutOfRange : public Collection, public ::testing::WithParamInterface<RangeCase>
{};

TEST_P(OptionOutOfRange, ReportsTheRange)
{
    map(true, true);
    fill(GetParam().rows);
    const Answer answer = get(GetParam().query);
    EXPECT_EQ(answer.result, RM_QUERY_PARAM_OUT_OF_RANGE);
    EXPECT_EQ(answer.errorArgs["p1"].asString(), GetParam().value);
    EXPECT_EQ(answer.errorArgs["p2"].asString(), GetParam().option);
    EXPECT_EQ(answer.errorArgs["p3"].asString(), GetParam().range);
    EXPECT_TRUE(logged(1, GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    , OptionOutOfRange,
    ::testing::Values(
        RangeCase{120, "?$top=0", "0", "$top", "(1-120)", "Invalid Top(0), max enum count(120)"},
        RangeCase{120, "?$top=121", "121", "$top", "(1-120)",
                  "Invalid Top(121), max enum count(120)"},
        RangeCase{120, "?$top=x", "4294967295", "$top", "(1-120)",
                  "Invalid Top(4294967295), max enum count(120)"},
        RangeCase{120, "?$skip=120", "120", "$skip", "(0-119)",
                  "Skip(120) exceeds enum count(120)"},
        RangeCase{120, "?$skip=-1", "4294967295", "$skip", "(0-119)",
                  "Skip(4294967295) exceeds enum count(120)"},
        RangeCase{120, "?$skip=500&$top=500", "500", "$top", "(1-120)",
                  "Invalid Top(500), max enum count(120)"},
        RangeCase{50, "?$skip=50", "50", "$skip", "(0-49)", "Skip(50) exceeds enum count(50)"},
        RangeCase{0, "?$top=1", "1", "$top", "(1-0)", "Invalid Top(1), max enum count(0)"},
        RangeCase{0, "?$skip=0", "0", "$skip", "(0-4294967295)", "Skip(0) exceeds enum count(0)"}));

TEST_F(Collection, BodyHasAnnotationsOfTheCollectionAndOfItsMembers)
{
    map(true, true);
    fill(1);
    Request request("/r/VexoBoxes");
    const Answer answer = get(request);
    ASSERT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.body, IsJson(R"({
        "@odata.context": "/ctx/Boxes", "@odata.id": "/r/VexoBoxes", "@odata.type": "#Boxes",
        "Description": "All boxes", "Id": "VexoBoxes",
        "Members": [{"@odata.context": "/ctx/Box", "@odata.id": "/r/VexoBox/Box0",
                     "@odata.type": "#Box", "Description": "One box", "Id": "Box0", "Name": "One",
                     "SizeMM": 0}],
        "Members@odata.count": 1, "Name": "All"})"));
    EXPECT_EQ(request.Header("Allow"), "GET");
    EXPECT_EQ(request.Header("Link"), "</boxes>");
}

TEST_F(Collection, OnTheMessageQueueNamesAndHeadersAreLeftOut)
{
    map(true, true);
    fill(1);
    Request request("/r/VexoBoxes", true);
    const Answer answer = get(request);
    ASSERT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.body, IsJson(R"({
        "@odata.context": "/ctx/Boxes", "@odata.id": "/r/VexoBoxes", "@odata.type": "#Boxes",
        "Members": [{"@odata.context": "/ctx/Box", "@odata.id": "/r/VexoBox/Box0",
                     "@odata.type": "#Box", "SizeMM": 0}],
        "Members@odata.count": 1})"));
    EXPECT_EQ(request.scope.GetHeaderCount(), 0U);
}

TEST_F(Collection, MappedKeyStaysInTheMembers)
{
    mMapping.Write(R"({
        "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "is_collection": true,
                      "mappings": {"VexoBox": {}}},
        "VexoBox": {"@odata.id": "/r/VexoBox", "UniqueSelector": "Key",
                    "mappings": {"XCIM_Box": {"properties": {"Key": {}}}}}})");
    fill(1);
    EXPECT_EQ(get("").body["Members"][0]["Key"].asString(), "Box0");
}

TEST_F(Collection, LinksAreThoseOfTheMembersAlone)
{
    mMapping.Write(R"({
        "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "is_collection": true,
                      "mappings": {"VexoBox": {}}},
        "VexoBox": {"@odata.id": "/r/VexoBox", "UniqueSelector": "Key",
                    "Links": {"ComputerSystem": {"@odata.id": "/r/System"}},
                    "mappings": {"XCIM_Box": {"properties": {"Key": {}}}}}})");
    fill(2);
    for (const char* query : {"", "?$select=*", "?$select=Members"}) {
        const Json::Value body = get(query).body;
        EXPECT_FALSE(body.isMember("Links")) << query;
        for (const Json::Value& member : body["Members"]) {
            EXPECT_THAT(member["Links"],
                        IsJson(R"({"ComputerSystem": {"@odata.id": "/r/System"}})"))
                << query;
        }
        EXPECT_EQ(body["Members"].size(), 2U);
    }
}

TEST_F(Collection, SelectNarrowsTheCollectionNotItsMembers)
{
    map(true, true);
    fill(60);
    const auto names = [](const std::string& select) {
        return get("?$select=" + select).body.getMemberNames();
    };
    EXPECT_THAT(names("Members"),
                ElementsAre("@odata.context", "@odata.id", "@odata.type", "Members"));
    EXPECT_THAT(
        names("Members@odata.count,Name"),
        ElementsAre("@odata.context", "@odata.id", "@odata.type", "Members@odata.count", "Name"));
    EXPECT_THAT(
        names("Members@odata.nextLink,Id"),
        ElementsAre("@odata.context", "@odata.id", "@odata.type", "Id", "Members@odata.nextLink"));
    EXPECT_THAT(names("Description"),
                ElementsAre("@odata.context", "@odata.id", "@odata.type", "Description"));
    EXPECT_EQ(get("?$select=Members").body["Members"][3]["SizeMM"].asInt(), 3);
}

TEST_F(Collection, StarSelectsEverything)
{
    map(true, true);
    fill(60);
    const Json::Value all = get("").body;
    EXPECT_EQ(get("?$select=*").body, all);
    EXPECT_EQ(get("?$select=Members,*").body, all);
}

TEST_F(Collection, UnknownSelectItemIsRefused)
{
    map(true, true);
    fill(1);
    for (const char* item : {"SizeMM", "Links", "Memberss"}) {
        const Answer answer = get(std::string("?$select=") + item);
        EXPECT_EQ(answer.result, RM_PROPERTY_UNKNOWN);
        EXPECT_EQ(answer.errorArgs["p1"].asString(), item);
    }
}

TEST_F(Collection, ExpandAndFilterNeedASelect)
{
    map(true, true);
    fill(1);
    const Answer expand = get("?$expand=*&$top=99");
    EXPECT_EQ(expand.result, RM_QUERY_NOT_SUPPORTED);
    EXPECT_EQ(expand.errorArgs["p1"].asString(), "Expand");
    const Answer filter = get("?$filter=a");
    EXPECT_EQ(filter.result, RM_QUERY_NOT_SUPPORTED);
    EXPECT_EQ(filter.errorArgs["p1"].asString(), "Filter");
    EXPECT_EQ(get("?$expand=*&$select=Members").result, RM_OK);
}

TEST_F(Collection, SelectThatCannotBeReadIsAnInternalError)
{
    map(true, true);
    fill(1);
    EXPECT_EQ(get("?$top=99&$select=" + std::string(256, 'a')).result, RM_INTERNAL_ERROR);
    EXPECT_EQ(get("?$select=").result, RM_INTERNAL_ERROR);
}

TEST_F(Collection, MissingTableIsAnInternalError)
{
    map(true, true);
    openCache("create table Tbl_Other (Key)");
    const Answer answer = get("?$expand=*");
    EXPECT_EQ(answer.result, RM_INTERNAL_ERROR);
    EXPECT_TRUE(logged(1, "Datbase table is not found"));
    EXPECT_TRUE(answer.errorArgs.empty());
}

TEST_F(Collection, ClassWithoutPropertiesIsAnInternalError)
{
    mMapping.Write(R"({
        "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "is_collection": true,
                      "mappings": {"VexoBox": {}}},
        "VexoBox": {"@odata.id": "/r/VexoBox", "mappings": {"XCIM_Box": {"properties": {}}}}})");
    for (const char* sql :
         {"create table Tbl_XCIM_Box (Key, Size)", "insert into Tbl_XCIM_Box values ('a', 1)"}) {
        openCache(sql);
        const Answer answer = get("");
        EXPECT_EQ(answer.result, RM_INTERNAL_ERROR);
        EXPECT_TRUE(logged(1, "Properties are not present in RMF"));
        EXPECT_THAT(answer.errorArgs, IsJson(R"({"p1": "VexoBoxes"})"));
    }
}

TEST_F(Collection, MissingColumnIsAnInternalErrorOnlyWhereThereAreRows)
{
    map(true, true);
    openCache("create table Tbl_XCIM_Box (Key)");
    EXPECT_EQ(get("").result, RM_OK);
    mCache.Run("insert into Tbl_XCIM_Box values ('a')");
    const Answer answer = get("");
    EXPECT_EQ(answer.result, RM_INTERNAL_ERROR);
    EXPECT_TRUE(
        logged(1, "SQL Prepare statement failed for select Size,Key from Tbl_XCIM_Box LIMIT 1"));
    EXPECT_THAT(answer.errorArgs, IsJson(R"({"p1": "VexoBoxes"})"));
}

TEST_F(Collection, PageCostsTwoStatementsWhateverItsSize)
{
    map(true, true);
    fill(120);
    for (const auto& [query, limit] :
         {std::pair("", "50"), std::pair("?$top=1", "1"), std::pair("?$top=50", "50")}) {
        const StatementTrace trace;
        ASSERT_EQ(get(query).result, RM_OK);
        EXPECT_THAT(trace.Texts(),
                    ElementsAre("select count(*) from Tbl_XCIM_Box",
                                std::string("select Size,Key from Tbl_XCIM_Box LIMIT ") + limit));
    }
}

TEST_F(Collection, OptionsBecomeLimitAndOffset)
{
    map(true, true);
    fill(120);
    const StatementTrace trace;
    ASSERT_EQ(get("?$top=70&$skip=10").result, RM_OK);
    EXPECT_EQ(trace.Texts().back(), "select Size,Key from Tbl_XCIM_Box LIMIT 50 OFFSET 10");
}

TEST_F(Collection, EmptyTableIsOnlyCounted)
{
    map(true, true);
    fill(0);
    const StatementTrace trace;
    const Answer answer = get("");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.body["Members"], IsJson("[]"));
    EXPECT_THAT(trace.Texts(), ElementsAre("select count(*) from Tbl_XCIM_Box"));
    EXPECT_TRUE(loggedAnywhere("Table is having no entries for collection resource"));
}

TEST_F(Collection, StepsAreLogged)
{
    map(true, true);
    fill(120);
    ASSERT_EQ(get("?$top=70&$skip=10").result, RM_OK);
    for (const char* message :
         {"Number of Instances = 120", "Top(70)", "Skip(10)",
          "Execute query select Size,Key from Tbl_XCIM_Box LIMIT 50 OFFSET 10 is success",
          "Starting NextLink Logic", "80||60", "Requires Top for next 20 items",
          "Setting Complete NL: /r/VexoBoxes?$skip=60&$top=20",
          "SQL to Json conversion is success"}) {
        EXPECT_TRUE(loggedAnywhere(message));
    }
    EXPECT_TRUE(loggedFrom(3, "GetCollection", "Entering"));
    EXPECT_TRUE(loggedFrom(3, "GetCollection", "Leaving"));
}

TEST_F(Collection, EndOfTheCollectionIsNotComparedInTheLog)
{
    map(true, true);
    fill(120);
    ASSERT_EQ(get("?$top=120").result, RM_OK);
    EXPECT_FALSE(loggedAnywhere("120||50"));
    EXPECT_TRUE(loggedAnywhere("Requires Top for next 70 items"));
}

TEST_F(Collection, ResourceThatIsNoneAborts)
{
    map(true, true);
    fill(1);
    Request request("/r/VexoBox/Box0");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    Json::Value body;
    EXPECT_ABORTS("mIsCollection == true", (void)request.mapper.GetCollection(body, true));
}

} // namespace
