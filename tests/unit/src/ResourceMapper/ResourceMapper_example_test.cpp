// The example at the top of ResourceMapper.h, which the build takes out of it.
#include "LiveTest.h"

#include <resource_mapper_example.inc>

namespace {

using support::CimValue;
using support::json;
using support::scriptedCim;

constexpr const char* kExampleMapping = R"({
    "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "is_collection": true, "mappings": {"VexoBox": {}}},
    "VexoBox": {"@odata.id": "/r/VexoBox", "UniqueSelector": "Key", "mappings": {"XCIM_Box": {
        "is_cached": true, "properties": {"Key": {}}}}},
    "VexoTray": {"@odata.id": "/r/VexoTray", "UniqueSelector": "Key", "mappings": {"XCIM_Tray": {
        "is_cached": true, "properties": {"Key": {}}}}},
    "VexoFans": {"@odata.id": "/r/VexoFans", "is_collection": true, "mappings": {"VexoFan": {}}},
    "VexoFan": {"@odata.id": "/r/VexoFan", "UniqueSelector": "Key",
        "mappings": {"XCIM_Fan": {"properties": {"Key": {}}}}},
    "VexoRoom": {"@odata.id": "/r/VexoRoom", "Selectors": "Floor=1",
        "mappings": {"XCIM_Room": {"properties": {"Key": {}}}}},
    "VexoService": {"@odata.id": "/r/VexoService", "mappings": {"XCIM_Service": {}}}
})";

class HeaderExample : public support::LiveTest
{
protected:
    HeaderExample() { mMapping.Write(kExampleMapping); }

    void SetUp() override
    {
        mCache.Run("create table Tbl_CMPIReady (ClassName); "
                   "insert into Tbl_CMPIReady values ('XCIM_Box'); "
                   "create table Tbl_XCIM_Box (Key); insert into Tbl_XCIM_Box values ('cached')");
        start();
        scriptedCim().instances = {{{"Key", CimValue::Text("live")}}};
    }

    odata::Scope answered(const std::string& url)
    {
        odata::Scope scope = odata::Scope::ForRequest(url);
        answerGet(scope, mSession);
        EXPECT_TRUE(scope.IsCompleted()) << url;
        return scope;
    }

    Json::Value read(const std::string& url)
    {
        const odata::Scope scope = answered(url);
        EXPECT_EQ(scope.GetStatus(), 200) << url;
        return json(std::string(scope.GetBody()));
    }
};

TEST_F(HeaderExample, ReadsWhatIsCachedFromTheCache)
{
    EXPECT_EQ(read("/r/VexoBox/cached")["Key"], "cached");
    EXPECT_EQ(read("/r/VexoBoxes")["Members"][0]["Key"], "cached");
    EXPECT_TRUE(scriptedCim().calls.empty());
}

TEST_F(HeaderExample, ReadsTheRestLive)
{
    EXPECT_EQ(read("/r/VexoFan/live")["Key"], "live");
    EXPECT_EQ(read("/r/VexoFans")["Members"][0]["Key"], "live");
    EXPECT_EQ(read("/r/VexoRoom")["Key"], "live");
}

TEST_F(HeaderExample, RefusesWhatIsNotReady)
{
    const odata::Scope scope = answered("/r/VexoTray/1");
    EXPECT_EQ(scope.GetStatus(), 503);
    ASSERT_EQ(scope.GetHeaderCount(), 1U);
    EXPECT_STREQ(scope.GetHeaderName(0), "Retry-After");
}

TEST_F(HeaderExample, AnswersForAServiceFromTheMapping)
{
    EXPECT_EQ(read("/r/VexoService")["Id"], "VexoService");
    EXPECT_TRUE(scriptedCim().calls.empty());
}

TEST_F(HeaderExample, ReportsFailures)
{
    for (const char* url : {"/r/None", "/r/VexoBox/none"}) {
        EXPECT_EQ(answered(url).GetStatus(), 404) << url;
    }
}

} // namespace
