// Each operation writes "Entering" and "Leaving" under its own name, on every way out.
#include "LibraryTest.h"

#include <map>

namespace {

using support::LogCapture;
using support::Request;

constexpr const char* kTracedMapping = R"({
    "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "is_collection": true, "supports_nextlink": true,
                  "supports_top_skip": true, "mappings": {"VexoBox": {}}},
    "VexoBox": {"@odata.id": "/r/VexoBox", "UniqueSelector": "Key", "Links": {"ComputerSystem": {}},
                "mappings": {"XCIM_Box": {"is_cached": true, "properties": {"Size": {}},
                    "Actions": {"#Box.Open": {"target": "/r/VexoBox/Actions/Box.Open"}}}}},
    "VexoRoom": {"@odata.id": "/r/VexoRoom", "Selectors": "Floor=1",
                 "mappings": {"XCIM_Room": {}}}
})";

// How often a function was entered and left.
struct Calls
{
    int entered = 0;
    int left = 0;
};

class Tracing : public support::LibraryTest
{
protected:
    Tracing() { mMapping.Write(kTracedMapping); }

    void SetUp() override
    {
        openCache("create table Tbl_CMPIReady (ClassName); create table Tbl_XCIM_Box (Key, Size); "
                  "insert into Tbl_XCIM_Box values ('B1', 'L')");
        LogCapture::Reset();
    }

    static std::map<std::string, Calls> calls()
    {
        std::map<std::string, Calls> found;
        for (const support::LogLine& line : LogCapture::Lines()) {
            if (line.level() == 3 && line.message() == "Entering") {
                ++found[line.function()].entered;
            } else if (line.level() == 3 && line.message() == "Leaving") {
                ++found[line.function()].left;
            }
        }
        return found;
    }

    // Checks that each of these was called, and that all that was entered was left.
    static void expectTraced(const std::vector<std::string>& names)
    {
        std::map<std::string, Calls> found = calls();
        for (const std::string& name : names) {
            EXPECT_GT(found[name].entered, 0) << name;
        }
        for (const auto& [name, count] : found) {
            EXPECT_EQ(count.entered, count.left) << name;
        }
    }

    // Reads a resource whatever comes of it.
    static void read(const std::string& url)
    {
        Request request(url);
        ResourceMapper& mapper = request.mapper;
        Json::Value body;
        _ResourceMapperError result = mapper.ParseUri(RM_METHOD_GET);
        if (result == RM_OK && !mapper.IsServiceURI(body, result)) {
            (void)mapper.IsCached();
            (void)(mapper.mIsCollection ? mapper.GetCollection(body, true)
                                        : mapper.GetInstance(body, true));
        }
        mapper.SendResponse(body);
    }
};

TEST_F(Tracing, Collection)
{
    read("/r/VexoBoxes?$select=Members");
    expectTraced({"ResourceMapper",
                  "~ResourceMapper",
                  "ParseUri",
                  "isValidURI",
                  "checkResource",
                  "generateURIs",
                  "IsServiceURI",
                  "IsCached",
                  "GetCollection",
                  "GetInstanceCount",
                  "GetSelectQuery",
                  "GetPrepareStatement",
                  "SQLToJson",
                  "AddOdataMetaData",
                  "EncodeSpecialChars",
                  "SetLinks",
                  "getLinksFromAssociation",
                  "ApplyFilterToGetInstance",
                  "MatchQueryParamAndPropList",
                  "SetAllowedHeader",
                  "SetLinkHeader",
                  "SendResponse"});
}

TEST_F(Tracing, Instance)
{
    read("/r/VexoBox/B1?$select=Size,Actions/%23Box.Open");
    expectTraced({"GetInstance", "GetSelectQuery", "GetPrepareStatement", "SQLToJson",
                  "ApplyFilterToGetInstance", "MatchQueryParamAndPropList", "AddOdataMetaData",
                  "AddActions", "applyFilterOnAction"});
}

TEST_F(Tracing, Singleton)
{
    read("/r/VexoRoom");
    expectTraced({"parseSelectors", "IsServiceURI", "ApplyFilterToGetInstance"});
}

TEST_F(Tracing, Query)
{
    Request request("/r/VexoBox", true);
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    Json::Value body;
    request.mapper.QueryInstances(body, "", true);
    const std::map<std::string, Calls> found = calls();
    EXPECT_EQ(found.at("QueryInstances").entered, 1);
    EXPECT_EQ(found.at("QueryInstances").left, 1);
}

TEST_F(Tracing, Failures)
{
    for (const char* url :
         {"/r/VexoBoxes?$top=9", "/r/VexoBoxes?$expand=*", "/r/VexoBoxes?$select=X",
          "/r/VexoBoxes/1", "/r/VexoBox", "/r/VexoBox/none", "/r/VexoBox/B1?$filter=a",
          "/r/VexoBox/B1?$select=", "/r/VexoBox/B1?$select=X", "/r/VexoBox/B1?$select=Actions/X",
          "/r/VexoRoom?$select=X", "/r/VexoRoom/1"}) {
        SCOPED_TRACE(url);
        LogCapture::Reset();
        read(url);
        expectTraced({"ParseUri", "isValidURI", "SendResponse"});
    }
}

} // namespace
