// What the front is told of a mapping file.
#include "spawner/summary_file.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using host::MappingSummary;
using host::UriKind;

MappingSummary summaryOfText(const std::string& text)
{
    Json::Value file;
    std::istringstream(text) >> file;
    return host::summaryOf(file);
}

TEST(SummaryFile, EachRegisteredUriHasTheSourceOfItsAnswer)
{
    const MappingSummary summary = summaryOfText(R"({
        "VexoFans": {"@odata.id": "/r/VexoFans", "is_collection": true,
                     "mappings": {"VexoFan": {}}},
        "VexoFan": {"UniqueSelector": "Id", "mappings": {"C_Fan": {"is_cached": true}}},
        "VexoSensors": {"@odata.id": "/r/VexoSensors", "is_collection": true,
                        "mappings": {"VexoSensor": {}}},
        "VexoSensor": {"@odata.id": "/r/VexoSensor", "UniqueSelector": "Id",
                       "mappings": {"C_Sensor": {}}},
        "VexoPower": {"@odata.id": "/r/VexoPower", "Selectors": "Id=1", "mappings": {"C_Power": {
            "is_cached": true, "Actions": {"#P.On": {"target": "/r/VexoPower/Actions/P.On"}}}}},
        "VexoService": {"@odata.id": "/r/VexoService", "mappings": {"C_Service": {}}}
    })");
    EXPECT_TRUE(summary.usesCache);
    EXPECT_EQ(summary.uris.size(), 6U);
    EXPECT_EQ(summary.uris.at("/r/VexoFans").kind, UriKind::CachedRead);
    EXPECT_EQ(summary.uris.at("/r/VexoSensors").kind, UriKind::LiveRead);
    EXPECT_EQ(summary.uris.at("/r/VexoSensor").kind, UriKind::LiveRead);
    EXPECT_EQ(summary.uris.at("/r/VexoPower").kind, UriKind::LiveRead);
    EXPECT_EQ(summary.uris.at("/r/VexoPower/Actions/P.On").kind, UriKind::Action);
    EXPECT_EQ(summary.uris.at("/r/VexoService").kind, UriKind::MappingOnly);
}

TEST(SummaryFile, ReadIsThatOfTheEntryThatTheUriEndsWith)
{
    const MappingSummary summary = summaryOfText(R"({
        "VexoCached": {"@odata.id": "/r/VexoLive", "UniqueSelector": "Id",
                       "mappings": {"C_Cached": {"is_cached": true}}},
        "VexoLive": {"UniqueSelector": "Id", "mappings": {"C_Live": {}}}
    })");
    EXPECT_EQ(summary.uris.at("/r/VexoLive").kind, UriKind::LiveRead);
}

TEST(SummaryFile, MappingWithoutCachedClassUsesNoCache)
{
    EXPECT_FALSE(
        summaryOfText(R"({"VexoA": {"mappings": {"C_A": {"is_cached": false}}}})").usesCache);
}

TEST(SummaryFile, ComposedResourcesAreLiveWhereAPartIs)
{
    Json::Value mapping;
    std::istringstream(R"({
        "VexoFan": {"@odata.id": "/r/VexoFan", "UniqueSelector": "Id",
                    "mappings": {"C_Fan": {"is_cached": true}}},
        "VexoProbe": {"@odata.id": "/r/VexoProbe", "UniqueSelector": "Id",
                      "mappings": {"C_Probe": {}}}})") >>
        mapping;
    host::service_file::ServiceFile file;
    file.resources["/s/Constant"] = {};
    file.resources["/s/Cached"].parts = {"/r/VexoFan/1"};
    file.resources["/s/Live"].parts = {"/r/VexoFan/1", "/r/VexoProbe/1?$select=Id"};
    file.resources["/s/Embedded"];
    for (const char* uri : {"/s/Cached", "/s/Live", "/s/Embedded"}) {
        file.resources[uri].isConstant = false;
    }
    file.actions["/s/Live/Actions/A.B"] = {};
    MappingSummary summary = host::summaryOf(mapping);
    host::addServiceFile(summary, file);
    EXPECT_EQ(summary.uris.count("/s/Constant"), 0U); // the front has it as a document
    EXPECT_EQ(summary.kindOf("/s/Cached"), UriKind::ComposedCached);
    EXPECT_EQ(summary.kindOf("/s/Embedded"), UriKind::ComposedCached);
    EXPECT_EQ(summary.kindOf("/s/Live"), UriKind::ComposedLive);
    EXPECT_EQ(summary.kindOf("/s/Live/Actions/A.B"), UriKind::ComposedAction);
    EXPECT_EQ(summary.kindOf("/r/VexoFan/1"), UriKind::CachedRead);
}

TEST(SummaryFile, HoldsMoreThanAPacketWould)
{
    MappingSummary summary;
    for (int i = 0; i < 20'000; ++i) {
        summary.uris["/redfish/v1/Vexo/" + std::to_string(i)] = {UriKind::LiveRead};
    }
    const service::FileDescriptor file = host::writeSummary(summary);
    MappingSummary got;
    ASSERT_TRUE(host::readSummary(file, got));
    EXPECT_EQ(got.uris.size(), summary.uris.size());
    ASSERT_TRUE(host::readSummary(file, got)); // from its beginning again
    EXPECT_EQ(got.uris.size(), summary.uris.size());
}

TEST(SummaryFile, WhatIsNoFileIsRefused)
{
    MappingSummary got;
    EXPECT_FALSE(host::readSummary(service::FileDescriptor(), got));
}

} // namespace
