#include "LibraryTest.h"
#include "ResourceMapper/mapping/UriTable.h"

namespace {

using support::compact;
using support::countLogged;
using support::IsJson;
using support::json;
using support::LogCapture;
using support::logged;
using support::loggedFrom;
using support::Request;

constexpr const char* kBoxes = R"({
    "VexoBoxes": {"@odata.id": "/redfish/v1/VexoBoxes", "is_collection": true,
                  "supports_nextlink": true, "supports_top_skip": true,
                  "mappings": {"VexoBox": {}}},
    "VexoBox": {"@odata.id": "/redfish/v1/VexoBox", "UniqueSelector": "Id",
                "mappings": {"XCIM_Box": {"properties": {
                    "Id": {}, "Size": {"cim_type": "uint32"},
                    "State": {"value_mapping": {"1": "On"}},
                    "Lid": {"value_mapping": {}}}}}}
})";

class MappingFile : public support::LibraryTest
{
protected:
    // Resolves a GET of the box in a request of its own.
    static _ResourceMapperError getBox()
    {
        Request request("/redfish/v1/VexoBox");
        return request.mapper.ParseUri(RM_METHOD_GET);
    }

    // The table of URIs that a mapping gives.
    static Json::Value uriTable(const std::string& mapping)
    {
        support::MappingFile::ForgetLoaded();
        ResourceMapper::RmfObj = json(mapping);
        Request request("/");
        request.mapper.generateURIs();
        return URIObj;
    }
};

TEST_F(MappingFile, FirstRequestLoadsIt)
{
    mMapping.Write(kBoxes);
    EXPECT_FALSE(ResourceMapper::RmfFileLoaded);
    EXPECT_EQ(getBox(), RM_OK);
    EXPECT_TRUE(ResourceMapper::RmfFileLoaded);
    EXPECT_THAT(ResourceMapper::RmfObj, IsJson(kBoxes));
}

TEST_F(MappingFile, LaterChangesTakeNoEffect)
{
    mMapping.Write(kBoxes);
    ASSERT_EQ(getBox(), RM_OK);
    LogCapture::Reset();
    mMapping.Write("{}");
    EXPECT_EQ(getBox(), RM_OK);
    EXPECT_TRUE(logged(3, "RMF File is already loaded"));
    EXPECT_EQ(countLogged(3, "generateURIs", "Entering"), 0);
}

TEST_F(MappingFile, MissingFileIsNotPresent)
{
    EXPECT_EQ(getBox(), RM_RMF_NOT_PRESENT);
    EXPECT_TRUE(logged(1, "Resource Mapping file(" + mMapping.Path() + ") is not present"));
    EXPECT_FALSE(ResourceMapper::RmfFileLoaded);
}

TEST_F(MappingFile, FileThatAppearsAfterAFailedLoadIsLoaded)
{
    ASSERT_EQ(getBox(), RM_RMF_NOT_PRESENT);
    mMapping.Write(kBoxes);
    EXPECT_EQ(getBox(), RM_OK);
}

TEST_F(MappingFile, MalformedFileIsRefusedUntilItIsRepaired)
{
    for (const char* text : {"", "{", R"({"VexoBox": })", "not json"}) {
        LogCapture::Reset();
        mMapping.Write(text);
        EXPECT_EQ(getBox(), RM_MALFORMED_JSON) << text;
        EXPECT_TRUE(logged(1, "Invalid Json format")) << text;
        EXPECT_FALSE(ResourceMapper::RmfFileLoaded) << text;
    }
    mMapping.Write(kBoxes);
    EXPECT_EQ(getBox(), RM_OK);
}

TEST_F(MappingFile, FileThatIsNoObjectIsMalformed)
{
    for (const char* text : {"[]", R"([{"VexoBox": {}}])"}) {
        mMapping.Write(text);
        EXPECT_EQ(getBox(), RM_MALFORMED_JSON) << text;
        EXPECT_FALSE(ResourceMapper::RmfFileLoaded) << text;
    }
}

TEST_F(MappingFile, FileNestedTooDeeplyIsMalformed)
{
    constexpr int kNesting = 5000;
    std::string text = "{\"VexoBox\": ";
    text.append(kNesting, '[').append(kNesting, ']').append("}");
    mMapping.Write(text);
    EXPECT_EQ(getBox(), RM_MALFORMED_JSON);
    EXPECT_FALSE(ResourceMapper::RmfFileLoaded);
}

TEST_F(MappingFile, CommentsAreAccepted)
{
    mMapping.Write(std::string("// One server.\n") + kBoxes + "/* end */");
    EXPECT_EQ(getBox(), RM_OK);
}

TEST_F(MappingFile, LoadIsTracedByName)
{
    mMapping.Write(kBoxes);
    Request request("/redfish/v1/VexoBox");
    EXPECT_EQ(request.mapper.checkResource("VexoBox", true), RM_OK);
    EXPECT_TRUE(loggedFrom(3, "checkResource", "Entering"));
    EXPECT_TRUE(logged(3, "Trying to load RMF for VexoBox"));
}

TEST_F(MappingFile, CheckResourceCanSkipTheEntry)
{
    mMapping.Write(kBoxes);
    Request request("/");
    ASSERT_EQ(request.mapper.checkResource("VexoBoxes", true), RM_OK);
    EXPECT_EQ(request.mapper.mOemResourceName, "VexoBoxes");
    EXPECT_THAT(request.mapper.mResourceObj, IsJson(support::compact(json(kBoxes)["VexoBoxes"])));
    EXPECT_FALSE(request.mapper.mIsCollection);
    EXPECT_FALSE(request.mapper.mSupportsNextLink);
    EXPECT_EQ(request.mapper.mCimClass, "");
}

TEST_F(MappingFile, UnknownNameIsNotInTheMapping)
{
    mMapping.Write(kBoxes);
    Request request("/");
    EXPECT_EQ(request.mapper.checkResource("VexoCrate", false), RM_RESOURCE_NOT_IN_RMF);
    EXPECT_TRUE(logged(1, "Resource not found in RMF"));
    EXPECT_EQ(request.mapper.mErrorArgs["p1"].asString(), "VexoCrate");
    EXPECT_EQ(request.mapper.mOemResourceName, "");
}

TEST_F(MappingFile, LoadTakesTheResourceThatTheHostNamed)
{
    mMapping.Write(kBoxes);
    Request request("/");
    request.mapper.mOemResourceName = "VexoBox";
    EXPECT_EQ(request.mapper.Load(), RM_OK);
    EXPECT_EQ(request.mapper.mCimClass, "XCIM_Box");
    EXPECT_FALSE(request.mapper.mIsCollection);
    EXPECT_EQ(countLogged(3, "Load", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "Load", "Leaving"), 1);
}

TEST_F(MappingFile, LoadOfACollectionTakesItsMembersEntry)
{
    mMapping.Write(kBoxes);
    Request request("/");
    request.mapper.mOemResourceName = "VexoBoxes";
    EXPECT_EQ(request.mapper.Load(), RM_OK);
    EXPECT_TRUE(request.mapper.mIsCollection);
    EXPECT_TRUE(request.mapper.mSupportsNextLink);
    EXPECT_TRUE(request.mapper.mSupportsTopSkip);
    EXPECT_EQ(request.mapper.mCimClass, "XCIM_Box");
    EXPECT_EQ(request.mapper.mResourceObj["UniqueSelector"].asString(), "Id");
    EXPECT_EQ(request.mapper.mOemResourceName, "VexoBoxes");
}

TEST_F(MappingFile, LookUpTakesTheEntryOfTheNameWhateverTheMapperHeld)
{
    mMapping.Write(kBoxes);
    Request request("/");
    ASSERT_EQ(request.mapper.checkResource("VexoBox", false), RM_OK);
    request.mapper.mResourceObj = json(R"({"is_collection": true})");
    EXPECT_EQ(request.mapper.checkResource("VexoBox", false), RM_OK);
    EXPECT_THAT(request.mapper.mResourceObj, IsJson(compact(ResourceMapper::RmfObj["VexoBox"])));
    EXPECT_FALSE(request.mapper.mIsCollection);

    request.mapper.mOemResourceName = "VexoBoxes";
    EXPECT_EQ(request.mapper.Load(), RM_OK);
    EXPECT_TRUE(request.mapper.mIsCollection);
    request.mapper.mOemResourceName = "VexoBox";
    EXPECT_EQ(request.mapper.checkResource("VexoBox", true), RM_OK);
    EXPECT_THAT(request.mapper.mResourceObj, IsJson(compact(ResourceMapper::RmfObj["VexoBox"])));
}

TEST_F(MappingFile, LoadAfterAnotherResourceTakesTheOneThatTheHostNamed)
{
    mMapping.Write(R"({"A": {"mappings": {"XCIM_A": {}}}, "B": {"mappings": {"XCIM_B": {}}}})");
    Request request("/");
    ASSERT_EQ(request.mapper.checkResource("A", false), RM_OK);
    request.mapper.mOemResourceName = "B";
    EXPECT_EQ(request.mapper.Load(), RM_OK);
    EXPECT_EQ(request.mapper.mCimClass, "XCIM_B");
    EXPECT_THAT(request.mapper.mResourceObj, IsJson(R"({"mappings": {"XCIM_B": {}}})"));
}

TEST_F(MappingFile, LoadReportsWhatWentWrong)
{
    Request request("/");
    request.mapper.mOemResourceName = "VexoCrate";
    EXPECT_EQ(request.mapper.Load(), RM_RMF_NOT_PRESENT);
    mMapping.Write("[");
    EXPECT_EQ(request.mapper.Load(), RM_MALFORMED_JSON);
    mMapping.Write(kBoxes);
    EXPECT_EQ(request.mapper.Load(), RM_RESOURCE_NOT_IN_RMF);
    EXPECT_EQ(request.mapper.mErrorArgs["p1"].asString(), "VexoCrate");
    EXPECT_EQ(countLogged(3, "Load", "Leaving"), 3);
}

TEST_F(MappingFile, LookUpsNeverChangeTheMapping)
{
    mMapping.Write(kBoxes);
    for (const char* url : {"/redfish/v1/VexoCrate", "/redfish/v1/VexoCrate/1", "/X", "X",
                            "/redfish/v1/VexoBox/1", "/redfish/v1/VexoBoxes"}) {
        Request request(url);
        (void)request.mapper.ParseUri(RM_METHOD_GET);
        (void)request.mapper.checkResource("VexoCrate", false);
        Json::Value out;
        request.mapper.mCimClass = "XCIM_Crate";
        request.mapper.GetCimClassProperties(out);
        std::string text;
        (void)request.mapper.GetOdataMedata("Name", text, false);
        (void)request.mapper.GetTarget("target", text, request.uri.GetSegmentCount());
        (void)request.mapper.IsCached();
        request.mapper.SetAllowedHeader();
        request.mapper.SetLinkHeader();
    }
    EXPECT_THAT(ResourceMapper::RmfObj, IsJson(kBoxes));
    EXPECT_THAT(URIObj, IsJson(R"({"/redfish/v1/VexoBox": 2, "/redfish/v1/VexoBoxes": 2})"));
}

TEST_F(MappingFile, ResourceWithoutVexoInItsNameHasNoUri)
{
    EXPECT_THAT(uriTable(R"({"Box": {"@odata.id": "/a"}, "vexoBox": {"@odata.id": "/b"},
                             "MyVexoBox": {"@odata.id": "/c"}, "Vexo": {"@odata.id": "/d"}})"),
                IsJson(R"({"/c": 2, "/d": 2})"));

    mMapping.Write(R"({"Box": {"@odata.id": "/redfish/v1/Box",
                               "mappings": {"XCIM_Box": {"properties": {"Id": {}}}}}})");
    support::MappingFile::ForgetLoaded();
    Request request("/redfish/v1/Box");
    EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_INVALID_URI);
}

TEST_F(MappingFile, ActionTargetsAreRegisteredForPost)
{
    EXPECT_THAT(uriTable(R"({"VexoBox": {"@odata.id": "/box", "mappings": {
        "XCIM_Box": {"Actions": {"#Box.Open": {"target": "/box/Actions/Box.Open"},
                                 "#Box.Shut": {"target": "/box/Actions/Box.Shut"}}},
        "XCIM_Lid": {"Actions": {"#Lid.Lift": {"target": "/box/Actions/Lid.Lift"}}}}}})"),
                IsJson(R"({"/box": 2, "/box/Actions/Box.Open": 1, "/box/Actions/Box.Shut": 1,
                           "/box/Actions/Lid.Lift": 1})"));
}

TEST_F(MappingFile, ActionWithoutTargetIsNotRegistered)
{
    EXPECT_THAT(uriTable(R"({"VexoBox": {"@odata.id": "/box", "mappings": {"XCIM_Box": {"Actions": {
        "#Box.Open": {"target": ""}, "#Box.Shut": {}}}}}})"),
                IsJson(R"({"/box": 2})"));
}

TEST_F(MappingFile, ActionsOfAnEntryWithoutUriAreNotRegistered)
{
    EXPECT_THAT(uriTable(R"({
        "VexoBox": {"mappings": {"XCIM_Box": {"Actions": {"#Box.Open": {"target": "/box/open"}}}}},
        "VexoLid": {"@odata.id": "",
                    "mappings": {"XCIM_Lid": {"Actions": {"#Lid.Lift": {"target": "/lift"}}}}},
        "VexoTop": {"@odata.id": "/top"}})"),
                IsJson(R"({"/top": 2})"));
}

TEST_F(MappingFile, LastWriterOfAUriWins)
{
    EXPECT_THAT(uriTable(R"({
        "VexoA": {"@odata.id": "/first-read"},
        "VexoB": {"@odata.id": "/b", "mappings": {"C": {"Actions": {
            "#X.Y": {"target": "/first-read"}, "#X.Z": {"target": "/first-post"},
            "#X.O": {"target": "/b"}}}}},
        "VexoC": {"@odata.id": "/first-post"}})"),
                IsJson(R"({"/b": 1, "/first-post": 2, "/first-read": 1})"));
}

TEST_F(MappingFile, GenerateUrisIsLogged)
{
    (void)uriTable("{}");
    EXPECT_EQ(countLogged(3, "generateURIs", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "generateURIs", "Leaving"), 1);
}

TEST_F(MappingFile, DumpTellsWhichPropertiesHaveAValueMap)
{
    mMapping.Write(kBoxes);
    Request request("/redfish/v1/VexoBox");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    request.mapper.PrintRMFData();
    EXPECT_TRUE(logged(3, "Printing RMF Data for XCIM_Box Resource"));
    EXPECT_TRUE(loggedFrom(3, "PrintRMFData", "PropertyName: Id,  SupportsValueMap: false"));
    EXPECT_TRUE(loggedFrom(3, "PrintRMFData", "PropertyName: Lid,  SupportsValueMap: false"));
    EXPECT_TRUE(loggedFrom(3, "PrintRMFData", "PropertyName: Size,  SupportsValueMap: false"));
    EXPECT_TRUE(loggedFrom(3, "PrintRMFData", "PropertyName: State,  SupportsValueMap: true"));
}

} // namespace
