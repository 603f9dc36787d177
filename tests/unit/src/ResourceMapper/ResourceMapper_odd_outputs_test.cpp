// What a public operation writes into may hold JSON of any type: none throws, and what cannot be
// written into is replaced.
#include "LiveTest.h"

namespace {

using support::CimValue;
using support::IsJson;
using support::json;
using support::Request;
using support::scriptedCim;

// No objects, and so nothing that could stay.
constexpr const char* kReplaced[] = {"true", "5", "-1.5", "\"text\"", "[]", "[1, {}, \"x\"]"};

constexpr const char* kOddMapping = R"({
    "VexoBox": {"@odata.id": "/r/VexoBox", "Name": "Box", "UniqueSelector": "Key",
        "Links": {"ComputerSystem": {"@odata.id": "/s"}, "VexoPSNumericSensorCollection": {}},
        "mappings": {"XCIM_Box": {"is_cached": true, "key_properties": ["Key"],
            "properties": {"Key": {}, "Size": {"cim_type": "uint32"},
                           "Modes": {"value_mapping": {"1": "One"}}, "Codes": {}},
            "Actions": {"#A": {"target": "/a"}}}}},
    "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "is_collection": true, "supports_top_skip": true,
                  "supports_nextlink": true, "mappings": {"VexoBox": {}}},
    "Rack": {"instances": {"VexoBox": {"KeyRegex": "", "QueryClause": ""}}}})";

class OddOutputs : public support::LiveTest
{
protected:
    OddOutputs() { mMapping.Write(kOddMapping); }

    void SetUp() override
    {
        openCache("create table Tbl_CMPIReady (ClassName);"
                  "insert into Tbl_CMPIReady values ('XCIM_Box');"
                  "create table Tbl_XCIM_Box (Key, Size, Modes, Codes);"
                  "insert into Tbl_XCIM_Box values ('PSU.Slot.1', 7, 1, NULL)");
        scriptedCim().instances = {
            {{"Key", CimValue::Text("PSU.Slot.1")},
             {"Size", CimValue::Number(CMPI_uint32, 7)},
             {"Modes", CimValue::Array(CMPI_uint8, {CimValue::Number(CMPI_uint8, 1)})},
             {"Codes", CimValue::Array(CMPI_uint8, {CimValue::Number(CMPI_uint8, 4)})}}};
    }

    // operation(mapper, out) of a resource that is found, with out as it was before.
    template <typename Operation>
    Json::Value outcome(const std::string& url, Json::Value out, Operation operation,
                        bool isZmqCall = false)
    {
        Request request(url, isZmqCall, &mSession);
        EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
        EXPECT_NO_THROW(operation(request.mapper, out));
        return out;
    }

    // Expects that it writes the same into anything that is no object as into null, and replaces
    // members that are of another type.
    template <typename Operation>
    void expectReplaced(const std::string& url, Operation operation, bool isZmqCall = false)
    {
        const Json::Value wanted = outcome(url, Json::Value(), operation, isZmqCall);
        ASSERT_FALSE(wanted.empty());
        for (const char* text : kReplaced) {
            SCOPED_TRACE(url + " into " + text);
            EXPECT_EQ(outcome(url, json(text), operation, isZmqCall), wanted);
            Json::Value odd = wanted;
            for (Json::Value& member : odd) {
                member = json(text);
            }
            (void)outcome(url, odd, operation, isZmqCall);
        }
    }
};

TEST_F(OddOutputs, OfCachedReadsAreReplaced)
{
    expectReplaced("/r/VexoBox/PSU.Slot.1", [](ResourceMapper& mapper, Json::Value& out) {
        EXPECT_EQ(mapper.GetInstance(out, true), RM_OK);
    });
    expectReplaced("/r/VexoBoxes", [](ResourceMapper& mapper, Json::Value& out) {
        EXPECT_EQ(mapper.GetCollection(out, true), RM_OK);
    });
}

TEST_F(OddOutputs, OfAnEmptyCollectionAreReplaced)
{
    mCache.Run("delete from Tbl_XCIM_Box");
    expectReplaced("/r/VexoBoxes", [](ResourceMapper& mapper, Json::Value& out) {
        EXPECT_EQ(mapper.GetCollection(out, true), RM_OK);
    });
    scriptedCim().instances.clear();
    expectReplaced("/r/VexoBoxes", [](ResourceMapper& mapper, Json::Value& out) {
        EXPECT_EQ(mapper.GetCollection(out), RM_OK);
    });
}

TEST_F(OddOutputs, OfLiveReadsAreReplaced)
{
    expectReplaced("/r/VexoBox/PSU.Slot.1", [](ResourceMapper& mapper, Json::Value& out) {
        EXPECT_EQ(mapper.GetInstance(out), RM_OK);
    });
    expectReplaced("/r/VexoBoxes", [](ResourceMapper& mapper, Json::Value& out) {
        EXPECT_EQ(mapper.GetCollection(out), RM_OK);
    });
}

TEST_F(OddOutputs, OfQueriesAreReplaced)
{
    const bool isZmqCall = true;
    expectReplaced(
        "/r/VexoBox/1",
        [](ResourceMapper& mapper, Json::Value& out) { mapper.QueryInstances(out, "select 1"); },
        isZmqCall);
    expectReplaced(
        "/r/VexoBox/1",
        [](ResourceMapper& mapper, Json::Value& out) { mapper.QueryInstances(out, "", true); },
        isZmqCall);
}

TEST_F(OddOutputs, OfEmbeddedDataAreReplaced)
{
    expectReplaced(
        "/r/VexoBox/1",
        [](ResourceMapper& mapper, Json::Value& out) {
            EXPECT_EQ(mapper.GetMappedResources("Rack", "PSU.Slot.1", out), RM_OK);
        },
        true);
}

TEST_F(OddOutputs, OfAnnotationsAreReplaced)
{
    expectReplaced("/r/VexoBox/1", [](ResourceMapper& mapper, Json::Value& out) {
        (void)mapper.AddOdataMetaData(out, true, Json::Value(), true);
    });
    expectReplaced("/r/VexoBox/1", [](ResourceMapper& mapper, Json::Value& out) {
        Json::Value selectList;
        (void)mapper.AddOdataMetaData(nullptr, out, selectList);
    });
    expectReplaced("/r/VexoBoxes", [](ResourceMapper& mapper, Json::Value& out) {
        EXPECT_EQ(mapper.AddOdataMetaData(out), RM_OK);
    });
    expectReplaced("/r/VexoBox/1", [](ResourceMapper& mapper, Json::Value& out) {
        mapper.SetLinks(out, "PSU.Slot.1");
    });
    expectReplaced("/r/VexoBox/1",
                   [](ResourceMapper& mapper, Json::Value& out) { mapper.AddActions(out); });
}

TEST_F(OddOutputs, OfLinksAreReplaced)
{
    expectReplaced("/r/VexoBox/1", [](ResourceMapper& mapper, Json::Value& out) {
        mapper.mSqlInterface.getLinksFromAssociation(mapper.mResourceObj, out, "PSU.Slot.1");
    });
}

TEST_F(OddOutputs, OfConversionsAreReplaced)
{
    expectReplaced("/r/VexoBox/1", [](ResourceMapper& mapper, Json::Value& out) {
        Json::Value entry = mapper.mResourceObj;
        mapper.mSqlInterface.PopulateSQLIntegerValues("Size", entry, "XCIM_Box", "7", out);
    });
    expectReplaced("/r/VexoBox/1", [](ResourceMapper& mapper, Json::Value& out) {
        std::string name = "Modes";
        CMPIData data = {};
        data.type = CMPI_uint8;
        data.value.uint8 = 1;
        mapper.DoPropertyValueMap(name.data(), data, out);
    });
}

TEST_F(OddOutputs, ThatAreListsAreReplaced)
{
    for (const char* text : {"5", "\"text\"", "{}", R"({"0": 1})"}) {
        SCOPED_TRACE(text);
        const auto selected = [](ResourceMapper& mapper, Json::Value& list) {
            EXPECT_EQ(mapper.isQueryOptionPresent(OL_OPTION_SELECT, list), RM_OK);
        };
        EXPECT_THAT(outcome("/r/VexoBox/1?$select=Size", json(text), selected),
                    IsJson(R"(["Size"])"));
        const auto matched = [](ResourceMapper& mapper, Json::Value& list) {
            bool all = false;
            EXPECT_EQ(mapper.MatchQueryParamAndPropList(json(R"(["Size"])"), json(R"(["Size"])"),
                                                        list, all),
                      RM_OK);
        };
        EXPECT_THAT(outcome("/r/VexoBox/1", json(text), matched), IsJson(R"(["Size"])"));
    }
}

TEST_F(OddOutputs, WhatAnErrorsArgumentsHeldIsReplaced)
{
    for (const char* text : kReplaced) {
        SCOPED_TRACE(text);
        Request unknown("/r/VexoNone", false, &mSession);
        unknown.mapper.mErrorArgs = json(text);
        EXPECT_EQ(unknown.mapper.checkResource("VexoNone", false), RM_RESOURCE_NOT_IN_RMF);
        EXPECT_THAT(unknown.mapper.mErrorArgs, IsJson(R"({"p1": "VexoNone"})"));

        Request found("/r/VexoBoxes?$top=0", false, &mSession);
        found.mapper.mErrorArgs = json(text);
        EXPECT_EQ(found.mapper.ParseUri(RM_METHOD_GET), RM_OK);
        Json::Value body;
        found.mapper.mErrorArgs = json(text);
        EXPECT_EQ(found.mapper.GetCollection(body, true), RM_QUERY_PARAM_OUT_OF_RANGE);
        EXPECT_EQ(found.mapper.mErrorArgs.getMemberNames(),
                  (std::vector<std::string>{"p1", "p2", "p3"}));
        EXPECT_EQ(found.mapper.mErrorArgs["p3"].asString(), "(1-1)");
    }
}

TEST_F(OddOutputs, WhatASelectionHeldIsReplaced)
{
    for (const char* text : kReplaced) {
        SCOPED_TRACE(text);
        Request request("/r/VexoBox/PSU.Slot.1?$select=Links/ComputerSystem", false, &mSession);
        ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
        request.mapper.mSelectorSet = json(text);
        request.mapper.mSelectedLinks = json(R"({"a": 1})");
        Json::Value body;
        EXPECT_EQ(request.mapper.GetInstance(body, true), RM_OK);
        EXPECT_THAT(request.mapper.mSelectorSet, IsJson(R"({"Key": "PSU.Slot.1"})"));
        EXPECT_THAT(request.mapper.mSelectedLinks, IsJson(R"(["ComputerSystem"])"));
    }
}

TEST_F(OddOutputs, SelectListThatIsAnObjectIsReadAsItsValues)
{
    Request request("/r/VexoBox/1");
    ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    Json::Value data = json(R"({"Size": 1, "Key": "1"})");
    EXPECT_EQ(request.mapper.ApplyFilterToGetInstance(data, json(R"({"0": "*"})"), false), RM_OK);
    EXPECT_EQ(data["Size"], 1);
}

} // namespace
