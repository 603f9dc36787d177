// What a worker makes of the resources of a service file: values of parts, and what it says of
// those that are not there.
#include "compose/compose_handler.h"
#include "service_file/service_file.h"
#include "worker/request_handler.h"

#include <ExtendedErrorInfoHandling.h>
#include <JsonText.h>
#include <ResourceMapper.h>
#include <TempDirectory.h>
#include <gmock/gmock.h>
#include <sqlite3.h>

#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace {

using support::IsJson;
using support::json;

constexpr const char* kPartsMapping = R"({
    "VexoPart": {"@odata.id": "/r/VexoPart", "UniqueSelector": "Key", "@odata.type": "#VexoPart.v1_0_0.VexoPart",
                 "mappings": {"XCIM_Part": {"is_cached": true, "key_properties": ["Key"], "properties": {
                     "Text": {"cim_type": "string"}, "Number": {"cim_type": "uint32"}, "IsOn": {"cim_type": "boolean"},
                     "Health": {"cim_type": "uint16", "value_mapping": {"5": "Good", "10": "Poor"}}}}}},
    "VexoParts": {"@odata.id": "/r/VexoParts", "@odata.type": "#VexoParts.VexoParts", "is_collection": true,
                  "supports_nextlink": true, "supports_top_skip": true, "mappings": {"VexoPart": {}}},
    "VexoLate": {"@odata.id": "/r/VexoLate", "UniqueSelector": "Key",
                 "mappings": {"XCIM_Late": {"is_cached": true, "properties": {"Text": {"cim_type": "string"}}}}},
    "VexoLive": {"@odata.id": "/r/VexoLive", "UniqueSelector": "Key",
                 "mappings": {"XCIM_Live": {"properties": {"Text": {"cim_type": "string"}}}}},
    "Rack": {"instances": {"VexoPart": {"KeyRegex": "", "QueryClause": ""}}},
    "Rack 2": {"instances": {}}})";

class ComposedAnswer : public testing::Test
{
protected:
    void SetUp() override
    {
        ExtendedErrorInfoHandling::SetRegistryDirectory(REGISTRY_DIRECTORY);
        mRmfPath = std::exchange(ResourceMapper::RmfPath, mDirectory.File("mapping.json"));
        mCachePath = std::exchange(SQLInterface::DataCachePath, mDirectory.File("cache.db"));
        std::ofstream(ResourceMapper::RmfPath) << kPartsMapping;
        sqlite3* handle = nullptr;
        ASSERT_EQ(sqlite3_open(SQLInterface::DataCachePath.c_str(), &handle), SQLITE_OK);
        const std::unique_ptr<sqlite3, int (*)(sqlite3*)> writer(handle, sqlite3_close);
        ASSERT_EQ(sqlite3_exec(handle,
                               "create table Tbl_CMPIReady (ClassName); insert into Tbl_CMPIReady "
                               "values ('XCIM_Part');"
                               "create table Tbl_XCIM_Part (Key, Text, Number, IsOn, Health);"
                               "insert into Tbl_XCIM_Part values ('P.1', 'one', 1500, 1, 5), "
                               "('P.2', 'two', 250, 0, 10),"
                               "('P.3', null, null, null, null);",
                               nullptr, nullptr, nullptr),
                  SQLITE_OK);
    }

    void TearDown() override
    {
        sqlite3_close_v2(dbhandle);
        dbhandle = nullptr;
        ResourceMapper::RmfFileLoaded = false;
        ResourceMapper::RmfObj = Json::Value();
        ResourceMapper::RmfPath = mRmfPath;
        SQLInterface::DataCachePath = mCachePath;
    }

    // The answer to a request for one chassis with these members.
    std::optional<httpd::Response> answer(const std::string& members, bool mayReadLive = false)
    {
        mOwn.file = host::service_file::readServiceFile(
            json(R"({"/redfish/v1/Chassis/A": {"@odata.type": "#Chassis.v1_14_0.Chassis", )" +
                 members + "}}"),
            json(kPartsMapping));
        return host::handleRequest(host::ComposeRequest{{"/redfish/v1/Chassis/A", mayReadLive}},
                                   mSources);
    }

    Json::Value bodyOf(const std::string& members)
    {
        const auto response = answer(members);
        EXPECT_TRUE(response && response->status == 200U) << members;
        return response ? json(response->body) : Json::Value();
    }

    Json::Value valueOf(const std::string& source) { return bodyOf("\"A\": " + source)["A"]; }

    support::TempDirectory mDirectory;
    std::string mRmfPath;
    std::string mCachePath;
    host::CacheNotice mNotice;
    host::service_file::ServiceResources mOwn;
    host::Sources mSources{mNotice, mOwn};
};

TEST_F(ComposedAnswer, HasTheValuesOfItsParts)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"({"from": "/r/VexoPart/P.1", "property": "Text"})", R"("one")"},
        {R"({"from": "/r/VexoPart/P.1", "property": "Number"})", "1500"},
        {R"({"from": "/r/VexoPart/P.1", "property": "Number", "divide": 1000})", "1.5"},
        {R"({"from": "/r/VexoPart/P.1", "property": "Number", "divide": 7})", "214.286"},
        {R"({"from": "/r/VexoPart/P.1", "property": "Text", "divide": 1000})", R"("one")"},
        {R"({"from": "/r/VexoPart/P.1", "property": "Number", "values": {"1500": "many"}})",
         R"("many")"},
        {R"({"from": "/r/VexoPart/P.1", "property": "IsOn", "values": {"true": "On"}})", R"("On")"},
        {R"({"from": "/r/VexoPart/P.2", "property": "IsOn", "values": {"true": "On"}})", "null"},
        {R"({"from": "/r/VexoPart/P.1", "property": "Health", "values": {"Good": {"a": [1]}}})",
         R"({"a": [1]})"},
        {R"({"from": "/r/VexoPart/P.1", "property": "None"})", "null"},
        {R"({"from": "/r/VexoPart/P.1", "property": "Text/None"})", "null"},
        {R"({"from": "/r/VexoPart/P.3", "property": "Text", "values": {"one": "1"}})", "null"},
        {R"({"from": "/r/VexoParts", "property": "Members@odata.count"})", "3"},
        {R"({"count": "/r/VexoParts"})", "3"},
        {R"({"count": ["/r/VexoParts", "/r/VexoPart/P.1"]})", "4"},
        {R"({"sum": "/r/VexoParts", "property": "Number"})", "1750"},
        {R"({"sum": ["/r/VexoParts", "/r/VexoPart/P.2"], "property": "Number", "divide": 1000})",
         "2"},
        {R"({"sum": "/r/VexoParts", "property": "Text"})", "0"},
        {R"({"worst": "/r/VexoParts", "property": "Health", "values": {"Good": "OK", "Poor": "Warning"}})",
         R"("Warning")"},
        {R"({"worst": "/r/VexoParts", "property": "Health", "values": {"Good": "Critical"}})",
         R"("Critical")"},
        {R"({"worst": "/r/VexoParts", "property": "Health"})", "null"}, // none of Redfish's words
        {R"({"from": "/r/VexoPart/P.1"})", "null"},
    };
    for (const auto& [source, value] : cases) {
        EXPECT_THAT(valueOf(source), IsJson(value)) << source;
    }
}

TEST_F(ComposedAnswer, HasWhatAContainerEmbedsWithItsType)
{
    ASSERT_THAT(valueOf(R"({"count": "/r/VexoParts"})"), IsJson("3")); // loads the mapping
    const Json::Value value = valueOf(R"({"embed": "Rack", "id": "P.1"})");
    EXPECT_EQ(value["@odata.type"].asString(), "#VexoRack.v1_0_0.VexoRack");
    EXPECT_EQ(value["VexoPart"]["Text"].asString(), "one");
    EXPECT_THAT(valueOf(R"({"embed": "Rack", "id": "none"})"),
                IsJson(R"({"@odata.type": "#VexoRack.v1_0_0.VexoRack"})"));
    EXPECT_THAT(valueOf(R"({"embed": "Rack 2", "id": "none"})"), IsJson("{}")); // no type's name
}

TEST_F(ComposedAnswer, FillsSourcesHoweverDeepAndLeavesTheRest)
{
    const Json::Value body = bodyOf(
        R"("A": [{"B": {"from": "/r/VexoPart/P.1", "property": "Text"}, "C": null}, 5, []])");
    EXPECT_THAT(body["A"], IsJson(R"([{"B": "one", "C": null}, 5, []])"));
    EXPECT_FALSE(body.isMember("Status"));
}

TEST_F(ComposedAnswer, SaysWhichValuesAreMissing)
{
    const Json::Value body = bodyOf(R"("A": {"from": "/r/VexoPart/P.1", "property": "Text"},
        "B": [{"from": "/r/VexoPart/none", "property": "Text"}, {"count": "/r/Unknown"}],
        "Status": {"State": "Enabled", "Health": {"worst": ["/r/VexoParts", "/r/VexoLate/L"], "property": "Health"}})");
    EXPECT_THAT(body["B"], IsJson("[null, null]"));
    EXPECT_EQ(body["Status"]["State"].asString(), "Enabled");
    EXPECT_TRUE(body["Status"]["Health"].isNull());
    std::vector<std::string> told;
    for (const Json::Value& message : body["Status"]["@Message.ExtendedInfo"]) {
        told.push_back(message["RelatedProperties"][0].asString() + " " +
                       message["MessageId"].asString());
    }
    EXPECT_THAT(told,
                testing::ElementsAre("#/B/0 Base.1.18.ResourceMissingAtURI",
                                     "#/B/1 Base.1.18.ResourceMissingAtURI",
                                     "#/Status/Health Base.1.18.ServiceTemporarilyUnavailable"));
}

TEST_F(ComposedAnswer, SaysInWhichStateItIsWhereNothingElseDoes)
{
    const auto stateOf = [this](const std::string& members) {
        return bodyOf(members)["Status"]["State"].asString();
    };
    const std::string gone = R"("A": {"from": "/r/VexoPart/none", "property": "Text"})";
    const std::string late = R"("B": {"from": "/r/VexoLate/L", "property": "Text"})";
    const std::string there = R"("C": {"from": "/r/VexoPart/P.1", "property": "Text"})";
    EXPECT_EQ(stateOf(gone), "Absent");
    EXPECT_EQ(stateOf(gone + R"(, "Status": {"State": "Enabled"})"),
              "Absent"); // nothing of it is there
    EXPECT_EQ(stateOf(late), "UnavailableOffline");
    EXPECT_EQ(stateOf(gone + ", " + late), "UnavailableOffline");
    EXPECT_EQ(stateOf(gone + ", " + there + R"(, "Status": {"State": "Enabled"})"), "Enabled");
    EXPECT_EQ(stateOf(gone + ", " + there), "Absent");
    EXPECT_EQ(stateOf(gone + ", " + there + R"(, "Status": 5)"),
              "Absent"); // what is no object gives way
}

TEST_F(ComposedAnswer, MayBeKeptWhereAllOfItIsOfTheCache)
{
    const auto mayBeKept = [this](const std::string& members) {
        return answer(members)->mayBeKept;
    };
    EXPECT_TRUE(mayBeKept(R"("A": {"from": "/r/VexoPart/P.1", "property": "Text"})"));
    EXPECT_TRUE(mayBeKept(R"("A": {"from": "/r/VexoPart/none", "property": "Text"})"));
    EXPECT_TRUE(mayBeKept(R"("A": {"embed": "Rack", "id": "P.1"})"));
    EXPECT_FALSE(mayBeKept(R"("A": {"from": "/r/VexoLate/L", "property": "Text"})"));
}

TEST_F(ComposedAnswer, IsDeclinedWhereItTakesTheObjectManager)
{
    const char* const live =
        R"("A": {"from": "/r/VexoPart/P.1", "property": "Text"}, "B": {"from": "/r/VexoLive/1", "property": "Text"})";
    EXPECT_FALSE(answer(live, false));
    EXPECT_NE(sqlite3_get_autocommit(dbhandle), 0); // with no transaction left
    EXPECT_TRUE(answer(R"("A": {"from": "/r/VexoPart/P.1", "property": "Text"})", false));
}

TEST_F(ComposedAnswer, LeavesNoTransactionOpen)
{
    ASSERT_TRUE(answer(R"("A": {"from": "/r/VexoPart/P.1", "property": "Text"})"));
    EXPECT_NE(sqlite3_get_autocommit(dbhandle), 0);
}

} // namespace
