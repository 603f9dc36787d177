// What the mapping needs of the data cache.
#include "JsonText.h"
#include "LogCapture.h"
#include "ResourceMapper/mapping/CachedClasses.h"

#include <gmock/gmock.h>

namespace {

using cimgate::mapping::CachedClass;
using cimgate::mapping::cachedClasses;
using cimgate::mapping::columnsOf;
using support::json;
using testing::ElementsAre;
using testing::IsEmpty;

class CachedClasses : public ::testing::Test
{
protected:
    CachedClasses() { support::LogCapture::Reset(); }

    static std::vector<std::string> namesOf(const std::vector<CachedClass>& classes)
    {
        std::vector<std::string> names;
        names.reserve(classes.size());
        for (const CachedClass& one : classes) {
            names.push_back(one.name);
        }
        return names;
    }
};

TEST_F(CachedClasses, ColumnsAreThePropertiesAndThenTheKey)
{
    const Json::Value entry = json(R"({
        "UniqueSelector": "B", "mappings": {"XCIM_Box": {"properties": {"C": {}, "B": {}, "A": {}}}}
    })");
    EXPECT_THAT(columnsOf(entry, "XCIM_Box"), ElementsAre("A", "B", "C", "B"));
    EXPECT_THAT(columnsOf(json("{}"), "XCIM_Box"), IsEmpty());
}

TEST_F(CachedClasses, AreThoseOfWhichInstancesAreRead)
{
    const Json::Value mapping = json(R"({
        "ByKey": {"UniqueSelector": "Id", "mappings": {"K": {"is_cached": true}}},
        "Member": {"mappings": {"M": {"is_cached": true}}},
        "Members": {"is_collection": true, "mappings": {"Member": {}}},
        "Embedded": {"mappings": {"E": {"is_cached": true}}},
        "Container": {"instances": {"Embedded": {}}},
        "Service": {"mappings": {"S": {"is_cached": true}}},
        "Fixed": {"Selectors": "A=1", "mappings": {"F": {"is_cached": true}}},
        "Live": {"UniqueSelector": "Id", "mappings": {"L": {}}}
    })");
    EXPECT_THAT(namesOf(cachedClasses(mapping)), ElementsAre("E", "K", "M"));
}

TEST_F(CachedClasses, ColumnsOfAllEntriesAreThoseOfTheTable)
{
    const Json::Value mapping = json(R"({
        "One": {"UniqueSelector": "Id", "mappings": {"C": {"is_cached": true, "properties": {"A": {}, "B": {}}}}},
        "Two": {"UniqueSelector": "ID", "mappings": {"C": {"is_cached": true, "properties": {"b": {}, "D": {}}}}}
    })");
    const std::vector<CachedClass> classes = cachedClasses(mapping);
    ASSERT_EQ(classes.size(), 1U);
    EXPECT_THAT(classes[0].columns, ElementsAre("A", "B", "Id", "D"));
    ASSERT_EQ(classes[0].entries.size(), 2U);
    EXPECT_EQ(classes[0].entries[0].name, "One");
    EXPECT_EQ(classes[0].entries[1].entry, &mapping["Two"]);
}

} // namespace
