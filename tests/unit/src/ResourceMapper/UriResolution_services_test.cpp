#include "LibraryTest.h"

namespace {

using support::countLogged;
using support::IsJson;
using support::Request;

constexpr const char* kServiceMapping = R"({
    "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "is_collection": true, "mappings": {"VexoBox": {}}},
    "VexoBox": {"@odata.id": "/r/VexoBox", "UniqueSelector": "Id", "mappings": {"XCIM_Box": {}}},
    "VexoService": {
        "@odata.id": "/r/VexoService", "@odata.type": "#Service", "@odata.context": "/ctx",
        "Name": "Service", "Description": "A service", "Link_Header": "</schema>",
        "allowed_operations": ["GET", "POST"],
        "mappings": {"XCIM_Service": {"properties": {"State": {}}, "Actions": {
            "#S.Run": {"target": "/r/VexoService/Actions/S.Run", "title": "Run"}}}}}
})";

class ServiceUri : public support::LibraryTest
{
protected:
    ServiceUri() { mMapping.Write(kServiceMapping); }

    struct Answer
    {
        bool isService;
        _ResourceMapperError result;
        Json::Value body;
    };

    // The result starts as a code that the operation never gives.
    static Answer ask(Request& request)
    {
        Answer answer{false, RM_DATA_NOT_CACHED, Json::Value()};
        EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
        answer.isService = request.mapper.IsServiceURI(answer.body, answer.result);
        return answer;
    }

    static Answer ask(const std::string& url)
    {
        Request request(url);
        return ask(request);
    }
};

TEST_F(ServiceUri, SingletonIsAnsweredFromTheMapping)
{
    Request request("/r/VexoService");
    const Answer answer = ask(request);
    EXPECT_TRUE(answer.isService);
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.body, IsJson(R"({
        "@odata.context": "/ctx", "@odata.id": "/r/VexoService", "@odata.type": "#Service",
        "Actions": {"#S.Run": {"target": "/r/VexoService/Actions/S.Run", "title": "Run"}},
        "Description": "A service", "Id": "VexoService", "Name": "Service"})"));
    EXPECT_EQ(request.Header("Allow"), "GET,POST");
    EXPECT_EQ(request.Header("Link"), "</schema>");
    EXPECT_EQ(countLogged(3, "IsServiceURI", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "IsServiceURI", "Leaving"), 1);
}

TEST_F(ServiceUri, SelectNarrowsIt)
{
    EXPECT_THAT(ask("/r/VexoService?$select=Name").body, IsJson(R"({
        "@odata.context": "/ctx", "@odata.id": "/r/VexoService", "@odata.type": "#Service",
        "Actions": {"#S.Run": {"target": "/r/VexoService/Actions/S.Run", "title": "Run"}},
        "Name": "Service"})"));
    EXPECT_THAT(ask("/r/VexoService?$select=Actions/%23S.Run/title").body["Actions"],
                IsJson(R"({"#S.Run": {"title": "Run"}})"));
}

TEST_F(ServiceUri, PropertyCannotBeSelected)
{
    Request request("/r/VexoService?$select=State");
    const Answer answer = ask(request);
    EXPECT_TRUE(answer.isService);
    EXPECT_EQ(answer.result, RM_PROPERTY_UNKNOWN);
    EXPECT_EQ(request.mapper.mErrorArgs["p1"].asString(), "State");
}

TEST_F(ServiceUri, UnknownActionCannotBeSelected)
{
    Request request("/r/VexoService?$select=Actions/%23S.Walk");
    const Answer answer = ask(request);
    EXPECT_EQ(answer.result, RM_PROPERTY_UNKNOWN);
    EXPECT_EQ(request.mapper.mErrorArgs["p1"].asString(), "Actions/#S.Walk");
}

TEST_F(ServiceUri, ExpandAndFilterAreNotSupported)
{
    for (const char* url : {"/r/VexoService?$expand=*", "/r/VexoService?$filter=a"}) {
        const Answer answer = ask(url);
        EXPECT_TRUE(answer.isService) << url;
        EXPECT_EQ(answer.result, RM_QUERY_NOT_SUPPORTED) << url;
    }
}

TEST_F(ServiceUri, SelectThatCannotBeReadIsAnInternalError)
{
    const Answer answer = ask("/r/VexoService?$select=" + std::string(256, 'a'));
    EXPECT_TRUE(answer.isService);
    EXPECT_EQ(answer.result, RM_INTERNAL_ERROR);
}

TEST_F(ServiceUri, CollectionsAndInstancesAreLeftToOthers)
{
    for (const char* url : {"/r/VexoBoxes", "/r/VexoBox", "/r/VexoBox/1"}) {
        const Answer answer = ask(url);
        EXPECT_FALSE(answer.isService) << url;
        EXPECT_EQ(answer.result, RM_DATA_NOT_CACHED) << url;
        EXPECT_TRUE(answer.body.isNull()) << url;
    }
}

} // namespace
