#include "MappedResourcesTest.h"

namespace {

using support::arrayCell;
using support::countLogged;
using support::IsJson;
using support::json;
using support::kSeparator;
using support::LogCapture;
using support::messagesAtLevel;
using support::Request;
using support::StatementTrace;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MappedResources : public support::MappedResourcesTest
{};

TEST_F(MappedResources, WithoutExpressionAndQueryTheIdIsTheKey)
{
    embed(R"({"Fan": {"KeyRegex": "", "QueryClause": ""}})");
    const StatementTrace trace;
    const Answer answer = mapped("2");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.out, IsJson(R"({"Fan": {"@odata.context": "/ctx", "@odata.id": "/r/Fan/2",
                                               "@odata.type": "#Fan", "Speed": 1200}})"));
    EXPECT_THAT(trace.Texts(), ElementsAre(readinessOf("Fan"), selectOf("Fan", " where Slot = ?")));
    EXPECT_THAT(messagesAtLevel(4),
                ElementsAre("Got Key Fan", "Regex=", "Query=",
                            "Fetching Data for Instance 2 of Fan for container Rack",
                            "Resource is cached, using embedded DB", " SelectorSet 2",
                            "Setting embedded data for Fan"));
    EXPECT_THAT(messagesAtLevel(1), IsEmpty());
}

TEST_F(MappedResources, QueryAloneTakesTheWholeId)
{
    embed(R"({"Fan": {"QueryClause": "Slot = '#p1'"}})");
    const StatementTrace trace;
    const Answer answer = mapped("2");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.out, IsJson(R"({"Fan": {"@odata.context": "/ctx", "@odata.id": "/r/Fan/2",
                                               "@odata.type": "#Fan", "Speed": 1200}})"));
    EXPECT_THAT(trace.Texts(), ElementsAre(readinessOf("Fan"), byCondition("Slot = '2'")));
    EXPECT_THAT(messagesAtLevel(4),
                ElementsAre("Got Key Fan", "Regex=", "Query=Slot = '#p1'",
                            "Fetching Data for Instance 2 of Fan for container Rack", "Only Query",
                            "Resource is cached, using embedded DB", " SelectorSet 2",
                            "Setting embedded data for Fan"));
    EXPECT_THAT(messagesAtLevel(1), IsEmpty());
}

TEST_F(MappedResources, QueryTakesThePartsThatTheExpressionMatches)
{
    embed(R"({"Fan": {"KeyRegex": "^PSU\\.Slot\\.([0-9]+)$", "QueryClause": "Slot = '#p1'"}})");
    const StatementTrace trace;
    const Answer answer = mapped("psu.slot.2");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.out, IsJson(R"({"Fan": {"@odata.context": "/ctx", "@odata.id": "/r/Fan/2",
                                               "@odata.type": "#Fan", "Speed": 1200}})"));
    EXPECT_THAT(trace.Texts(), ElementsAre(readinessOf("Fan"), byCondition("Slot = '2'")));
    EXPECT_THAT(messagesAtLevel(4),
                ElementsAre("Got Key Fan", R"(Regex=^PSU\.Slot\.([0-9]+)$)", "Query=Slot = '#p1'",
                            "Fetching Data for Instance psu.slot.2 of Fan for container Rack",
                            "Query + Regex", "matched part for #p1 is 2",
                            "Resource is cached, using embedded DB", " SelectorSet 2",
                            "Setting embedded data for Fan"));
    EXPECT_THAT(messagesAtLevel(1), IsEmpty());
}

TEST_F(MappedResources, ExpressionAloneMakesTheKeyOfItsFirstGroup)
{
    embed(R"({"Fan": {"KeyRegex": "^PSU\\.Slot\\.([0-9]+)(\\.A)?$"}})");
    const StatementTrace trace;
    const Answer answer = mapped("psu.slot.2.a");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.out, IsJson(R"({"Fan": {"@odata.context": "/ctx", "@odata.id": "/r/Fan/2",
                                               "@odata.type": "#Fan", "Speed": 1200}})"));
    EXPECT_THAT(trace.Texts(), ElementsAre(readinessOf("Fan"), selectOf("Fan", " where Slot = ?")));
    EXPECT_THAT(messagesAtLevel(4),
                ElementsAre("Got Key Fan", R"(Regex=^PSU\.Slot\.([0-9]+)(\.A)?$)", "Query=",
                            "Fetching Data for Instance psu.slot.2.a of Fan for container Rack",
                            "Only Regex", "ID Transformed", "psu.slot.2.a-->2",
                            "Resource is cached, using embedded DB", " SelectorSet 2",
                            "Setting embedded data for Fan"));
    EXPECT_THAT(messagesAtLevel(1), IsEmpty());
}

TEST_F(MappedResources, ConditionIsMetWithoutRegardToCase)
{
    mCache.Run("insert into Tbl_XCIM_Fan values ('Bay.A', 1300)");
    embed(R"({"Fan": {"QueryClause": "Slot = '#p1'"}})");
    EXPECT_EQ(mapped("bAY.a").out["Fan"]["Speed"].asInt(), 1300);
}

TEST_F(MappedResources, KeyIsComparedWithItsCase)
{
    mCache.Run("insert into Tbl_XCIM_Fan values ('Bay.A', 1300)");
    embed(R"({"Fan": {}})");
    EXPECT_EQ(mapped("Bay.A").out["Fan"]["Speed"].asInt(), 1300);
    EXPECT_THAT(mapped("bAY.a").out, IsJson("null"));
}

TEST_F(MappedResources, KeyIsBoundAndNotPasted)
{
    embed(R"({"Fan": {}})");
    const StatementTrace trace;
    EXPECT_THAT(mapped("x' or '1'='1").out, IsJson("null"));
    EXPECT_THAT(trace.Texts(), ElementsAre(readinessOf("Fan"), selectOf("Fan", " where Slot = ?")));
}

TEST_F(MappedResources, FirstOfTheRowsThatMeetAConditionCounts)
{
    embed(R"({"Fan": {"QueryClause": "Speed > #p1"}})");
    EXPECT_EQ(mapped("1000").out["Fan"]["Speed"].asInt(), 1100);
    EXPECT_EQ(mapped("1100").out["Fan"]["Speed"].asInt(), 1200);
}

TEST_F(MappedResources, MembersAreReadInSortedOrder)
{
    embed(R"({"Pump": {}, "Fan": {"QueryClause": "Slot = '#p1'"}, "Lid": {"KeyRegex": "(.)$"}})");
    const StatementTrace trace;
    const Answer answer = mapped("1");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.out.getMemberNames(), ElementsAre("Fan", "Lid", "Pump"));
    EXPECT_EQ(answer.out["Fan"]["Speed"].asInt(), 1100);
    EXPECT_EQ(answer.out["Lid"]["Speed"].asInt(), 2100);
    EXPECT_EQ(answer.out["Pump"]["Speed"].asInt(), 3100);
    EXPECT_THAT(trace.Texts(),
                ElementsAre(readinessOf("Fan"), byCondition("Slot = '1'"), readinessOf("Lid"),
                            selectOf("Lid", " where Slot = ?"), readinessOf("Pump"),
                            selectOf("Pump", " where Slot = ?")));
}

TEST_F(MappedResources, MapperDescribesTheLastMemberAfterwards)
{
    embed(R"({"Fan": {"KeyRegex": "([0-9])$"}, "Lid":
{
    "QueryClause" : "Slot = '#p1'"
}
})");
    Request request("/", true);
    EXPECT_EQ(mapped(request, "Bay.2").result, RM_OK);
    EXPECT_EQ(request.mapper.mOemResourceName, "Lid");
    EXPECT_EQ(request.mapper.mCimClass, "XCIM_Lid");
    EXPECT_EQ(request.mapper.mResourceObj, mResources["Lid"]);
    EXPECT_EQ(request.mapper.mInstanceId, "2"); // the fan's: a condition has no key
    EXPECT_THAT(request.mapper.mSelectorSet, IsJson(R"({"Slot": "2"})"));
}

TEST_F(MappedResources, MappingIsLeftAsItWasLoaded)
{
    embed(R"({"Fan": {}, "Lid": {"QueryClause": "Slot = '#p1'"}, "Pump": {}})");
    EXPECT_EQ(mapped("2").out.size(), 3U);
    EXPECT_EQ(mapped("1").out.size(), 3U);
    EXPECT_EQ(ResourceMapper::RmfObj, mResources);
}

TEST_F(MappedResources, ContainerCanEmbedItself)
{
    addResource("Rack");
    mCache.Run(table("Rack", "('1', 4100)") + "insert into Tbl_CMPIReady values ('XCIM_Rack')");
    embed(R"({"Lid": {}, "Pump": {}, "Rack": {}})");
    const Answer answer = mapped("1");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_EQ(answer.out["Rack"]["Speed"].asInt(), 4100);
    EXPECT_THAT(answer.out.getMemberNames(), ElementsAre("Lid", "Pump", "Rack"));
}

TEST_F(MappedResources, OutKeepsWhatItHasAndTakesNewData)
{
    embed(R"({"Fan": {}, "Lid": {"KeyRegex": "^no$"}})");
    Request request("/", true);
    Json::Value out = json(R"({"Fan": {"Old": 1}, "Lid": {"Old": 2}, "Other": 3})");
    EXPECT_EQ(request.mapper.GetMappedResources("Rack", "2", out), RM_OK);
    EXPECT_THAT(out, IsJson(R"({"Fan": {"@odata.context": "/ctx", "@odata.id": "/r/Fan/2",
                                        "@odata.type": "#Fan", "Speed": 1200},
                                "Lid": {"Old": 2}, "Other": 3})"));
}

TEST_F(MappedResources, ContainerThatEmbedsNothingLeavesOutUntouched)
{
    for (const char* instances : {"{}", "null", "[]", R"([{"Fan": {}}])", "\"Fan\"", "5", "true"}) {
        SCOPED_TRACE(instances);
        embed(instances);
        const StatementTrace trace;
        Request request("/", true);
        Json::Value out = json(R"({"Other": 3})");
        EXPECT_EQ(request.mapper.GetMappedResources("Rack", "2", out), RM_OK);
        EXPECT_THAT(out, IsJson(R"({"Other": 3})"));
        EXPECT_THAT(mapped("2").out, IsJson("null"));
        EXPECT_THAT(trace.Texts(), IsEmpty());
    }
    mResources["Rack"] = json(R"({"Name": "no instances"})");
    support::MappingFile::ForgetLoaded();
    mMapping.Write(support::compact(mResources));
    const Answer answer = mapped("2");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.out, IsJson("null"));
}

TEST_F(MappedResources, ValuesOfOtherTypesReadAsTextsWhereTheyCan)
{
    embed(
        R"({"Fan": 5, "Lid": {"KeyRegex": 2, "QueryClause": true}, "Pump": [{"KeyRegex": "x"}]})");
    const StatementTrace trace;
    const Answer answer = mapped("2");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_EQ(answer.out["Fan"]["Speed"].asInt(), 1200);
    EXPECT_EQ(answer.out["Lid"]["Speed"].asInt(), 2100);
    EXPECT_EQ(answer.out["Pump"]["Speed"].asInt(), 3200);
    EXPECT_THAT(trace.Texts(),
                ElementsAre(readinessOf("Fan"), selectOf("Fan", " where Slot = ?"),
                            readinessOf("Lid"), selectOf("Lid", " where true COLLATE NOCASE"),
                            readinessOf("Pump"), selectOf("Pump", " where Slot = ?")));
}

TEST_F(MappedResources, TextsThatAreObjectsReadAsEmpty)
{
    embed(R"({"Fan": {"KeyRegex": {"x": 1}, "QueryClause": [1]}})");
    EXPECT_EQ(mapped("2").out["Fan"]["Speed"].asInt(), 1200);
    EXPECT_THAT(messagesAtLevel(1), ElementsAre("Unexpected JSON type 7 where a string is needed",
                                                "Unexpected JSON type 6 where a string is needed"));
}

TEST_F(MappedResources, EntryAndExitAreLoggedOnEveryWay)
{
    classOf("Pump")["is_cached"] = false;
    for (const char* instances : {"{}", R"({"Fan": {}})", R"({"Gap": {}})", R"({"Pump": {}})"}) {
        embed(instances);
        LogCapture::Reset();
        (void)mapped("2");
        EXPECT_EQ(countLogged(3, "GetMappedResources", "Entering"), 1) << instances;
        EXPECT_EQ(countLogged(3, "GetMappedResources", "Leaving"), 1) << instances;
    }
}

class EmbeddedShape : public MappedResources
{
protected:
    // A resource with everything that an answer can carry.
    void SetUp() override
    {
        MappedResources::SetUp();
        mCache.Run("insert into Tbl_CMPIReady values ('XCIM_Box'); "
                   "create table Tbl_XCIM_Box (Key, Colours, Mode, State); "
                   "insert into Tbl_XCIM_Box values ('Box#PSU.Slot.1', " +
                   arrayCell(1, 2, "red" + std::string(kSeparator) + "blue") + ", 'auto', '2')");
        mResources["Box"] = json(R"({
            "@odata.id": "/r/Box", "@odata.type": "#Box", "@odata.context": "/ctx#Box",
            "Name": "Box", "Description": "A box", "UniqueSelector": "Key",
            "Link_Header": "</box>", "allowed_operations": ["GET", "POST"],
            "Links": {"ComputerSystem": {"@odata.id": "/r/System"},
                      "VexoPSNumericSensorCollection": {}},
            "mappings": {"XCIM_Box": {"is_cached": true, "key_properties": ["Key"],
                "properties": {"Colours": {}, "Mode": {"alias": "Operation"},
                               "State": {"value_mapping": {"2": "Enabled"}}},
                "Actions": {"#Box.Open": {"target": "/r/Box/Actions/Box.Open"}}}}})");
    }

    static constexpr const char* kBox = R"({"Box": {
        "@odata.context": "/ctx#Box", "@odata.id": "/r/Box/Box%23PSU.Slot.1", "@odata.type": "#Box",
        "Actions": {"#Box.Open": {"target": "/r/Box/Actions/Box.Open"}},
        "Colours": ["red", "blue"],
        "Links": {
            "ComputerSystem": {"@odata.id": "/r/System"},
            "VexoPSNumericSensorCollection": [{"@odata.id":
"/redfish/v1/Vexo/Systems/System.Embedded.1/VexoPSNumericSensor/Tavix.Embedded.1%23PS1Current1"}]},
        "Operation": "auto", "State": "Enabled"}})";
};

TEST_F(EmbeddedShape, ByKeyHasAnnotationsLinksAndActionsButNoNames)
{
    embed(R"({"Box": {}})");
    EXPECT_THAT(mapped("Box#PSU.Slot.1").out, IsJson(kBox));
}

TEST_F(EmbeddedShape, ByConditionIsTheSame)
{
    embed(R"({"Box": {"QueryClause": "Key = '#p1'"}})");
    EXPECT_THAT(mapped("Box#PSU.Slot.1").out, IsJson(kBox));
}

TEST_F(EmbeddedShape, MappedPropertiesKeepTheirNames)
{
    mCache.Run("alter table Tbl_XCIM_Box add column Name; alter table Tbl_XCIM_Box add column Id; "
               "update Tbl_XCIM_Box set Name = 'First', Id = 7");
    mResources["Box"].removeMember("Links");
    mResources["Box"]["mappings"]["XCIM_Box"] = json(R"({
        "is_cached": true, "key_properties": ["Key"],
        "properties": {"Id": {"cim_type": "uint8"}, "Key": {}, "Name": {}}})");
    for (const char* instances : {R"({"Box": {}})", R"({"Box": {"QueryClause": "Key = '#p1'"}})"}) {
        embed(instances);
        EXPECT_THAT(mapped("Box#PSU.Slot.1").out, IsJson(R"({"Box": {
            "@odata.context": "/ctx#Box", "@odata.id": "/r/Box/Box%23PSU.Slot.1",
            "@odata.type": "#Box", "Id": 7, "Key": "Box#PSU.Slot.1", "Name": "First"}})"))
            << instances;
    }
}

} // namespace
