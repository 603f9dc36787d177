#include "LibraryTest.h"
#include "ResourceMapper/mapping/UriTable.h"

namespace {

using support::countLogged;
using support::IsJson;
using support::json;
using support::LogCapture;
using support::logged;
using support::Request;

// One resource of each kind. "Box" stands at a URI of its own name, as a mapping must have it.
constexpr const char* kUriMapping = R"({
    "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "is_collection": true, "Name": "All Boxes",
                  "supports_nextlink": true, "supports_top_skip": true,
                  "mappings": {"VexoBox": {}}},
    "VexoBox": {"@odata.id": "/r/VexoBox", "UniqueSelector": "Id", "Name": "One Box",
                "mappings": {"XCIM_Box": {"key_properties": ["Id"],
                                          "properties": {"Size": {}, "Id": {}}}}},
    "VexoRoom": {"@odata.id": "/r/VexoRoom", "Selectors": "Floor=2,Door=7",
                 "mappings": {"XCIM_Room": {"properties": {"Id": {}}}}},
    "VexoService": {"@odata.id": "/r/VexoService",
                    "mappings": {"XCIM_Service": {"Actions": {
                        "#XCIM_Service.Run.Fast": {
                            "target": "/r/VexoService/Actions/XCIM_Service.Run.Fast"},
                        "#Plain": {"target": "/r/VexoService/Actions/Plain", "limit": 5}}}}}
})";

class UriResolution : public support::LibraryTest
{
protected:
    UriResolution() { mMapping.Write(kUriMapping); }
};

TEST_F(UriResolution, CollectionIsFoundByItsUri)
{
    Request request("/r/VexoBoxes");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    EXPECT_STREQ(request.mapper.GetOemResourceName(), "VexoBoxes");
    EXPECT_TRUE(request.mapper.mIsCollection);
    EXPECT_TRUE(request.mapper.mSupportsNextLink);
    EXPECT_TRUE(request.mapper.mSupportsTopSkip);
    EXPECT_EQ(request.mapper.mCimClass, "XCIM_Box");
    EXPECT_EQ(request.mapper.mResourceObj, ResourceMapper::RmfObj["VexoBox"]);
    EXPECT_EQ(request.mapper.mInstanceId, "");
}

TEST_F(UriResolution, InstanceIsTheSegmentBelowItsResource)
{
    Request request("/r/VexoBox/Disk%231");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    EXPECT_EQ(request.mapper.mOemResourceName, "VexoBox");
    EXPECT_EQ(request.mapper.mInstanceId, "Disk#1");
    EXPECT_EQ(request.mapper.mCimClass, "XCIM_Box");
    EXPECT_FALSE(request.mapper.mIsCollection);
    EXPECT_FALSE(request.mapper.mSupportsNextLink);
    EXPECT_TRUE(request.mapper.mSelectorSet.isNull());
}

TEST_F(UriResolution, SingletonTakesItsFixedSelectors)
{
    Request request("/r/VexoRoom");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    EXPECT_TRUE(logged(4, "Keys Floor=2,Door=7"));
    EXPECT_THAT(request.mapper.mSelectorSet, IsJson(R"({"Door": "7", "Floor": "2"})"));
}

TEST_F(UriResolution, ActionIsFoundByItsTarget)
{
    Request request("/r/VexoService/Actions/XCIM_Service.Run.Fast");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_POST), RM_OK);
    EXPECT_EQ(request.mapper.mOemResourceName, "VexoService");
    EXPECT_EQ(request.mapper.mCimClass, "XCIM_Service");
    EXPECT_STREQ(request.mapper.GetCimMethodName(), "Run.Fast");
}

TEST_F(UriResolution, TrailingSlashAndQueryResolveLikeThePlainUri)
{
    for (const char* url : {"/r/VexoBox/7", "/r/VexoBox/7/", "/r/VexoBox/7?$select=A",
                            "/r/VexoBox/7/?$select=Links/A", "/r/VexoBox/7?"}) {
        Request request(url);
        EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK) << url;
        EXPECT_EQ(request.mapper.mOemResourceName, "VexoBox") << url;
        EXPECT_EQ(request.mapper.mInstanceId, "7") << url;
    }
}

TEST_F(UriResolution, StepsAreLogged)
{
    Request request("/r/VexoBox/7/?$select=Id");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    EXPECT_TRUE(logged(3, "Parsing URI(/r/VexoBox/7/?$select=Id)  URICount(3)"));
    EXPECT_TRUE(logged(3, "BaseURI=/r/VexoBox"));
    EXPECT_TRUE(logged(4, "Segment URI Passed is /r/VexoBox"));
    EXPECT_TRUE(logged(4, " entity Name VexoBox "));
}

TEST_F(UriResolution, EveryReturnIsLogged)
{
    for (const char* url : {"/r/VexoBoxes", "/r/VexoRoom", "/r/VexoBox/1", "/r/Unknown", "X"}) {
        LogCapture::Reset();
        Request request(url);
        (void)request.mapper.ParseUri(RM_METHOD_GET);
        EXPECT_EQ(countLogged(3, "ParseUri", "Entering"), 1) << url;
        EXPECT_EQ(countLogged(3, "ParseUri", "Leaving"), 1) << url;
    }
}

TEST_F(UriResolution, UriWithoutSlashIsInvalid)
{
    for (const char* url : {"VexoBox", "VexoBox?$select=a/b", "VexoBox/"}) {
        LogCapture::Reset();
        Request request(url);
        EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_INVALID_URI) << url;
        EXPECT_TRUE(logged(1, "Invalid URI")) << url;
        EXPECT_THAT(request.mapper.mErrorArgs, IsJson(R"({"p1": ""})")) << url;
    }
}

TEST_F(UriResolution, OnlyTheLastQuestionMarkStartsTheQuery)
{
    Request request("/r/VexoBox?a?b");
    EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_INVALID_URI);
    EXPECT_TRUE(logged(4, "Invalid URI /r/VexoBox?a"));
}

// URIs that are not served, and what is logged about them at level 4.
struct RefusedCase
{
    const char* url;
    int method;
    _ResourceMapperError result;
    const char* message;
};

void PrintTo(const RefusedCase& refused, std::ostream* stream)
{
    *stream << refused.method << " " << refused.url;
}

class UriRefusal : public UriResolution, public ::testing::WithParamInterface<RefusedCase>
{};

TEST_P(UriRefusal, ReportsTheUri)
{
    Request request(GetParam().url);
    EXPECT_EQ(request.mapper.ParseUri(GetParam().method), GetParam().result);
    EXPECT_TRUE(logged(4, GetParam().message));
    EXPECT_EQ(countLogged(3, "isValidURI", "Leaving"), 1);
    EXPECT_EQ(request.mapper.mErrorArgs["p1"].asString(), request.mapper.mOemResourceName);
}

INSTANTIATE_TEST_SUITE_P(
    , UriRefusal,
    ::testing::Values(
        // Neither the URI nor its parent is registered.
        RefusedCase{"/r/Unknown", 2, RM_INVALID_URI, "Invalid URI /r/Unknown"},
        RefusedCase{"/r/VexoBox/1/2", 2, RM_INVALID_URI, "Invalid URI /r/VexoBox/1/2"},
        RefusedCase{"/R/VexoBox", 2, RM_INVALID_URI, "Invalid URI /R/VexoBox"},
        RefusedCase{"/r/VexoService/Actions/Plain2", 1, RM_INVALID_URI,
                    "Invalid URI /r/VexoService/Actions/Plain2"},
        // Registered for the other method.
        RefusedCase{"/r/VexoService/Actions/Plain", 2, RM_METHOD_NOT_ALLOWED,
                    "Invalid method on URI /r/VexoService/Actions/Plain"},
        RefusedCase{"/r/VexoBoxes/?$top=1", 1, RM_METHOD_NOT_ALLOWED,
                    "Invalid method on URI /r/VexoBoxes"},
        // Below a collection, and below a singleton.
        RefusedCase{"/r/VexoBoxes/1", 2, RM_INVALID_URI, "Invalid URI /r/VexoBoxes/1"},
        RefusedCase{"/r/VexoRoom/1", 2, RM_INVALID_URI, "Invalid URI /r/VexoRoom/1"},
        RefusedCase{"/r/VexoBoxes/1", 1, RM_INVALID_URI, "Invalid URI /r/VexoBoxes/1"},
        // Below an action target.
        RefusedCase{"/r/VexoService/Actions/Plain/1", 2, RM_INVALID_URI,
                    "Invalid URI /r/VexoService/Actions/Plain/1"},
        RefusedCase{"/r/VexoService/Actions/Plain/1", 1, RM_INVALID_URI,
                    "Invalid URI /r/VexoService/Actions/Plain/1"}));

TEST_F(UriResolution, MappingThatCannotBeLoadedIsReported)
{
    mMapping.Remove();
    Request missing("/r/VexoBox");
    EXPECT_EQ(missing.mapper.ParseUri(RM_METHOD_GET), RM_RMF_NOT_PRESENT);
    EXPECT_THAT(missing.mapper.mErrorArgs, IsJson(R"({"p1": ""})"));
    mMapping.Write("{");
    Request malformed("/r/VexoBox");
    EXPECT_EQ(malformed.mapper.ParseUri(RM_METHOD_POST), RM_MALFORMED_JSON);
    EXPECT_THAT(malformed.mapper.mErrorArgs, IsJson(R"({"p1": ""})"));
}

TEST_F(UriResolution, UriWhoseNameIsNoResourceGivesAnEmptyArgument)
{
    mMapping.Write(R"({"VexoA": {"@odata.id": "/r/Other"}})");
    Request resource("/r/Other");
    EXPECT_EQ(resource.mapper.ParseUri(RM_METHOD_GET), RM_RESOURCE_NOT_IN_RMF);
    EXPECT_TRUE(logged(1, "Resource not found in RMF"));
    EXPECT_THAT(resource.mapper.mErrorArgs, IsJson(R"({"p1": ""})"));
    Request instance("/r/Other/1");
    EXPECT_EQ(instance.mapper.ParseUri(RM_METHOD_GET), RM_RESOURCE_NOT_IN_RMF);
    EXPECT_THAT(instance.mapper.mErrorArgs, IsJson(R"({"p1": ""})"));
}

TEST_F(UriResolution, FailedProbeLeavesNoArgument)
{
    Request request("/r/VexoBoxes");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    EXPECT_TRUE(request.mapper.mErrorArgs.empty());
}

TEST_F(UriResolution, GetOfAResourceThatStandsElsewhereIsAccepted)
{
    mMapping.Write(R"({"VexoA": {"@odata.id": "/here/VexoThing"},
                       "VexoThing": {"@odata.id": "/there/VexoThing", "UniqueSelector": "Id",
                                     "mappings": {"C": {}}}})");
    Request resource("/here/VexoThing");
    EXPECT_EQ(resource.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    Request instance("/here/VexoThing/1");
    EXPECT_EQ(instance.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    EXPECT_THAT(support::messagesAtLevel(1),
                ::testing::Each(::testing::StrEq("Resource not found in RMF")));
}

TEST_F(UriResolution, GetOfAResourceWithoutAUriOfItsOwnIsAcceptedAndTold)
{
    mMapping.Write(R"({"VexoA": {"@odata.id": "/here/Thing"},
                       "Thing": {"UniqueSelector": "Id", "mappings": {"C": {}}},
                       "VexoB": {"@odata.id": "/here/Things"},
                       "Things": {"is_collection": true, "mappings": {"VexoA": {}}}})");
    for (const char* uri : {"/here/Thing", "/here/Thing/1", "/here/Things"}) {
        SCOPED_TRACE(uri);
        LogCapture::Reset();
        Request request(uri);
        EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
        EXPECT_EQ(countLogged(1, "GetOdataMedata", "@odata.id metadata is missing in RMF"), 1);
    }
}

TEST_F(UriResolution, PostToATargetThatStandsElsewhereIsInvalid)
{
    mMapping.Write(R"({
        "VexoA": {"@odata.id": "/a", "mappings": {"C": {"Actions": {
            "#S.Run": {"target": "/here/VexoS/Actions/S.Run"}}}}},
        "VexoS": {"@odata.id": "/s", "mappings": {"C": {"Actions": {
            "#S.Run": {"target": "/there/VexoS/Actions/S.Run"}}}}}})");
    Request request("/here/VexoS/Actions/S.Run");
    EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_POST), RM_INVALID_URI);
    EXPECT_TRUE(logged(1, "Invalid URI"));
    EXPECT_TRUE(logged(1, "Expected: /there/VexoS/Actions"));
    EXPECT_TRUE(logged(1, "Base URI: /here/VexoS/Actions"));
    EXPECT_THAT(request.mapper.mErrorArgs, IsJson(R"({"p1": "VexoS"})"));
}

TEST_F(UriResolution, PostToATargetOfAnotherResourceNamesTheMethod)
{
    mMapping.Write(R"({
        "VexoA": {"@odata.id": "/a", "mappings": {"C": {"Actions": {
            "#S.Run": {"target": "/here/VexoS/Actions/S.Run"}}}}},
        "VexoS": {"@odata.id": "/s", "mappings": {"C": {}}}})");
    Request request("/here/VexoS/Actions/S.Run");
    EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_POST), RM_INVALID_URI);
    EXPECT_THAT(request.mapper.mErrorArgs, IsJson(R"({"p1": "Run"})"));
}

TEST_F(UriResolution, BlanksInATargetAreComparedEncoded)
{
    mMapping.Write(R"({
        "VexoA": {"@odata.id": "/a", "mappings": {"C": {"Actions": {
            "#S.Run": {"target": "/my%20site/VexoS/Actions/S.Run"}}}}},
        "VexoS": {"@odata.id": "/s", "mappings": {"C": {"Actions": {
            "#S.Run": {"target": "/my site/VexoS/Actions/S.Run"}}}}}})");
    Request encoded("/my%20site/VexoS/Actions/S.Run");
    EXPECT_EQ(encoded.mapper.ParseUri(RM_METHOD_POST), RM_OK);
    Request plain("/my site/VexoS/Actions/S.Run");
    EXPECT_EQ(plain.mapper.ParseUri(RM_METHOD_POST), RM_INVALID_URI);
    EXPECT_TRUE(logged(1, "Expected: /my%20site/VexoS/Actions"));
}

TEST_F(UriResolution, UriWithoutSegmentsAborts)
{
    for (const char* url : {"", "/", "//", "?$select=Id"}) {
        Request request(url);
        EXPECT_ABORTS("segCount > 0", (void)request.mapper.ParseUri(RM_METHOD_GET));
    }
}

TEST_F(UriResolution, ResourceNamedByTheHostBeforehandAborts)
{
    Request request("/r/VexoBox");
    request.mapper.mOemResourceName = "VexoBox";
    EXPECT_ABORTS("pEntityName != NULL", (void)request.mapper.ParseUri(RM_METHOD_GET));
}

TEST_F(UriResolution, NameThatTheMappingLacksDoesNotHinderResolution)
{
    Request request("/r/VexoBox");
    request.mapper.mOemResourceName = "VexoCrate";
    EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    EXPECT_EQ(request.mapper.mOemResourceName, "VexoBox");
    EXPECT_TRUE(request.mapper.mErrorArgs.empty());
}

TEST_F(UriResolution, ResourceUriGivesItsLastSegment)
{
    Request request("/r/VexoBox/?$select=Id");
    const char* entity = nullptr;
    bool isResource = false;
    EXPECT_EQ(request.mapper.isValidURI(RM_METHOD_GET, &entity, &isResource, "/r"), RM_OK);
    EXPECT_STREQ(entity, "VexoBox");
    EXPECT_TRUE(isResource);
}

TEST_F(UriResolution, ActionTargetGivesTheSegmentTwoBeforeTheLast)
{
    Request request("/r/VexoService/Actions/Plain");
    const char* entity = nullptr;
    bool isResource = false;
    EXPECT_EQ(
        request.mapper.isValidURI(RM_METHOD_POST, &entity, &isResource, "/r/VexoService/Actions"),
        RM_OK);
    EXPECT_STREQ(entity, "VexoService");
    EXPECT_FALSE(isResource);
}

TEST_F(UriResolution, InstanceUriGivesTheSegmentBeforeTheLast)
{
    Request request("/r/VexoBox/7");
    const char* entity = nullptr;
    bool isResource = false;
    EXPECT_EQ(request.mapper.isValidURI(RM_METHOD_GET, &entity, &isResource, "/r/VexoBox"), RM_OK);
    EXPECT_STREQ(entity, "VexoBox");
    EXPECT_FALSE(isResource);
    EXPECT_EQ(request.mapper.mInstanceId, "7");
}

TEST_F(UriResolution, PostBelowAUriThatAllowsNothingHasNoEntity)
{
    Request request("/r/Closed/1");
    ASSERT_EQ(request.mapper.checkResource("VexoBox", true), RM_OK);
    request.mapper.mOemResourceName = "";
    URIObj["/r/Closed"] = 0;
    const char* entity = nullptr;
    bool isResource = false;
    EXPECT_EQ(request.mapper.isValidURI(RM_METHOD_POST, &entity, &isResource, "/r/Closed"), RM_OK);
    EXPECT_EQ(entity, nullptr);
    EXPECT_ABORTS("pEntityName != NULL", (void)request.mapper.ParseUri(RM_METHOD_POST));
    EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_INVALID_URI);
}

class ActionTarget : public UriResolution
{
protected:
    // Looks up a member of the action that the URL names.
    static std::string lookUp(Request& request, const std::string& key)
    {
        EXPECT_EQ(request.mapper.checkResource("VexoService", false), RM_OK);
        std::string target = "before";
        EXPECT_EQ(request.mapper.GetTarget(key, target, request.uri.GetSegmentCount()), 1);
        return target;
    }
};

TEST_F(ActionTarget, IsLookedUpByTheLastSegment)
{
    Request request("/x/XCIM_Service.Run.Fast");
    EXPECT_EQ(lookUp(request, "target"), "/r/VexoService/Actions/XCIM_Service.Run.Fast");
    EXPECT_EQ(request.mapper.mCimMethodName, "Run.Fast");
    EXPECT_TRUE(logged(4, "Target Key  #XCIM_Service.Run.Fast"));
    EXPECT_TRUE(logged(4, " GetTarget:Method name Run.Fast"));
}

TEST_F(ActionTarget, SegmentWithoutPointIsTheMethodName)
{
    Request request("/x/Plain");
    EXPECT_EQ(lookUp(request, "target"), "/r/VexoService/Actions/Plain");
    EXPECT_EQ(request.mapper.mCimMethodName, "Plain");
}

TEST_F(ActionTarget, MissingActionOrMemberLeavesTheTarget)
{
    Request unknown("/x/XCIM_Service.Walk");
    EXPECT_EQ(lookUp(unknown, "target"), "before");
    EXPECT_EQ(unknown.mapper.mCimMethodName, "Walk");
    Request known("/x/Plain");
    EXPECT_EQ(lookUp(known, "title"), "before");
}

TEST_F(ActionTarget, NumberIsReadAsText)
{
    Request request("/x/Plain");
    EXPECT_EQ(lookUp(request, "limit"), "5");
}

TEST_F(UriResolution, MetadataOfACollectionIsItsOwnOrItsMembers)
{
    Request request("/r/VexoBoxes");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    std::string value;
    EXPECT_TRUE(request.mapper.GetOdataMedata("Name", value, false));
    EXPECT_EQ(value, "All Boxes");
    EXPECT_TRUE(request.mapper.GetOdataMedata("Name", value, true));
    EXPECT_EQ(value, "One Box");
}

TEST_F(UriResolution, MetadataOfAnInstanceIsItsOwn)
{
    Request request("/r/VexoBox/1");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    std::string value;
    EXPECT_TRUE(request.mapper.GetOdataMedata("Name", value, false));
    EXPECT_EQ(value, "One Box");
}

TEST_F(UriResolution, MissingMetadataIsLoggedAndLeavesTheValue)
{
    Request request("/r/VexoBox/1");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    std::string value = "before";
    EXPECT_FALSE(request.mapper.GetOdataMedata("Description", value, false));
    EXPECT_EQ(value, "before");
    EXPECT_TRUE(logged(1, "Description metadata is missing in RMF"));
}

TEST_F(UriResolution, ClassIsTheFirstOfTheMappings)
{
    Request request("/");
    request.mapper.mResourceObj = json(R"({"mappings": {"XCIM_B": {}, "XCIM_A": {}}})");
    EXPECT_EQ(request.mapper.GetCimClass(), "XCIM_A");
    EXPECT_EQ(request.mapper.mCimClass, "XCIM_A");
}

TEST_F(UriResolution, ClassOfNestedCollectionsIsTheInnermostMembers)
{
    mMapping.Write(R"({
        "VexoRacks": {"is_collection": true, "mappings": {"VexoZ": {}, "VexoRackParts": {}}},
        "VexoRackParts": {"is_collection": true, "mappings": {"VexoPart": {}}},
        "VexoPart": {"Name": "Part", "mappings": {"XCIM_Part": {}}}})");
    Request request("/");
    ASSERT_EQ(request.mapper.checkResource("VexoRacks", false), RM_OK);
    EXPECT_EQ(request.mapper.mCimClass, "XCIM_Part");
    EXPECT_EQ(request.mapper.mResourceObj["Name"].asString(), "Part");
    EXPECT_TRUE(request.mapper.mIsCollection);
    EXPECT_EQ(request.mapper.mOemResourceName, "VexoRacks");
}

TEST_F(UriResolution, CollectionsThatContainEachOtherDoNotHoldUpResolution)
{
    mMapping.Write(R"({
        "VexoA": {"@odata.id": "/r/VexoA", "is_collection": true, "mappings": {"VexoB": {}}},
        "VexoB": {"@odata.id": "/r/VexoB", "is_collection": true, "mappings": {"VexoA": {}}}})");
    Request request("/r/VexoA");
    EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    EXPECT_EQ(request.mapper.mOemResourceName, "VexoA");
}

TEST_F(UriResolution, PropertiesOfTheClassAreListedSorted)
{
    Request request("/");
    request.mapper.mResourceObj =
        json(R"({"mappings": {"XCIM_A": {"properties": {"b": {}, "a": {}, "B": {}}}}})");
    Json::Value names = json(R"(["old"])");
    request.mapper.GetCimClassProperties(names);
    EXPECT_THAT(names, IsJson(R"(["B", "a", "b"])"));
    EXPECT_EQ(request.mapper.mCimClass, "XCIM_A");
    EXPECT_TRUE(logged(3, "Entering ResourceMapper::GetCimClassPropperties()"));
    EXPECT_TRUE(logged(3, "Leaving ResourceMapper::GetCimClassPropperties()"));
}

TEST_F(UriResolution, ClassWithoutPropertiesListsNone)
{
    Request request("/");
    request.mapper.mResourceObj = json(R"({"mappings": {"XCIM_A": {}}})");
    Json::Value names = json(R"(["old"])");
    request.mapper.GetCimClassProperties(names);
    EXPECT_TRUE(names.empty());
}

TEST_F(UriResolution, BlanksAreReplacedInACopy)
{
    Request request("/");
    std::string text = " a b%c+\t ";
    EXPECT_EQ(request.mapper.ReplaceSpaces(text), "%20a%20b%c+\t%20");
    EXPECT_EQ(text, " a b%c+\t ");
    std::string empty;
    EXPECT_EQ(request.mapper.ReplaceSpaces(empty), "");
}

} // namespace
