#include "LiveTest.h"

namespace {

using support::CimValue;
using support::IsJson;
using support::logged;
using support::Request;
using support::scriptedCim;

class LiveQuery : public support::LiveTest
{
protected:
    LiveQuery()
    {
        mMapping.Write(R"({"VexoBox": {
            "@odata.id": "/r/VexoBox", "@odata.type": "#Box", "@odata.context": "/ctx",
            "UniqueSelector": "Key",
            "mappings": {"XCIM_Box": {"properties": {"Key": {}, "Size": {"alias": "SizeMM"}}}}}})");
    }

    Json::Value query(const std::string& text)
    {
        Request request("/r/VexoBox/1", true, &mSession);
        EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
        Json::Value out;
        request.mapper.QueryInstances(out, text);
        return out;
    }
};

TEST_F(LiveQuery, GivesTheFirstOfSeveral)
{
    scriptedCim().instances = {
        {{"Key", CimValue::Text("1")}, {"Size", CimValue::Number(CMPI_uint32, 5)}},
        {{"Key", CimValue::Text("2")}, {"Size", CimValue::Number(CMPI_uint32, 6)}}};
    EXPECT_THAT(query("SELECT * FROM XCIM_Box"), IsJson(R"({
        "@odata.context": "/ctx", "@odata.id": "/r/VexoBox/1", "@odata.type": "#Box",
        "Key": "1", "SizeMM": 5})"));
    EXPECT_THAT(scriptedCim().calls,
                ::testing::Contains("execQuery root/xcim:XCIM_Box CQL SELECT * FROM XCIM_Box"));
}

TEST_F(LiveQuery, WithoutAMatchGivesNothing)
{
    EXPECT_TRUE(query("").isNull());
    EXPECT_EQ(scriptedCim().calls.back(), "release enumeration");
}

TEST_F(LiveQuery, FailuresAreOnlyLogged)
{
    scriptedCim().operationStatus = CMPI_RC_ERR_NOT_FOUND;
    EXPECT_TRUE(query("q").isNull());
    EXPECT_TRUE(logged(1, "Could not get enum handle! (6)"));
}

TEST_F(LiveQuery, FailedConnectIsOnlyLogged)
{
    scriptedCim().connectStatus = CMPI_RC_ERROR_SYSTEM;
    EXPECT_TRUE(query("q").isNull());
    EXPECT_TRUE(logged(1, "Could not Connect! (100)"));
    EXPECT_EQ(scriptedCim().calls.size(), 1U);
}

TEST_F(LiveQuery, AbortsWithoutASessionAndOffTheMessageQueue)
{
    Json::Value out;
    Request none("/r/VexoBox/1", true);
    EXPECT_ABORTS("mpSfccHandle != NULL", none.mapper.QueryInstances(out, ""));
    Request web("/r/VexoBox/1", false, &mSession);
    EXPECT_ABORTS("mIsZMQCall== true", web.mapper.QueryInstances(out, ""));
}

} // namespace
