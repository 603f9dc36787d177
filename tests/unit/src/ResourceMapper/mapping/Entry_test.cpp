// What all who read the mapping file take from its entries, of whatever types.
#include "JsonText.h"
#include "LogCapture.h"
#include "ResourceMapper/mapping/Entry.h"

namespace {

using cimgate::mapping::hasCachedClass;
using cimgate::mapping::memberEntryOf;
using cimgate::mapping::Method;
using cimgate::mapping::registeredUris;
using cimgate::mapping::Source;
using cimgate::mapping::sourceOf;
using support::json;

class MappingEntry : public ::testing::Test
{
protected:
    MappingEntry() { support::LogCapture::Reset(); }
};

TEST_F(MappingEntry, ClassOfAnEntryIsTheFirstOfItsMappings)
{
    EXPECT_EQ(cimgate::mapping::classNameOf(json(R"({"mappings": {"B": {}, "A": {}}})")), "A");
    for (const char* text : {"null", "{}", R"({"mappings": {}})"}) {
        EXPECT_EQ(cimgate::mapping::classNameOf(json(text)), "") << text;
    }
}

TEST_F(MappingEntry, CollectionIsFollowedToItsMember)
{
    const Json::Value mapping = json(R"({
        "Boxes": {"is_collection": true, "mappings": {"Box": {}}},
        "Shelves": {"is_collection": true, "mappings": {"Boxes": {}}},
        "Lost": {"is_collection": true, "mappings": {"None": {}}},
        "Box": {"mappings": {"XCIM_Box": {}}}
    })");
    for (const char* name : {"Boxes", "Shelves", "Box"}) {
        EXPECT_EQ(&memberEntryOf(mapping, mapping[name]), &mapping["Box"]) << name;
    }
    EXPECT_TRUE(memberEntryOf(mapping, mapping["Lost"]).isNull());
}

TEST_F(MappingEntry, CircleOfCollectionsEnds)
{
    const Json::Value mapping = json(R"({
        "A": {"is_collection": true, "mappings": {"B": {}}},
        "B": {"is_collection": true, "mappings": {"A": {}}}
    })");
    EXPECT_TRUE(memberEntryOf(mapping, mapping["A"]).isObject());
}

TEST_F(MappingEntry, VendorsResourcesAndTheirActionsAreRegistered)
{
    const Json::Value mapping = json(R"({
        "Box": {"@odata.id": "/r/Box"},
        "VexoBox": {"@odata.id": "/r/VexoBox", "mappings": {
            "XCIM_Box": {"Actions": {"#Box.Open": {"target": "/r/VexoBox/Actions/Box.Open"},
                                     "#Box.Shut": {"target": ""}, "#Box.Lock": 1}},
            "XCIM_Lid": {"Actions": {"#Lid.Turn": {"target": "/r/VexoBox/Actions/Lid.Turn"}}},
            "XCIM_None": 1}},
        "VexoMember": {"mappings": {
            "XCIM_A": {"Actions": {"#A.Do": {"target": "/r/VexoMember/Actions/A.Do"}}}}},
        "VexoWrong": 1
    })");
    const auto uris = registeredUris(mapping);
    ASSERT_EQ(uris.size(), 3U);
    EXPECT_EQ(uris[0].uri, "/r/VexoBox");
    EXPECT_EQ(uris[0].method, Method::Get);
    EXPECT_EQ(uris[1].uri, "/r/VexoBox/Actions/Box.Open");
    EXPECT_EQ(uris[1].method, Method::Post);
    EXPECT_EQ(uris[2].uri, "/r/VexoBox/Actions/Lid.Turn");
    EXPECT_EQ(uris[2].method, Method::Post);
    for (const auto& registered : uris) {
        EXPECT_EQ(registered.entry, &mapping["VexoBox"]) << registered.uri;
    }
    EXPECT_TRUE(registeredUris(json("{}")).empty());
}

TEST_F(MappingEntry, CachedClassIsFoundByItsName)
{
    const Json::Value entry =
        json(R"({"mappings": {"A": {"is_cached": true}, "B": {"is_cached": false}, "C": {}}})");
    EXPECT_EQ(sourceOf(entry, "A", true), Source::DataCache);
    for (const char* other : {"B", "C", "D"}) {
        EXPECT_EQ(sourceOf(entry, other, true), Source::Cim) << other;
    }
    EXPECT_EQ(entry["mappings"].size(), 3U);
}

TEST_F(MappingEntry, ResourceIsReadWhereSomethingTellsItsInstance)
{
    const Json::Value cached = json(R"({"A": {"is_cached": true}})");
    struct Case
    {
        const char* entry;
        Source source;
    };
    for (const Case& c :
         {Case{R"({"UniqueSelector": "Key"})", Source::DataCache},
          Case{R"({"UniqueSelector": "Key", "Selectors": "K=1"})", Source::DataCache},
          Case{R"({"UniqueSelector": 5})", Source::DataCache},
          Case{R"({"Selectors": "K=1"})", Source::Cim},
          Case{R"({"UniqueSelector": "", "Selectors": "K=1"})", Source::Cim},
          Case{R"({"UniqueSelector": {}, "Selectors": []})", Source::MappingFile},
          Case{R"({"UniqueSelector": null, "Selectors": ""})", Source::MappingFile},
          Case{"{}", Source::MappingFile}}) {
        Json::Value entry = json(c.entry);
        entry["mappings"] = cached;
        EXPECT_EQ(sourceOf(entry, "A", false), c.source) << c.entry;
        EXPECT_EQ(sourceOf(entry, "A", true), Source::DataCache) << c.entry;
    }
    EXPECT_EQ(sourceOf(json("[1]"), "A", false), Source::MappingFile);
}

TEST_F(MappingEntry, ValuesOfOtherTypesReadAsNotCached)
{
    for (const char* text :
         {"null", "5", "[]", R"({"mappings": []})", R"({"mappings": "A"})",
          R"({"mappings": {"A": 1}})", R"({"mappings": {"A": {"is_cached": "true"}}})",
          R"({"mappings": {"A": {"is_cached": null}}})",
          R"({"mappings": {"A": {"is_cached": {}}}})"}) {
        EXPECT_EQ(sourceOf(json(text), "A", true), Source::Cim) << text;
        Json::Value mapping;
        mapping["Entry"] = json(text);
        EXPECT_FALSE(hasCachedClass(mapping)) << text;
    }
    EXPECT_TRUE(support::LogCapture::Lines().empty());
}

TEST_F(MappingEntry, OneCachedClassIsEnough)
{
    EXPECT_TRUE(hasCachedClass(json(R"({"X": 1, "Y": {"mappings": {"A": {}}},
                                        "Z": {"mappings": {"A": {}, "B": {"is_cached": true}}}})")));
    EXPECT_FALSE(hasCachedClass(json(R"({"Y": {"mappings": {"A": {"is_cached": false}}}})")));
    EXPECT_FALSE(hasCachedClass(json("{}")));
}

} // namespace
