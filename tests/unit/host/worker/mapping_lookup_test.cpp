// What the host reads of mapping entries, of whatever types.
#include "worker/mapping_lookup.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

Json::Value parse(const std::string& text)
{
    std::istringstream in(text);
    Json::Value value;
    in >> value;
    return value;
}

TEST(MappingLookup, CachedClassIsFoundByItsName)
{
    const Json::Value entry =
        parse(R"({"mappings": {"A": {"is_cached": true}, "B": {"is_cached": false}, "C": {}}})");
    EXPECT_TRUE(host::isCachedClass(entry, "A"));
    EXPECT_FALSE(host::isCachedClass(entry, "B"));
    EXPECT_FALSE(host::isCachedClass(entry, "C"));
    EXPECT_FALSE(host::isCachedClass(entry, "D"));
    EXPECT_EQ(entry["mappings"].size(), 3U);
}

TEST(MappingLookup, ValuesOfOtherTypesReadAsNotCached)
{
    for (const char* text :
         {"null", "5", "[]", R"({"mappings": []})", R"({"mappings": "A"})",
          R"({"mappings": {"A": 1}})", R"({"mappings": {"A": {"is_cached": "true"}}})",
          R"({"mappings": {"A": {"is_cached": null}}})",
          R"({"mappings": {"A": {"is_cached": {}}}})"}) {
        EXPECT_FALSE(host::isCachedClass(parse(text), "A")) << text;
        Json::Value mapping;
        mapping["Entry"] = parse(text);
        EXPECT_FALSE(host::hasCachedClass(mapping)) << text;
    }
}

TEST(MappingLookup, OneCachedClassIsEnough)
{
    EXPECT_TRUE(host::hasCachedClass(parse(R"({"X": 1, "Y": {"mappings": {"A": {}}},
                                               "Z": {"mappings": {"A": {}, "B": {"is_cached": true}}}})")));
    EXPECT_FALSE(
        host::hasCachedClass(parse(R"({"Y": {"mappings": {"A": {"is_cached": false}}}})")));
    EXPECT_FALSE(host::hasCachedClass(parse("{}")));
}

TEST(MappingLookup, TextIsThereWhenItIsNotEmpty)
{
    const Json::Value entry = parse(R"({"A": "x", "B": "", "C": null, "D": {}, "E": []})");
    EXPECT_TRUE(host::hasText(entry, "A"));
    for (const char* key : {"B", "C", "D", "E", "F"}) {
        EXPECT_FALSE(host::hasText(entry, key)) << key;
    }
    EXPECT_FALSE(host::hasText(parse("[1]"), "A"));
}

} // namespace
