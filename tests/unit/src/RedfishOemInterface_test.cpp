#include "MappedResourcesTest.h"
#include "RedfishOemInterface.h"
#include "ScriptedCim.h"

namespace {

using support::countLogged;
using support::IsJson;
using support::json;
using support::LogCapture;
using support::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OemData : public support::MappedResourcesTest
{
protected:
    OemData() { support::resetScriptedCim(); }

    static void get(std::string container, std::string id, Json::Value& out)
    {
        getResourceOemData(container.data(), id.data(), out);
    }
};

TEST_F(OemData, IsWhatTheContainerEmbedsForTheId)
{
    embed(R"({"Fan": {}, "Lid": {"KeyRegex": "^([0-9])$", "QueryClause": "Slot = '#p1'"}})");
    Json::Value out;
    get("Rack", "2", out);
    EXPECT_THAT(out, IsJson(R"({
        "Fan": {"@odata.context": "/ctx", "@odata.id": "/r/Fan/2", "@odata.type": "#Fan",
                "Speed": 1200},
        "Lid": {"@odata.context": "/ctx", "@odata.id": "/r/Lid/2", "@odata.type": "#Lid",
                "Speed": 2200}})"));
}

TEST_F(OemData, IsAddedToWhatOutHas)
{
    embed(R"({"Fan": {}})");
    Json::Value out = json(R"({"Other": 3})");
    get("Rack", "2", out);
    EXPECT_THAT(out.getMemberNames(), ElementsAre("Fan", "Other"));
    EXPECT_EQ(out["Other"], 3);
}

TEST_F(OemData, ContainerThatEmbedsNothingLeavesOutUntouched)
{
    embed("{}");
    Json::Value out;
    get("Rack", "2", out);
    EXPECT_TRUE(out.isNull());
}

TEST_F(OemData, IsReadWithoutCim)
{
    embed(R"({"Fan": {}, "Lid": {"QueryClause": "Slot = '#p1'"}, "Pump": {"KeyRegex": "^(x)$"}})");
    Json::Value out;
    get("Rack", "2", out);
    EXPECT_THAT(out.getMemberNames(), ElementsAre("Fan", "Lid"));
    EXPECT_THAT(support::scriptedCim().calls, IsEmpty());
}

TEST_F(OemData, ArgumentsAreOnlyRead)
{
    embed(R"({"Fan": {"KeyRegex": "^Bay(.)$"}})");
    char container[] = "Rack";
    char id[] = "Bay2";
    Json::Value out;
    getResourceOemData(container, id, out);
    EXPECT_EQ(out["Fan"]["Speed"].asInt(), 1200);
    EXPECT_STREQ(container, "Rack");
    EXPECT_STREQ(id, "Bay2");
}

TEST_F(OemData, ThatIsNotCachedLeavesWhatCameBefore)
{
    classOf("Lid")["is_cached"] = false;
    embed(R"({"Fan": {}, "Lid": {}, "Pump": {}})");
    Json::Value out;
    get("Rack", "2", out);
    EXPECT_THAT(out.getMemberNames(), ElementsAre("Fan"));
    EXPECT_EQ(out["Fan"]["Speed"].asInt(), 1200);
}

TEST_F(OemData, CallIsLoggedAroundItsMapper)
{
    embed(R"({"Fan": {}})");
    LogCapture::Reset();
    Json::Value out;
    get("Rack", "2", out);
    std::vector<std::string> steps;
    for (const LogLine& line : LogCapture::Lines()) {
        for (const char* function :
             {"getResourceOemData", "ResourceMapper", "GetMappedResources", "~ResourceMapper"}) {
            if (line.function() == function && line.level() == 3) {
                steps.push_back(line.function() + " " + line.message());
            }
        }
    }
    EXPECT_THAT(steps, ElementsAre("getResourceOemData Entering", "ResourceMapper Entering",
                                   "ResourceMapper Leaving", "GetMappedResources Entering",
                                   "GetMappedResources Leaving", "~ResourceMapper Entering",
                                   "~ResourceMapper Leaving", "getResourceOemData Leaving"));
    EXPECT_EQ(LogCapture::Lines().front().function(), "getResourceOemData");
    EXPECT_EQ(LogCapture::Lines().back().function(), "getResourceOemData");
    EXPECT_EQ(LogCapture::Lines().front().file(), "RedfishOemInterface.cpp");
}

TEST_F(OemData, CallThatEndsEarlyIsLoggedToo)
{
    classOf("Fan")["is_cached"] = false;
    embed(R"({"Fan": {}})");
    Json::Value out;
    get("Rack", "2", out);
    EXPECT_TRUE(out.isNull());
    EXPECT_EQ(countLogged(3, "getResourceOemData", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "getResourceOemData", "Leaving"), 1);
}

TEST_F(OemData, UnknownContainerAborts)
{
    embed(R"({"Fan": {}})");
    Json::Value out;
    EXPECT_ABORTS_AFTER("RM_OK == err", "Resource not found in RMF\n3|Leaving",
                        get("Shelf", "2", out));
}

} // namespace
