// JSON of any type can be handed to the public operations (outputs of CIM methods, payloads): none
// of them throws, whatever it makes of it.
#include "LibraryTest.h"

namespace {

using support::json;
using support::Request;

constexpr const char* kValues[] = {
    "null",
    "true",
    "5",
    "-1.5",
    "\"text\"",
    "[]",
    "{}",
    "[1, \"Actions/x\", {}, [], null]",
    R"({"Key": {"x": 1}, "Links": 5, "Actions": [1], "Members": {}, "error": 1,
        "@Message.ExtendedInfo": 5, "p1": {}, "0": 1})",
    R"(["a", "b", "c", "d", "e"])"};

class OddArguments : public support::LibraryTest
{
protected:
    OddArguments()
    {
        mMapping.Write(R"({
            "VexoBox": {"@odata.id": "/r/VexoBox", "UniqueSelector": "Key", "Links": {"A": {}},
                "mappings": {"XCIM_Box": {"properties": {"Size": {}, "Key": {}},
                                          "Actions": {"#A": {"target": "/a"}}}}},
            "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "is_collection": true,
                          "mappings": {"VexoBox": {}}}})");
    }

    // Calls operation(mapper, value) with every value, for an instance and for a collection.
    template <typename Operation>
    static void withEach(Operation operation)
    {
        for (const char* text : kValues) {
            with("/r/VexoBox/1", text, operation);
            with("/r/VexoBoxes", text, operation);
        }
    }

    template <typename Operation>
    static void with(const char* url, const char* text, Operation operation)
    {
        SCOPED_TRACE(std::string(url) + " with " + text);
        Request request(url);
        ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
        Json::Value value = json(text);
        EXPECT_NO_THROW(operation(request.mapper, value));
    }
};

TEST_F(OddArguments, DataToShape)
{
    withEach([](ResourceMapper& mapper, Json::Value& value) {
        (void)mapper.ApplyFilterToGetInstance(value, Json::Value(), false);
    });
    withEach([](ResourceMapper& mapper, Json::Value& value) {
        Json::Value data = json(R"({"Size": 1, "Key": "1"})");
        (void)mapper.ApplyFilterToGetInstance(data, value, false);
        (void)mapper.ApplyFilterToGetInstance(data, value, true);
    });
}

TEST_F(OddArguments, ObjectsToAnnotate)
{
    const auto objectFrom = [](const Json::Value& value) {
        Json::Value object = value.isObject() ? value : Json::Value(Json::objectValue);
        object["Key"] = value;
        object["Name"] = value;
        return object;
    };
    withEach([&](ResourceMapper& mapper, Json::Value& value) {
        Json::Value object = objectFrom(value);
        (void)mapper.AddOdataMetaData(object, true, Json::Value(), true);
        (void)mapper.AddOdataMetaData(object, true, value, false);
        mapper.SetLinks(object, "1");
        mapper.AddActions(object);
    });
}

TEST_F(OddArguments, ActionsToSelect)
{
    withEach([](ResourceMapper& mapper, Json::Value& value) {
        Json::Value object = json(R"({"Actions": {"#A": {}}})");
        (void)mapper.applyFilterOnAction(object, value);
        Json::Value selectList = json(R"(["Actions", "Actions/#A", "Actions/#A/target"])");
        (void)mapper.applyFilterOnAction(value, selectList);
    });
}

TEST_F(OddArguments, SelectLists)
{
    withEach([](ResourceMapper& mapper, Json::Value& value) {
        Json::Value matched;
        bool selectAll = false;
        (void)mapper.MatchQueryParamAndPropList(json(R"(["Size"])"), value, matched, selectAll);
        (void)mapper.MatchQueryParamAndPropList(value, json(R"(["Size"])"), matched, selectAll);
    });
}

TEST_F(OddArguments, Responses)
{
    withEach([](ResourceMapper& mapper, Json::Value& value) { mapper.SendResponse(value); });
    for (unsigned char kind = 0; kind <= 2; ++kind) {
        withEach([kind](ResourceMapper& mapper, Json::Value& value) {
            mapper.SendExtendedMessageForPost("SYS446", value, kind);
        });
    }
}

TEST_F(OddArguments, ErrorArguments)
{
    withEach([](ResourceMapper& mapper, Json::Value& value) {
        mapper.SendExtendedErrorMessagesForPost("SYS405", value);
    });
    withEach([](ResourceMapper& mapper, Json::Value& value) {
        Json::Value ids = json(R"(["SYS405", "SYS446"])");
        mapper.SendMultipleExtendedErrorMessagesForPost(ids, value);
        mapper.SendMultipleExtendedErrorMessagesForPost(value, ids);
    });
    withEach([](ResourceMapper& mapper, Json::Value& value) {
        mapper.mErrorArgs = Json::Value();
        mapper.mErrorArgs["p1"] = value;
        mapper.SendExtendedErrorResponse(RM_PROPERTY_UNKNOWN);
    });
}

TEST_F(OddArguments, MappingEntries)
{
    ASSERT_EQ(mCache.Open(), 0);
    withEach([](ResourceMapper& mapper, Json::Value& value) {
        Json::Value out;
        SQLInterface().getLinksFromAssociation(value, out, "1");
        Json::Value entry;
        entry["Links"] = value;
        SQLInterface().getLinksFromAssociation(entry, out, "1");
        mapper.mResourceObj = value;
        (void)mapper.GetCimClass();
        (void)mapper.IsCached();
        (void)mapper.GetSelectQuery("XCIM_Box", 0, 0, "1", "");
        mapper.PrintRMFData();
    });
}

} // namespace
