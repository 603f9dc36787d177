#include "Boxes.h"
#include "LiveTest.h"

namespace {

using support::Answer;
using support::CimValue;
using support::countLogged;
using support::IsJson;
using support::logged;
using support::loggedAnywhere;
using support::PageCase;
using support::Request;
using support::scriptedCim;
using ::testing::ElementsAre;

class LiveCollection : public support::LiveTest
{
protected:
    // Maps the boxes; "paged" and "topSkip" are the collection's flags.
    void map(bool paged, bool topSkip) const
    {
        Json::Value mapping = support::boxMapping(paged, topSkip);
        mapping["VexoBoxes"]["@odata.id"] = "/r/VexoBoxes#";
        mapping["VexoUri"]["@odata.id"] = "/r/VexoBoxes";
        mapping["VexoBox"]["Links"]["ComputerSystem"]["@odata.id"] = "/r/System";
        mapping["VexoBox"]["mappings"]["XCIM_Box"]["properties"]["Key"] =
            Json::Value(Json::objectValue);
        mMapping.Write(support::compact(mapping));
    }

    // Boxes of sizes 0, 1, 2 and so on.
    static void fill(int count)
    {
        for (int i = 0; i < count; ++i) {
            scriptedCim().instances.push_back({{"Key", CimValue::Text("Box" + std::to_string(i))},
                                               {"Size", CimValue::Number(CMPI_uint32, i)}});
        }
    }

    static Answer get(Request& request)
    {
        return answerOf(request, [](ResourceMapper& mapper, Json::Value& body) {
            return mapper.GetCollection(body);
        });
    }

    Answer get(const std::string& query)
    {
        Request request("/r/VexoBoxes" + query, false, &mSession);
        return get(request);
    }
};

class LivePage : public LiveCollection, public ::testing::WithParamInterface<PageCase>
{
protected:
    void expectItsPage()
    {
        fill(GetParam().boxes);
        expectPage(get(GetParam().query), GetParam());
    }
};

TEST_P(LivePage, HasItsMembersAndItsNextLink)
{
    map(true, true);
    expectItsPage();
}

INSTANTIATE_TEST_SUITE_P(
    , LivePage,
    ::testing::Values(PageCase{0, "", 0, 0, nullptr}, PageCase{1, "", 0, 1, nullptr},
                      PageCase{49, "", 0, 49, nullptr}, PageCase{50, "", 0, 50, nullptr},
                      PageCase{51, "", 0, 50, "/r/VexoBoxes?$skip=50"},
                      PageCase{120, "", 0, 50, "/r/VexoBoxes?$skip=50"},
                      PageCase{120, "?$skip=50", 50, 50, "/r/VexoBoxes?$skip=100"},
                      PageCase{120, "?$skip=100", 100, 20, nullptr},
                      PageCase{120, "?$skip=70", 70, 50, nullptr},
                      PageCase{120, "?$skip=119", 119, 1, nullptr},
                      PageCase{120, "?$top=5", 0, 5, nullptr},
                      PageCase{120, "?$top=50", 0, 50, nullptr},
                      PageCase{120, "?$top=51", 0, 50, "/r/VexoBoxes?$skip=50&$top=1"},
                      PageCase{120, "?$top=70&$skip=10", 10, 50, "/r/VexoBoxes?$skip=60&$top=20"},
                      PageCase{120, "?$top=100&$skip=60", 60, 50, "/r/VexoBoxes?$skip=110&$top=10"},
                      PageCase{120, "?$top=120&$skip=118", 118, 2, nullptr}));

class LiveUnpaged : public LivePage
{};

TEST_P(LiveUnpaged, HasAllMembers)
{
    map(false, false);
    expectItsPage();
}

INSTANTIATE_TEST_SUITE_P(, LiveUnpaged,
                         ::testing::Values(PageCase{0, "?$skip=1", 0, 0, nullptr},
                                           PageCase{51, "", 0, 51, nullptr},
                                           PageCase{60, "?$top=5&$skip=3", 0, 60, nullptr}));

TEST_F(LiveCollection, BodyDescribesTheCollectionAndItsMembers)
{
    map(true, true);
    fill(1);
    Request request("/r/VexoBoxes", false, &mSession);
    const Answer answer = get(request);
    ASSERT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.body, IsJson(R"({
        "@odata.context": "/ctx/Boxes", "@odata.id": "/r/VexoBoxes#", "@odata.type": "#Boxes",
        "Description": "All boxes",
        "Members": [{
            "@odata.id": "/r/VexoBox/Box0", "@odata.type": "#Box", "Description": "One box",
            "Id": "Box0", "Key": "Box0", "Links": {"ComputerSystem": {"@odata.id": "/r/System"}},
            "Name": "All", "SizeMM": 0}],
        "Members@odata.count": 1, "Name": "All"})"));
    EXPECT_EQ(request.Header("Allow"), "GET");
    EXPECT_EQ(request.Header("Link"), "</boxes>");
    EXPECT_EQ(request.scope.GetHeaderCount(), 2U);
}

TEST_F(LiveCollection, IsOneEnumeration)
{
    map(true, true);
    fill(120);
    ASSERT_EQ(get("?$skip=10").result, RM_OK);
    EXPECT_THAT(scriptedCim().calls,
                ElementsAre("connect SfcbLocal NULL 5988 root NULL",
                            "enumInstances root/xcim:XCIM_Box flags 0 all", "release enumeration"));
}

TEST_F(LiveCollection, FetchesOneMoreThanAPageHolds)
{
    map(true, true);
    fill(51);
    ASSERT_EQ(get("").result, RM_OK);
    EXPECT_TRUE(logged(3, "Appempting to fill 1th Member"));
    EXPECT_TRUE(logged(3, "Appempting to fill 51th Member"));
    EXPECT_EQ(countLogged(3, "GetNextInstance", "Entering GetNextInstance()"), 51);
    EXPECT_EQ(countLogged(3, "ConvertCMPIInstanceToJson", "Entering"), 50);
    EXPECT_TRUE(logged(3, "Starting NextLink Logic"));
}

TEST_F(LiveCollection, LinkLeavesOutTheLineThatOnlyTheCacheWrites)
{
    map(true, true);
    fill(120);
    ASSERT_EQ(get("?$top=70&$skip=10").result, RM_OK);
    EXPECT_TRUE(logged(3, "Requires Top for next 20 items"));
    EXPECT_TRUE(logged(3, "Setting Complete NL: /r/VexoBoxes?$skip=60&$top=20"));
    EXPECT_FALSE(loggedAnywhere("80||60"));
}

TEST_F(LiveCollection, OptionsOutOfRangeAreRefused)
{
    map(true, true);
    fill(3);
    Answer answer = get("?$top=4");
    EXPECT_EQ(answer.result, RM_QUERY_PARAM_OUT_OF_RANGE);
    EXPECT_THAT(answer.errorArgs, IsJson(R"x({"p1": "4", "p2": "$top", "p3": "(1-3)"})x"));
    EXPECT_TRUE(logged(1, "Invalid Top(4), max enum count(3)"));
    answer = get("?$skip=3");
    EXPECT_EQ(answer.result, RM_QUERY_PARAM_OUT_OF_RANGE);
    EXPECT_THAT(answer.errorArgs, IsJson(R"x({"p1": "3", "p2": "$skip", "p3": "(0-2)"})x"));
    EXPECT_TRUE(logged(1, "Skip(3) exceeds enum count(3)"));
    scriptedCim().instances.clear();
    answer = get("?$skip=0");
    EXPECT_EQ(answer.result, RM_QUERY_PARAM_OUT_OF_RANGE);
    EXPECT_EQ(answer.errorArgs["p3"].asString(), "(0-4294967295)");
}

TEST_F(LiveCollection, OtherOptionsAreNotLookedAt)
{
    map(true, true);
    fill(1);
    for (const char* query : {"?$select=", "?$select=Nothing", "?$expand=*", "?$filter=x"}) {
        const Answer answer = get(query);
        EXPECT_EQ(answer.result, RM_OK) << query;
        EXPECT_EQ(answer.body["Members"][0]["SizeMM"].asInt(), 0) << query;
    }
}

TEST_F(LiveCollection, EnumerationThatBreaksOffKeepsItsCount)
{
    map(true, true);
    fill(3);
    scriptedCim().hasNextStatus = CMPI_RC_ERR_FAILED;
    const Answer answer = get("");
    ASSERT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.body["Members"], IsJson("[]"));
    EXPECT_EQ(answer.body[support::kCount].asInt(), 3);
}

TEST_F(LiveCollection, FailuresOfTheObjectManagerAreConverted)
{
    map(true, true);
    scriptedCim().operationStatus = CMPI_RC_ERR_INVALID_CLASS;
    const Answer answer = get("");
    EXPECT_EQ(answer.result, RM_RESOURCE_NOT_IN_RMF);
    EXPECT_THAT(answer.errorArgs, IsJson(R"({"p1": "VexoBoxes"})"));
    scriptedCim().operationStatus = CMPI_RC_ERR_FAILED;
    EXPECT_EQ(get("").result, RM_INTERNAL_ERROR);
    scriptedCim().operationStatus = CMPI_RC_ERR_NOT_FOUND;
    EXPECT_ABORTS("false", get(""));
}

TEST_F(LiveCollection, FailedConnectIsConverted)
{
    map(true, true);
    scriptedCim().connectStatus = CMPI_RC_ERR_ACCESS_DENIED;
    EXPECT_EQ(get("").result, RM_INSUFFICIENT_PRIVILEGE);
}

TEST_F(LiveCollection, AbortsWithoutASessionAndOnAnInstance)
{
    map(true, true);
    Json::Value body;
    Request none("/r/VexoBoxes");
    EXPECT_ABORTS("mpSfccHandle != NULL", (void)none.mapper.GetCollection(body));
    Request instance("/r/VexoBox/1", false, &mSession);
    ASSERT_EQ(instance.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    EXPECT_ABORTS("mIsCollection == true", (void)instance.mapper.GetCollection(body));
    EXPECT_ABORTS("mIsCollection == true", (void)instance.mapper.AddOdataMetaData(body));
}

} // namespace
