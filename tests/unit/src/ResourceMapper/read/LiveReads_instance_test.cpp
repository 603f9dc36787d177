#include "Answer.h"
#include "LiveTest.h"

namespace {

using support::Answer;
using support::CimMembers;
using support::CimValue;
using support::IsJson;
using support::logged;
using support::Request;
using support::scriptedCim;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

constexpr const char* kLiveMapping = R"({
    "VexoBox": {
        "@odata.id": "/r/VexoBox", "@odata.type": "#Box", "@odata.context": "/ctx",
        "Name": "Box", "Description": "A box", "UniqueSelector": "Key",
        "Link_Header": "</box>", "allowed_operations": ["GET", "POST"],
        "Links": {"ComputerSystem": {"@odata.id": "/r/System"}},
        "mappings": {"XCIM_Box": {
            "properties": {
                "Codes": {"alias": "CodesSeen"}, "Key": {},
                "Mode": {"alias": "Operation", "value_mapping": {"1": "Auto"}}, "Note": {},
                "Same": {"alias": "Same"}, "Speed": {"alias": "SpeedRPM"}},
            "Actions": {"#Box.Open": {"target": "/open"}, "#Box.Shut": {"target": "/shut"}}}}},
    "VexoRoom": {
        "@odata.id": "/r/VexoRoom", "Name": "Room", "Selectors": "A=1,B=two",
        "mappings": {"XCIM_Room": {"properties": {"Name": {}}}}},
    "VexoHidden": {
        "@odata.id": "/r/VexoHidden", "UniqueSelector": "Key",
        "mappings": {"XCIM_Box": {"properties": {"Note": {}}}}},
    "VexoBoxes": {
        "@odata.id": "/r/VexoBoxes", "is_collection": true, "mappings": {"VexoBox": {}}}
})";

class LiveInstance : public support::LiveTest
{
protected:
    LiveInstance() { mMapping.Write(kLiveMapping); }

    void SetUp() override { scriptedCim().instances = {box()}; }

    static CimMembers box()
    {
        return {{"Key", CimValue::Text("Box#1")},
                {"Codes", CimValue::Array(CMPI_uint8, {CimValue::Number(CMPI_uint8, 4)})},
                {"Mode", CimValue::Number(CMPI_uint16, 1)},
                {"Note", CimValue::Null(CMPI_string)},
                {"Same", CimValue::Number(CMPI_boolean, 1)},
                {"Speed", CimValue::Number(CMPI_sint32, -900)},
                {"Other", CimValue::Text("not mapped")}};
    }

    static Answer get(Request& request)
    {
        return answerOf(request, [](ResourceMapper& mapper, Json::Value& body) {
            return mapper.GetInstance(body);
        });
    }

    Answer get(const std::string& path)
    {
        Request request("/r/" + path, false, &mSession);
        return get(request);
    }

    std::vector<std::string> selected(const std::string& select)
    {
        const Answer answer = get("VexoBox/Box%231?$select=" + select);
        EXPECT_EQ(answer.result, RM_OK);
        return answer.body.getMemberNames();
    }
};

TEST_F(LiveInstance, BodyHasPropertiesUnderTheirAliasesLinksAndActions)
{
    Request request("/r/VexoBox/Box%231", false, &mSession);
    const Answer answer = get(request);
    ASSERT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.body, IsJson(R"({
        "@odata.context": "/ctx", "@odata.id": "/r/VexoBox/Box%231", "@odata.type": "#Box",
        "Actions": {"#Box.Open": {"target": "/open"}, "#Box.Shut": {"target": "/shut"}},
        "Codes@odata.count": 1, "CodesSeen": [4], "Description": "A box", "Id": "Box#1",
        "Key": "Box#1", "Links": {"ComputerSystem": {"@odata.id": "/r/System"}},
        "Name": "Box", "Note": null, "Operation": "Auto", "Same": true, "SpeedRPM": -900})"));
    EXPECT_EQ(request.Header("Allow"), "GET,POST");
    EXPECT_EQ(request.Header("Link"), "</box>");
}

TEST_F(LiveInstance, IsFetchedByItsKey)
{
    ASSERT_EQ(get("VexoBox/Box%231").result, RM_OK);
    EXPECT_THAT(scriptedCim().calls, ElementsAre("connect SfcbLocal NULL 5988 root NULL",
                                                 "getInstance root/xcim:XCIM_Box Key=Box#1 flags "
                                                 "0 all"));
}

TEST_F(LiveInstance, SingletonIsFetchedByItsFixedSelectors)
{
    scriptedCim().instances = {{{"Name", CimValue::Text("Hall")}}};
    const Answer answer = get("VexoRoom");
    ASSERT_EQ(answer.result, RM_OK);
    EXPECT_EQ(scriptedCim().calls.back(), "getInstance root/xcim:XCIM_Room A=1 B=two flags 0 all");
    EXPECT_EQ(answer.body["Name"].asString(), "Hall");
    EXPECT_EQ(answer.body["@odata.id"].asString(), "/r/VexoRoom");
    EXPECT_EQ(answer.body["Id"].asString(), "VexoRoom");
}

TEST_F(LiveInstance, MessageQueueTakesSelectorsAsTheyAreAndAddsNoNames)
{
    Request request("/r/VexoBox/Box%231", true, &mSession);
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    request.mapper.mSelectorSet["Key"] = "Box#9";
    Json::Value body;
    ASSERT_EQ(request.mapper.GetInstance(body), RM_OK);
    EXPECT_EQ(scriptedCim().calls.back(), "getInstance root/xcim:XCIM_Box Key=Box#9 flags 0 all");
    for (const char* name : {"Id", "Name", "Description"}) {
        EXPECT_FALSE(body.isMember(name)) << name;
    }
    EXPECT_EQ(body["@odata.context"].asString(), "/ctx");
    EXPECT_TRUE(body.isMember("Actions"));
    EXPECT_EQ(request.scope.GetHeaderCount(), 0U);
}

TEST_F(LiveInstance, KeyThatIsNotMappedIsNotInTheUri)
{
    const Answer answer = get("VexoHidden/Box%231");
    ASSERT_EQ(answer.result, RM_OK);
    EXPECT_EQ(answer.body["@odata.id"].asString(), "/r/VexoHidden/");
    EXPECT_EQ(answer.body["Id"].asString(), "VexoHidden");
    EXPECT_FALSE(answer.body.isMember("Key"));
}

TEST_F(LiveInstance, PropertyThatTheInstanceLacksIsNull)
{
    scriptedCim().instances = {{{"Key", CimValue::Text("1")}}};
    const Answer answer = get("VexoBox/1");
    ASSERT_EQ(answer.result, RM_OK);
    EXPECT_TRUE(answer.body.isMember("SpeedRPM"));
    EXPECT_TRUE(answer.body["SpeedRPM"].isNull());
    EXPECT_FALSE(answer.body.isMember("Operation"));
}

TEST_F(LiveInstance, SelectKeepsWhatItNames)
{
    EXPECT_THAT(selected("Note,Key"),
                UnorderedElementsAre("@odata.context", "@odata.id", "@odata.type", "Actions", "Key",
                                     "Note"));
    EXPECT_FALSE(support::loggedAnywhere("The reques does not have select filter"));
    EXPECT_THAT(selected("SpeedRPM,Id,Links"),
                UnorderedElementsAre("@odata.context", "@odata.id", "@odata.type", "Actions", "Id",
                                     "Links", "SpeedRPM"));
    EXPECT_THAT(selected("Name"), Contains("Name"));
}

TEST_F(LiveInstance, SelectOfEverythingIsTheWholeAnswer)
{
    const std::vector<std::string> whole = get("VexoBox/Box%231").body.getMemberNames();
    EXPECT_TRUE(logged(3, "The reques does not have select filter"));
    EXPECT_EQ(selected("*"), whole);
    EXPECT_EQ(selected("Note,*"), whole);
    EXPECT_EQ(selected("Links/ComputerSystem,*"), whole);
}

TEST_F(LiveInstance, SelectWithoutTheKeyLeavesItOutOfTheUri)
{
    const Answer answer = get("VexoBox/Box%231?$select=Note,Id");
    EXPECT_EQ(answer.body["@odata.id"].asString(), "/r/VexoBox/");
    EXPECT_EQ(answer.body["Id"].asString(), "VexoBox");
}

TEST_F(LiveInstance, UnknownSelectIsRefused)
{
    const Answer answer = get("VexoBox/Box%231?$select=Weight");
    EXPECT_EQ(answer.result, RM_PROPERTY_UNKNOWN);
    EXPECT_THAT(answer.errorArgs, IsJson(R"({"p1": "Weight"})"));
}

TEST_F(LiveInstance, SelectNarrowsActions)
{
    EXPECT_THAT(get("VexoBox/Box%231?$select=Actions/%23Box.Open").body["Actions"],
                IsJson(R"({"#Box.Open": {"target": "/open"}})"));
    EXPECT_THAT(get("VexoBox/Box%231?$select=Actions/%23Box.Open,*").body["Actions"].size(), 2U);
}

TEST_F(LiveInstance, SelectOfAnUnknownActionShowsThemAll)
{
    const Answer answer = get("VexoBox/Box%231?$select=Actions/None");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_EQ(answer.body["Actions"].size(), 2U);
    EXPECT_TRUE(logged(1, "Invalid select property"));
}

TEST_F(LiveInstance, OptionsAreCheckedAfterTheFetch)
{
    Answer answer = get("VexoBox/Box%231?$expand=*");
    EXPECT_EQ(answer.result, RM_QUERY_NOT_SUPPORTED);
    EXPECT_THAT(answer.errorArgs, IsJson(R"({"p1": "Expand"})"));
    EXPECT_THAT(scriptedCim().calls, Contains(::testing::StartsWith("getInstance")));
    EXPECT_EQ(get("VexoBox/Box%231?$filter=x").result, RM_QUERY_NOT_SUPPORTED);
    EXPECT_EQ(get("VexoBox/Box%231?$select=").result, RM_INTERNAL_ERROR);
    EXPECT_EQ(get("VexoBox/Box%231?$select=Note&$expand=*").result, RM_OK);
}

TEST_F(LiveInstance, MissingInstanceIsNotFound)
{
    scriptedCim().operationStatus = CMPI_RC_ERR_NOT_FOUND;
    const Answer answer = get("VexoBox/Box%202?$expand=*");
    EXPECT_EQ(answer.result, RM_INSTANCE_NOT_FOUND);
    EXPECT_THAT(answer.errorArgs, IsJson(R"({"p1": "Box 2"})"));
}

TEST_F(LiveInstance, FailuresOfTheObjectManagerAreConverted)
{
    const std::pair<CMPIrc, _ResourceMapperError> cases[] = {
        {CMPI_RC_ERR_FAILED, RM_INTERNAL_ERROR},
        {CMPI_RC_ERR_ACCESS_DENIED, RM_INSUFFICIENT_PRIVILEGE},
        {CMPI_RC_ERR_INVALID_NAMESPACE, RM_RESOURCE_NOT_IN_RMF},
        {CMPI_RC_ERR_INVALID_CLASS, RM_RESOURCE_NOT_IN_RMF}};
    for (const auto& [cim, result] : cases) {
        scriptedCim().operationStatus = cim;
        EXPECT_EQ(get("VexoBox/1").result, result);
    }
    scriptedCim().operationStatus = CMPI_RC_ERR_NOT_SUPPORTED;
    EXPECT_ABORTS("false", get("VexoBox/1"));
}

TEST_F(LiveInstance, FailedConnectIsConverted)
{
    scriptedCim().connectStatus = CMPI_RC_ERR_FAILED;
    EXPECT_EQ(get("VexoBox/1").result, RM_INTERNAL_ERROR);
    EXPECT_EQ(scriptedCim().calls.size(), 1U);
}

TEST_F(LiveInstance, AbortsWithoutASessionAndOnACollection)
{
    Json::Value body;
    Request none("/r/VexoBox/1");
    EXPECT_ABORTS("mpSfccHandle != NULL", (void)none.mapper.GetInstance(body));
    Request collection("/r/VexoBoxes", false, &mSession);
    ASSERT_EQ(collection.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    EXPECT_ABORTS("mIsCollection == false", (void)collection.mapper.GetInstance(body));
    Json::Value selectList;
    EXPECT_ABORTS("pCi != NULL",
                  (void)none.mapper.ConvertCMPIInstanceToJson(nullptr, body, selectList));
}

TEST_F(LiveInstance, PostToAnInstanceThatExistsIsNotAllowed)
{
    Request request("/r/VexoBox/Box%231", false, &mSession);
    EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_POST), RM_METHOD_NOT_ALLOWED);
    EXPECT_TRUE(logged(4, "Invalid method on URI /r/VexoBox/Box%231"));
    EXPECT_EQ(scriptedCim().calls.back(), "getInstance root/xcim:XCIM_Box Key=Box#1 flags 0 all");
    EXPECT_EQ(request.mapper.mErrorArgs["p1"].asString(), "VexoBox");
}

TEST_F(LiveInstance, PostToAnInstanceThatIsMissingIsInvalid)
{
    scriptedCim().operationStatus = CMPI_RC_ERR_NOT_FOUND;
    Request request("/r/VexoBox/Box%232", false, &mSession);
    EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_POST), RM_INVALID_URI);
    EXPECT_TRUE(logged(4, "Invalid URI /r/VexoBox/Box%232"));
    EXPECT_THAT(request.mapper.mErrorArgs, IsJson(R"({"p1": "VexoBox"})"));
}

} // namespace
