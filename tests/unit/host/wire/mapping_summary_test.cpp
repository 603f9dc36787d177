// What the front knows of the mapping, and what it expects of a request by that.
#include "wire/PayloadText.h"
#include "wire/mapping_summary.h"

#include <gtest/gtest.h>

namespace {

using host::MappingSummary;
using host::UriKind;

MappingSummary sampleSummary()
{
    MappingSummary summary;
    summary.usesCache = true;
    summary.uris["/r/Fans"] = {UriKind::CachedRead};
    summary.uris["/r/Sensors"] = {UriKind::LiveRead};
    summary.uris["/r/Service"] = {UriKind::MappingOnly};
    summary.uris["/r/Service/Actions/A.B"] = {UriKind::Action};
    return summary;
}

TEST(MappingSummary, OnlyWhatIsEncodedIsTaken)
{
    const std::string cached = number(static_cast<uint32_t>(UriKind::CachedRead));
    const std::string a = field("/a") + cached;
    const std::string b = field("/b") + cached;
    MappingSummary summary;
    EXPECT_TRUE(host::decodeSummary(number(1) + a + b, summary));
    EXPECT_FALSE(host::decodeSummary(number(1) + b + a, summary));
    EXPECT_FALSE(host::decodeSummary(number(1) + a + a, summary));
    EXPECT_FALSE(host::decodeSummary(number(2) + a, summary));
}

TEST(MappingSummary, KindsOfTargets)
{
    const MappingSummary summary = sampleSummary();
    const std::pair<const char*, UriKind> cases[] = {
        {"/r/Fans", UriKind::CachedRead},          {"/r/Fans/1", UriKind::CachedRead},
        {"/r/Sensors", UriKind::LiveRead},         {"/r/Sensors/", UriKind::LiveRead},
        {"/r/Sensors?$skip=1", UriKind::LiveRead}, {"/r/Sensors/?$skip=1", UriKind::LiveRead},
        {"/r/Sensors/1", UriKind::LiveRead},       {"/r/Sensors/1/?$select=A/B", UriKind::LiveRead},
        {"/r/Service", UriKind::MappingOnly},      {"/r/Service/Actions/A.B", UriKind::Action},
    };
    for (const auto& [target, kind] : cases) {
        EXPECT_EQ(summary.kindOf(target), kind) << target;
    }
}

TEST(MappingSummary, KindsOfTheServicesOwnResources)
{
    MappingSummary summary;
    const std::pair<const char*, UriKind> own[] = {{"/r/A", UriKind::ComposedCached},
                                                   {"/r/A/B", UriKind::ComposedLive},
                                                   {"/r/A/Actions/A.C", UriKind::ComposedAction},
                                                   {"/r", UriKind::Document}};
    for (const auto& [uri, kind] : own) {
        summary.uris[uri] = {kind};
    }
    MappingSummary got;
    ASSERT_TRUE(host::decodeSummary(host::encodeSummary(summary), got));
    for (const auto& [uri, kind] : own) {
        EXPECT_EQ(got.kindOf(uri), kind) << uri;
        EXPECT_EQ(got.kindOf(std::string(uri) + "/?only"), kind) << uri;
        EXPECT_TRUE(host::isComposed(got.kindOf(uri))) << uri;
    }
    EXPECT_EQ(got.kindOf("/r/A/1"), UriKind::CachedRead); // they have no instances below them
    EXPECT_FALSE(host::isComposed(UriKind::Action));
}

TEST(MappingSummary, WhatIsNotRegisteredIsACachedRead)
{
    for (const char* target :
         {"", "/", "?", "/?", "x", "/r", "/r/Sensor", "/r/Sensors/1/2", "/r/Sensors///",
          "r/Sensors", "/R/Sensors", "/r/Service/Actions/A.B/1", "//r/Sensors"}) {
        EXPECT_EQ(sampleSummary().kindOf(target), UriKind::CachedRead) << target;
    }
}

TEST(MappingSummary, MakesTheRoundTrip)
{
    for (const bool usesCache : {false, true}) {
        MappingSummary sent = sampleSummary();
        sent.usesCache = usesCache;
        MappingSummary got;
        got.uris["/old"] = {};
        ASSERT_TRUE(host::decodeSummary(host::encodeSummary(sent), got));
        EXPECT_EQ(got.usesCache, usesCache);
        ASSERT_EQ(got.uris.size(), sent.uris.size());
        for (const auto& [uri, entry] : sent.uris) {
            EXPECT_EQ(got.uris.at(uri).kind, entry.kind) << uri;
        }
    }
    MappingSummary empty;
    ASSERT_TRUE(host::decodeSummary(host::encodeSummary({}), empty));
    EXPECT_TRUE(empty.uris.empty());
}

TEST(MappingSummary, DamagedTextIsRefused)
{
    MappingSummary got;
    const std::string whole = number(1) + field("/a") + number(3);
    ASSERT_TRUE(host::decodeSummary(whole, got));
    for (size_t bytes = 0; bytes < whole.size(); ++bytes) {
        const bool isEmptySummary = bytes == sizeof(uint32_t);
        EXPECT_EQ(host::decodeSummary(whole.substr(0, bytes), got), isEmptySummary) << bytes;
    }
    EXPECT_FALSE(host::decodeSummary(whole + "x", got));
    EXPECT_FALSE(host::decodeSummary(number(1) + field("/a") + number(8), got));
    EXPECT_FALSE(host::decodeSummary(number(1) + number(0x7fffffff) + "/a" + number(0), got));
}

} // namespace
