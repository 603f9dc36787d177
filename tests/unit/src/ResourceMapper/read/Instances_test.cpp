#include "Answer.h"
#include "LibraryTest.h"

#include <array>

namespace {

using support::Answer;
using support::arrayCell;
using support::IsJson;
using support::json;
using support::kSeparator;
using support::logged;
using support::loggedAnywhere;
using support::loggedFrom;
using support::Request;
using support::StatementTrace;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kInstanceMapping = R"({
    "VexoBox": {
        "@odata.id": "/r/VexoBox", "@odata.type": "#Box", "@odata.context": "/ctx",
        "Name": "Box", "Description": "A box", "UniqueSelector": "Key",
        "Link_Header": "</box>", "allowed_operations": ["GET", "POST"],
        "Links": {"ComputerSystem": {"@odata.id": "/r/System"},
                  "VexoPSNumericSensorCollection": {}},
        "mappings": {"XCIM_Box": {
            "properties": {
                "Colours": {}, "Mode": {"alias": "Operation"}, "Note": {},
                "Size": {"cim_type": "uint32"}, "Speed": {"cim_type": "uint32", "alias": "SpeedRPM"},
                "State": {"value_mapping": {"2": "Enabled"}}},
            "Actions": {"#Box.Open": {"target": "/open", "title": "Open"},
                        "#Box.Shut": {"target": "/shut"}}}}},
    "VexoKeyed": {
        "@odata.id": "/r/VexoKeyed", "UniqueSelector": "Key",
        "mappings": {"XCIM_Box": {"properties": {"Key": {}, "Name": {}}}}},
    "VexoBare": {
        "@odata.id": "/r/VexoBare", "mappings": {"XCIM_Box": {}}},
    "VexoBoxes": {
        "@odata.id": "/r/VexoBoxes", "is_collection": true, "mappings": {"VexoBox": {}}}
})";

class Instance : public support::LibraryTest
{
protected:
    Instance() { mMapping.Write(kInstanceMapping); }

    void SetUp() override
    {
        openCache("create table Tbl_XCIM_Box (Key, Name, Colours, Mode, Note, Size, Speed, State); "
                  "insert into Tbl_XCIM_Box values ('PSU.Slot.1', 'First', " +
                  arrayCell(1, 2, "red" + std::string(kSeparator) + "blue") +
                  ", 'auto', null, 7, 900, '2'), "
                  "('Box 2', 'Second', null, 'off', 'n', 8, 0, '5')");
    }

    static Answer get(Request& request)
    {
        return answerOf(request, [](ResourceMapper& mapper, Json::Value& body) {
            return mapper.GetInstance(body, true);
        });
    }

    static Answer get(const std::string& path)
    {
        Request request("/r/" + path);
        return get(request);
    }

    // The members of the box's answer for a "$select".
    static std::vector<std::string> selected(const std::string& select)
    {
        const Answer answer = get("VexoBox/PSU.Slot.1?$select=" + select);
        EXPECT_EQ(answer.result, RM_OK);
        return answer.body.getMemberNames();
    }
};

TEST_F(Instance, BodyHasPropertiesUnderTheirAliasesLinksAndActions)
{
    Request request("/r/VexoBox/PSU.Slot.1");
    const Answer answer = get(request);
    ASSERT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.body, IsJson(R"({
        "@odata.context": "/ctx", "@odata.id": "/r/VexoBox/PSU.Slot.1", "@odata.type": "#Box",
        "Actions": {"#Box.Open": {"target": "/open", "title": "Open"},
                    "#Box.Shut": {"target": "/shut"}},
        "Colours": ["red", "blue"], "Description": "A box", "Id": "PSU.Slot.1",
        "Links": {
            "ComputerSystem": {"@odata.id": "/r/System"},
            "VexoPSNumericSensorCollection": [{"@odata.id":
"/redfish/v1/Vexo/Systems/System.Embedded.1/VexoPSNumericSensor/Tavix.Embedded.1%23PS1Current1"}]},
        "Name": "Box", "Note": null, "Operation": "auto", "Size": 7, "SpeedRPM": 900,
        "State": "Enabled"})"));
    EXPECT_EQ(request.Header("Allow"), "GET,POST");
    EXPECT_EQ(request.Header("Link"), "</box>");
}

TEST_F(Instance, OnTheMessageQueueNamesAndHeadersAreLeftOut)
{
    Request request("/r/VexoBox/Box%202", true);
    const Answer answer = get(request);
    ASSERT_EQ(answer.result, RM_OK);
    EXPECT_FALSE(answer.body.isMember("Id"));
    EXPECT_FALSE(answer.body.isMember("Name"));
    EXPECT_FALSE(answer.body.isMember("Description"));
    EXPECT_EQ(answer.body["Size"].asInt(), 8);
    EXPECT_EQ(request.scope.GetHeaderCount(), 0U);
    EXPECT_TRUE(request.mapper.mSelectorSet.isNull());
}

TEST_F(Instance, KeyBecomesASelector)
{
    Request request("/r/VexoBox/Box%202");
    ASSERT_EQ(get(request).result, RM_OK);
    EXPECT_THAT(request.mapper.mSelectorSet, IsJson(R"({"Key": "Box 2"})"));
}

TEST_F(Instance, QueryBindsTheKey)
{
    const StatementTrace trace;
    ASSERT_EQ(get("VexoKeyed/Box%202").body["Name"].asString(), "Second");
    EXPECT_THAT(trace.Texts(), ElementsAre("select Key,Name,Key from Tbl_XCIM_Box where Key = ?"));
    EXPECT_EQ(get("VexoKeyed/x'%20or%20'1'='1").result, RM_INVALID_URI);
}

TEST_F(Instance, MappedKeyIsEmitted)
{
    const Answer answer = get("VexoKeyed/Box%202");
    ASSERT_EQ(answer.result, RM_OK);
    EXPECT_EQ(answer.body["Key"].asString(), "Box 2");
    EXPECT_EQ(answer.body["Id"].asString(), "Box 2");
    EXPECT_EQ(get("VexoKeyed/Box%202?$select=Name").body["Key"].asString(), "Box 2");
}

TEST_F(Instance, SelectKeepsTheNamedPropertiesAndTheAnnotations)
{
    EXPECT_THAT(selected("Size"),
                ElementsAre("@odata.context", "@odata.id", "@odata.type", "Actions", "Size"));
    EXPECT_THAT(selected("+Note+,++Id"),
                ElementsAre("@odata.context", "@odata.id", "@odata.type", "Actions", "Id", "Note"));
    EXPECT_THAT(selected("Name"),
                ElementsAre("@odata.context", "@odata.id", "@odata.type", "Actions", "Name"));
    EXPECT_THAT(selected("Description"), ElementsAre("@odata.context", "@odata.id", "@odata.type",
                                                     "Actions", "Description"));
    EXPECT_THAT(selected("@odata.id"),
                ElementsAre("@odata.context", "@odata.id", "@odata.type", "Actions"));
}

TEST_F(Instance, SelectTakesAnAliasThatBeginsWithThePropertysName)
{
    EXPECT_THAT(selected("SpeedRPM"),
                ElementsAre("@odata.context", "@odata.id", "@odata.type", "Actions", "SpeedRPM"));
    for (const char* item : {"Speed", "Mode", "Operation", "Key"}) {
        const Answer answer = get(std::string("VexoBox/PSU.Slot.1?$select=") + item);
        EXPECT_EQ(answer.result, RM_PROPERTY_UNKNOWN);
        EXPECT_THAT(answer.errorArgs["p1"].asString(), item);
    }
}

TEST_F(Instance, StarSelectsEverything)
{
    const Json::Value all = get("VexoBox/PSU.Slot.1").body;
    EXPECT_EQ(get("VexoBox/PSU.Slot.1?$select=*").body, all);
    EXPECT_EQ(get("VexoBox/PSU.Slot.1?$select=Size,*").body, all);
    EXPECT_EQ(get("VexoBox/PSU.Slot.1?$select=Links/ComputerSystem,*").body, all);
}

TEST_F(Instance, SelectOfLinksShowsThemAlone)
{
    EXPECT_THAT(selected("Links"),
                ElementsAre("@odata.context", "@odata.id", "@odata.type", "Actions", "Links"));
    EXPECT_THAT(get("VexoBox/PSU.Slot.1?$select=Links").body["Links"].getMemberNames(),
                ElementsAre("ComputerSystem", "VexoPSNumericSensorCollection"));
    EXPECT_THAT(get("VexoBox/PSU.Slot.1?$select=Size,Links/ComputerSystem").body["Links"],
                IsJson(R"({"ComputerSystem": {"@odata.id": "/r/System"}})"));
}

TEST_F(Instance, SelectNarrowsActions)
{
    const Answer answer = get("VexoBox/PSU.Slot.1?$select=Actions/%23Box.Open/title");
    ASSERT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.body["Actions"], IsJson(R"({"#Box.Open": {"title": "Open"}})"));
    const Answer refused = get("VexoBox/PSU.Slot.1?$select=Actions/%23Box.Kick");
    EXPECT_EQ(refused.result, RM_PROPERTY_UNKNOWN);
    EXPECT_EQ(refused.errorArgs["p1"].asString(), "Actions/#Box.Kick");
}

TEST_F(Instance, EmptyKeyIsRefusedWithoutTouchingTheCache)
{
    Request request("/r/VexoBox");
    const StatementTrace trace;
    const Answer answer = get(request);
    EXPECT_EQ(answer.result, RM_INVALID_URI);
    EXPECT_TRUE(logged(1, "Empty key passed for get request"));
    EXPECT_THAT(answer.errorArgs, IsJson(R"({"p1": ""})"));
    EXPECT_THAT(trace.Texts(), IsEmpty());
}

TEST_F(Instance, ClassWithoutPropertiesIsAnInternalError)
{
    Request request("/r/VexoBare?$expand=*");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    request.mapper.mInstanceId = "1";
    Json::Value body;
    EXPECT_EQ(request.mapper.GetInstance(body, true), RM_INTERNAL_ERROR);
    EXPECT_TRUE(logged(1, "Properties are not present in RMF"));
    EXPECT_THAT(request.mapper.mErrorArgs, IsJson(R"({"p1": "VexoBare"})"));
}

TEST_F(Instance, StatementThatCannotBePreparedIsAnInternalError)
{
    mCache.Run("drop table Tbl_XCIM_Box");
    const Answer answer = get("VexoKeyed/1?$expand=*");
    EXPECT_EQ(answer.result, RM_INTERNAL_ERROR);
    EXPECT_TRUE(logged(1, "SQL Prepare statement failed for "
                          "select Key,Name,Key from Tbl_XCIM_Box where Key = ?"));
    EXPECT_THAT(answer.errorArgs, IsJson(R"({"p1": "VexoKeyed"})"));
}

TEST_F(Instance, ExpandAndFilterAreRefusedWhetherOrNotThereIsARow)
{
    for (const char* key : {"Box%202", "none"}) {
        const Answer expand = get(std::string("VexoKeyed/") + key + "?$expand=*&$filter=a");
        EXPECT_EQ(expand.result, RM_QUERY_NOT_SUPPORTED);
        EXPECT_THAT(expand.errorArgs, IsJson(R"({"p1": "Expand"})"));
        const Answer filter = get(std::string("VexoKeyed/") + key + "?$filter=a");
        EXPECT_EQ(filter.result, RM_QUERY_NOT_SUPPORTED);
        EXPECT_THAT(filter.errorArgs, IsJson(R"({"p1": "Filter"})"));
    }
    EXPECT_EQ(get("VexoKeyed/Box%202?$select=Name&$expand=*").result, RM_OK);
}

TEST_F(Instance, SelectThatCannotBeReadIsRefusedWhetherOrNotThereIsARow)
{
    for (const char* key : {"Box%202", "none"}) {
        EXPECT_EQ(get(std::string("VexoKeyed/") + key + "?$select=").result, RM_INTERNAL_ERROR);
        EXPECT_EQ(get(std::string("VexoKeyed/") + key + "?$select=" + std::string(256, 'a')).result,
                  RM_INTERNAL_ERROR);
    }
}

TEST_F(Instance, KeyWithoutRowIsAnInvalidUri)
{
    const Answer answer = get("VexoKeyed/none?$select=Colour");
    EXPECT_EQ(answer.result, RM_INVALID_URI);
    EXPECT_TRUE(logged(1, "SQL query on get instance returned 0 rows"));
    EXPECT_THAT(answer.errorArgs, IsJson(R"({"p1": "VexoKeyed"})"));
}

TEST_F(Instance, UnknownSelectItemIsRefused)
{
    const Answer answer = get("VexoKeyed/Box%202?$select=Name,Colour");
    EXPECT_EQ(answer.result, RM_PROPERTY_UNKNOWN);
    EXPECT_THAT(answer.errorArgs, IsJson(R"({"p1": "Colour"})"));
}

TEST_F(Instance, StepsAreLogged)
{
    ASSERT_EQ(get("VexoKeyed/Box%202").result, RM_OK);
    EXPECT_TRUE(loggedFrom(3, "GetInstance", "Entering"));
    EXPECT_TRUE(loggedFrom(3, "GetInstance", "Leaving"));
    EXPECT_TRUE(loggedAnywhere(
        "Execute query select Key,Name,Key from Tbl_XCIM_Box where Key = ? is success"));
    EXPECT_TRUE(loggedAnywhere("The request does not have select filter"));
    ASSERT_EQ(get("VexoKeyed/Box%202?$select=*").result, RM_OK);
    EXPECT_TRUE(loggedAnywhere("Query to select all parameters"));
}

TEST_F(Instance, CollectionAborts)
{
    Request request("/r/VexoBoxes");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    Json::Value body;
    EXPECT_ABORTS("mIsCollection == false", (void)request.mapper.GetInstance(body, true));
}

TEST_F(Instance, ShapingLeavesTheDataUntouchedWhenItFails)
{
    Request request("/r/VexoBox/1");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    Json::Value data = json(R"({"Size": 1, "Key": "1"})");
    EXPECT_EQ(request.mapper.ApplyFilterToGetInstance(data, json(R"(["Colour"])"), false),
              RM_PROPERTY_UNKNOWN);
    EXPECT_THAT(data, IsJson(R"({"Size": 1, "Key": "1"})"));
    EXPECT_EQ(request.mapper.ApplyFilterToGetInstance(data, json(R"(["Actions/#X"])"), false),
              RM_PROPERTY_UNKNOWN);
    EXPECT_THAT(data, IsJson(R"({"Size": 1, "Key": "1"})"));
}

TEST_F(Instance, ShapingDropsWhatTheMappingDoesNotName)
{
    Request request("/r/VexoKeyed/1");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    Json::Value data = json(R"({"Name": "N", "Name@odata.count": 1, "Other": 2, "Key": "1"})");
    ASSERT_EQ(request.mapper.ApplyFilterToGetInstance(data, Json::Value(), false), RM_OK);
    EXPECT_THAT(data.getMemberNames(), ElementsAre("@odata.context", "@odata.id", "@odata.type",
                                                   "Description", "Id", "Key", "Name"));
}

// Where an alias meets another property's name or alias, the last property in sorted order wins.
TEST_F(Instance, AliasesThatMeetAreSettledTheSameWithAndWithoutSelect)
{
    constexpr std::array<const char*, 8> kProperties = {
        R"({"A": {"alias": "B"}, "B": {}, "C": {}})",
        R"({"A": {}, "B": {"alias": "A"}, "C": {"alias": "B"}})",
        R"({"A": {"alias": "B"}, "B": {"alias": "C"}, "C": {"alias": "A"}})",
        R"({"A": {"alias": "X"}, "B": {"alias": "X"}, "C": {"alias": "X"}})",
        R"({"A": {"alias": "A"}, "B": {"alias": "Key"}, "Key": {"alias": "Id2"}})",
        R"({"A": {"alias": "Key"}, "B": {"alias": "B@odata.count"}})",
        R"({"B": {"alias": "C"}, "C": null, "Key": {}})",
        R"({"C": {"alias": ""}, "Key": {"alias": "B"}})",
    };
    for (const char* properties : kProperties) {
        SCOPED_TRACE(properties);
        Request request("/r/VexoKeyed/1");
        ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
        request.mapper.mResourceObj["mappings"]["XCIM_Box"]["properties"] = json(properties);
        const Json::Value data =
            json(R"({"A": "a", "B": ["b"], "B@odata.count": 1, "C": "c", "Key": "1"})");
        Json::Value whole = data;
        ASSERT_EQ(request.mapper.ApplyFilterToGetInstance(whole, Json::Value(), false), RM_OK);
        Json::Value selected = data;
        ASSERT_EQ(request.mapper.ApplyFilterToGetInstance(selected, json(R"(["*"])"), false),
                  RM_OK);
        EXPECT_EQ(whole, selected);
    }
}

TEST_F(Instance, LastOfTheAliasesThatMeetIsShown)
{
    Request request("/r/VexoKeyed/1");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    request.mapper.mResourceObj["mappings"]["XCIM_Box"]["properties"] =
        json(R"({"A": {"alias": "B"}, "B": {}, "C": {"alias": "X"}, "D": {"alias": "X"}})");
    Json::Value data = json(R"({"A": "a", "B": "b", "C": "c", "D": "d", "Key": "1"})");
    ASSERT_EQ(request.mapper.ApplyFilterToGetInstance(data, Json::Value(), false), RM_OK);
    EXPECT_EQ(data["B"], "b");
    EXPECT_EQ(data["X"], "d");
    EXPECT_FALSE(data.isMember("A") || data.isMember("C") || data.isMember("D"));
}

class InstanceQuery : public Instance
{
protected:
    // What the message queue's query for keyed boxes gives.
    static Json::Value query(Request& request, const std::string& clause)
    {
        Json::Value out;
        EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
        request.mapper.QueryInstances(out, clause, true);
        return out;
    }

    static Json::Value query(const std::string& clause)
    {
        Request request("/r/VexoKeyed", true);
        return query(request, clause);
    }
};

TEST_F(InstanceQuery, GivesTheFirstMatch)
{
    EXPECT_THAT(query(" where Name like '%s%' order by Key desc"),
                IsJson(R"({"@odata.context": "", "@odata.id": "/r/VexoKeyed/PSU.Slot.1",
                           "@odata.type": "", "Key": "PSU.Slot.1", "Name": "First"})"));
    EXPECT_EQ(query(" where Name = 'Second'")["Key"].asString(), "Box 2");
    EXPECT_EQ(query("")["Key"].asString(), "PSU.Slot.1");
    EXPECT_TRUE(
        loggedAnywhere("Formed query select Key,Name,Key from Tbl_XCIM_Box where Name = 'Second'"));
}

TEST_F(InstanceQuery, ClauseWithoutItsBlankIsOnlyLogged)
{
    Request request("/r/VexoKeyed", true);
    EXPECT_TRUE(query(request, "where X=1").isNull());
    EXPECT_TRUE(logged(1, "SQL Prepare statement failed for "
                          "select Key,Name,Key from Tbl_XCIM_Boxwhere X=1"));
    EXPECT_TRUE(request.mapper.mErrorArgs.empty());
}

TEST_F(InstanceQuery, NoMatchIsOnlyLogged)
{
    EXPECT_TRUE(query(" where Name = 'Third'").isNull());
    EXPECT_TRUE(logged(1, "SQL to Json conversion is failed"));
}

TEST_F(InstanceQuery, ClassWithoutPropertiesLeavesAnArgument)
{
    Request request("/r/VexoBare", true);
    EXPECT_TRUE(query(request, " where 1").isNull());
    EXPECT_TRUE(logged(1, "Properties are not present in RMF"));
    EXPECT_THAT(request.mapper.mErrorArgs, IsJson(R"({"p1": "VexoBare"})"));
}

TEST_F(InstanceQuery, OffTheMessageQueueItAborts)
{
    Request request("/r/VexoKeyed");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    Json::Value out;
    EXPECT_ABORTS("mIsZMQCall== true", request.mapper.QueryInstances(out, "", true));
}

} // namespace
