#include "JsonText.h"
#include "TempDirectory.h"
#include "plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace {

using cimgate::mapping::NumberType;
using filler::Plan;
using filler::planOf;
using filler::WantedClass;
using filler::WantedColumn;
using support::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> namesOf(const WantedClass& wanted)
{
    std::vector<std::string> names;
    for (const WantedColumn& column : wanted.columns) {
        names.push_back(column.name);
    }
    return names;
}

Plan planFor(const std::string& mapping)
{
    return planOf(json(mapping), 60);
}

TEST(FillerPlan, ClassHasTheColumnsOfAllItsEntriesTheirKeysAndTheFixedKeys)
{
    const Plan plan = planFor(R"({
        "VexoFan": {"UniqueSelector": "DeviceID", "Selectors": "SystemName=a,Role=b", "mappings": {"XCIM_Fan": {
            "is_cached": true, "key_properties": ["DeviceID", "CreationClassName"],
            "properties": {"Speed": {"cim_type": "uint32"}}}}},
        "VexoFanState": {"UniqueSelector": "Tag", "mappings": {"XCIM_Fan": {
            "is_cached": true, "properties": {"speed": {"cim_type": "uint64"}, "State": {"cim_type": "uint16"}}}}},
        "VexoLive": {"UniqueSelector": "Id", "mappings": {"XCIM_Live": {"properties": {"Name": {}}}}}})");
    ASSERT_EQ(plan.classes.size(), 1U);
    const WantedClass& fan = plan.classes.front();
    EXPECT_EQ(fan.name, "XCIM_Fan");
    EXPECT_EQ(fan.entry, "VexoFan");
    EXPECT_THAT(namesOf(fan), ElementsAre("Speed", "DeviceID", "SystemName", "Role",
                                          "CreationClassName", "State", "Tag"));
    EXPECT_EQ(fan.key, "DeviceID");
    EXPECT_THAT(fan.moreKeys, ElementsAre("Tag"));
    EXPECT_THAT(fan.columns[0].reading.plain, ElementsAre(NumberType::Uint, NumberType::Uint64));
}

TEST(FillerPlan, KeyThatAnEntryAsksForWithoutMappingItHoldsNoNumbers)
{
    const Plan plan = planFor(R"({
        "VexoA": {"UniqueSelector": "Number", "mappings": {"XCIM_A": {"is_cached": true,
            "properties": {"Number": {"cim_type": "uint32"}}}}},
        "VexoB": {"UniqueSelector": "Number", "mappings": {"XCIM_B": {"is_cached": true,
            "properties": {"Name": {"cim_type": "string"}}}}},
        "VexoC": {"UniqueSelector": "Number", "mappings": {"XCIM_C": {"is_cached": true,
            "properties": {"Number": {"cim_type": "uint32", "value_mapping": {"1": "One"}}}}}},
        "VexoD": {"UniqueSelector": "Number", "mappings": {"XCIM_D": {"is_cached": true,
            "properties": {"Number": {"cim_type": "datetime"}}}}}})");
    std::vector<bool> showsIntegers;
    for (const WantedClass& wanted : plan.classes) {
        for (const WantedColumn& column : wanted.columns) {
            if (column.name == "Number") {
                showsIntegers.push_back(filler::showsIntegers(column.reading));
            }
        }
    }
    EXPECT_THAT(showsIntegers, ElementsAre(true, false, true, false));
}

TEST(FillerPlan, ShortestIntervalOfTheMappingHoldsAndTheGivenOneWithoutIt)
{
    const Plan plan = planFor(R"({
        "VexoA": {"UniqueSelector": "Id", "mappings": {"XCIM_A": {"is_cached": true, "refresh_interval": 3600}}},
        "VexoB": {"UniqueSelector": "Id", "mappings": {"XCIM_A": {"is_cached": true, "refresh_interval": 900}}},
        "VexoC": {"UniqueSelector": "Id", "mappings": {"XCIM_C": {"is_cached": true, "refresh_interval": 0}}},
        "VexoD": {"UniqueSelector": "Id", "mappings": {"XCIM_D": {"is_cached": true, "refresh_interval": "5"}}}})");
    EXPECT_EQ(plan.classes[0].intervalS, 900U);
    EXPECT_EQ(plan.classes[1].intervalS, 60U);
    EXPECT_EQ(plan.classes[2].intervalS, 60U);
}

TEST(FillerPlan, LinksOfAClassComeWithItAndThoseOfLiveResourcesAlone)
{
    const Plan cached = planFor(R"({
        "VexoEnclosure": {"UniqueSelector": "Tag", "Links": {"VexoEnclosureEMMCollection": {}, "ComputerSystem": {}},
            "mappings": {"XCIM_Enclosure": {"is_cached": true, "properties": {"Tag": {"cim_type": "string"}}}}}})");
    ASSERT_EQ(cached.classes.size(), 1U);
    EXPECT_THAT(cached.classes[0].associations, ElementsAre("xcim_enclosureemmdependency"));

    const Plan live = planFor(R"({
        "VexoEnclosure": {"UniqueSelector": "Tag", "Links": {"VexoEnclosureEMMCollection": {}},
            "mappings": {"XCIM_Enclosure": {"properties": {"Tag": {"cim_type": "string"}}}}}})");
    ASSERT_EQ(live.classes.size(), 1U);
    EXPECT_EQ(live.classes[0].name, "xcim_enclosureemmdependency");
    EXPECT_THAT(live.classes[0].columns, IsEmpty());
    EXPECT_THAT(live.associations(), ElementsAre("xcim_enclosureemmdependency"));
    EXPECT_EQ(live.keys.at("xcim_enclosure"), "Tag");
}

TEST(FillerPlan, ClassWithoutAKeyIsKeptByItsPaths)
{
    const Plan plan = planFor(R"({
        "VexoPart": {"mappings": {"XCIM_Part": {"is_cached": true, "properties": {"Name": {"cim_type": "string"}}}}},
        "PartOem": {"instances": {"VexoPart": {"KeyRegex": "", "QueryClause": "Name = '#p1'"}}}})");
    ASSERT_EQ(plan.classes.size(), 1U);
    EXPECT_EQ(plan.classes[0].key, "__Path");
    EXPECT_THAT(namesOf(plan.classes[0]), ElementsAre("Name", "__Path"));
    EXPECT_THAT(plan.classes[0].conditions, ElementsAre("Name = '#p1' COLLATE NOCASE"));
}

TEST(FillerPlan, FileThatCannotBeUsedIsToldWithWhatToDo)
{
    const support::TempDirectory directory;
    std::string problem;
    EXPECT_FALSE(filler::readPlan(directory.File("none.json"), 60, problem));
    EXPECT_EQ(problem, "cannot read the mapping file " + directory.File("none.json") +
                           ": No such file or directory; name a readable file with --rmf");
    for (const char* const content : {"{\"a\": ", "[]", "7"}) {
        std::ofstream(directory.File("map.json")) << content;
        EXPECT_FALSE(filler::readPlan(directory.File("map.json"), 60, problem));
        EXPECT_THAT(problem, HasSubstr("is not a JSON object"));
        EXPECT_THAT(problem, HasSubstr("--rmf"));
    }
}

} // namespace
