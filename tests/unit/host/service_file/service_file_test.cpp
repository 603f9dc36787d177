// What a service file declares: its resources as they are served, their actions, and where their
// values come from.
#include "service_file/mapped_uris.h"
#include "service_file/service_file.h"
#include "service_file/source.h"

#include <JsonText.h>
#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using host::service_file::ServiceFile;
using host::service_file::Source;
using support::IsJson;
using support::json;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kDeclaredMapping = R"({
    "VexoFan": {"@odata.id": "/r/VexoFan", "UniqueSelector": "Key", "mappings": {"C_Fan": {}}},
    "VexoFans": {"@odata.id": "/redfish/v1/Vexo/VexoFans", "is_collection": true,
                 "mappings": {"VexoFan": {}}},
    "VexoPower": {"@odata.id": "/redfish/v1/Vexo/VexoPower", "mappings": {"C_Power": {
        "Actions": {"#VexoPower.Change": {"target": "/redfish/v1/Vexo/VexoPower/Actions/VexoPower.Change"}},
        "methods": {"Change": {"inputs": {
            "State": {"isrequired": true, "value_mapping": {"2": "On", "6": "ForceOff", "10": "Restart"}},
            "Why": {}}}}}}}})";
constexpr const char* kChange = "/redfish/v1/Vexo/VexoPower/Actions/VexoPower.Change";

ServiceFile read(const std::string& file)
{
    return host::service_file::readServiceFile(json(file), json(kDeclaredMapping));
}

// One chassis with these members beside its type.
host::service_file::Resource chassisWith(const std::string& members)
{
    const ServiceFile file =
        read(R"({"/redfish/v1/Chassis/A": {"@odata.type": "#Chassis.v1_14_0.Chassis")" +
             (members.empty() ? "" : ", " + members) + "}}");
    const auto found = file.resources.find("/redfish/v1/Chassis/A");
    return found == file.resources.end() ? host::service_file::Resource() : found->second;
}

// What becomes of an action of that chassis.
ServiceFile withAction(const std::string& key, const std::string& action)
{
    return read(
        R"({"/redfish/v1/Chassis/A": {"@odata.type": "#Chassis.v1_14_0.Chassis", "Actions": {")" +
        key + "\": " + action + "}}}");
}

TEST(ServiceFile, ResourcesNameThemselves)
{
    EXPECT_THAT(chassisWith(R"("Name": "N")").body, IsJson(R"({
        "@odata.context": "/redfish/v1/$metadata#Chassis.Chassis", "@odata.id": "/redfish/v1/Chassis/A",
        "@odata.type": "#Chassis.v1_14_0.Chassis", "Id": "A", "Name": "N"})"));
    EXPECT_EQ(chassisWith(R"("Id": "other")").body["Id"].asString(), "other");
}

TEST(ServiceFile, ResourcesAreTakenOnceWithTheSlashAtTheirEndOrWithout)
{
    const std::string chassis = R"({"@odata.type": "#Chassis.v1_14_0.Chassis", "Name": )";
    const std::string action =
        R"(, "Actions": {"#Chassis.Reset": {"action": ")" + std::string(kChange) + "\"}}}";
    const ServiceFile file =
        read(R"({"/redfish/v1": {"Name": "root"}, "/redfish/v1/": {"Name": "other"},
                 "/redfish/v1/Chassis/A": )" +
             chassis + R"("A"}, "/redfish/v1/Chassis/A/": )" + chassis + R"("other")" + action +
             R"(, "/redfish/v1/Chassis/B/": )" + chassis + R"("B"}})");
    EXPECT_EQ(file.root["Name"].asString(), "root");
    EXPECT_EQ(file.resources.at("/redfish/v1/Chassis/A").body["Name"].asString(), "A");
    EXPECT_EQ(file.resources.at("/redfish/v1/Chassis/B").body["Name"].asString(), "B");
    EXPECT_THAT(file.actions, IsEmpty());
}

TEST(ServiceFile, CollectionsHaveWhatIsDeclaredRightBelowThem)
{
    const ServiceFile file = read(R"({
        "/redfish/v1/Chassis": {"@odata.type": "#ChassisCollection.ChassisCollection"},
        "/redfish/v1/Chassis/B": {"@odata.type": "#Chassis.v1_14_0.Chassis"},
        "/redfish/v1/Chassis/A/": {"@odata.type": "#Chassis.v1_14_0.Chassis"},
        "/redfish/v1/Chassis/A/Below": {"@odata.type": "#A.v1_0_0.A"},
        "/redfish/v1/ChassisOther": {"@odata.type": "#A.v1_0_0.A"},
        "/redfish/v1/Named": {"@odata.type": "#ACollection.ACollection", "Members": [{"@odata.id": "/x"}]}})");
    const Json::Value& chassis = file.resources.at("/redfish/v1/Chassis").body;
    EXPECT_THAT(chassis["Members"], IsJson(R"([{"@odata.id": "/redfish/v1/Chassis/A"},
                                               {"@odata.id": "/redfish/v1/Chassis/B"}])"));
    EXPECT_EQ(chassis["Members@odata.count"].asInt(), 2);
    EXPECT_FALSE(chassis.isMember("Id"));
    EXPECT_EQ(file.resources.at("/redfish/v1/Named").body["Members@odata.count"].asInt(), 1);
}

TEST(ServiceFile, WhatCannotBeServedIsLeftOut)
{
    const ServiceFile file = read(R"({
        "/redfish/v1/Vexo/VexoFans": {"@odata.type": "#A.v1_0_0.A"}, "/r/VexoFan/1": {"@odata.type": "#A.v1_0_0.A"},
        "/redfish/v1/Registries/Own": {"@odata.type": "#A.v1_0_0.A"}, "/redfish/v1/$metadata": {"@odata.type": "#A.v1_0_0.A"},
        "/redfish/v1/a b": {"@odata.type": "#A.v1_0_0.A"}, "/elsewhere": {"@odata.type": "#A.v1_0_0.A"},
        "/redfish/v1/NoType": {"Name": "N"}, "/redfish/v1/WrongType": {"@odata.type": 5},
        "/redfish/v1/BadType": {"@odata.type": "Chassis"}, "/redfish/v1/Number": 5, "": {}, "/": {}})");
    EXPECT_THAT(file.resources, IsEmpty());
    EXPECT_THAT(read("{}").root, IsJson("{}"));
}

TEST(ServiceFile, UsableUris)
{
    using host::service_file::isUsableUri;
    for (const char* uri : {"/redfish/v1", "/redfish/v1/A", "/redfish/v1/A.b-c_d~e:f@g!h,1/x"}) {
        EXPECT_TRUE(isUsableUri(uri)) << uri;
    }
    for (const char* uri :
         {"", "/redfish", "/redfish/v1/", "/redfish/v1x", "/redfish/v1/A/", "/redfish/v1//A",
          "/redfish/v1/A?b", "/redfish/v1/A#b", "/redfish/v1/%41", "/redfish/v1/A/Actions/B.C",
          "/redfish/v1/\xc3\xa4"}) {
        EXPECT_FALSE(isUsableUri(uri)) << uri;
    }
}

TEST(ServiceFile, RootHasConstantsAlone)
{
    EXPECT_THAT(
        read(
            R"({"/redfish/v1/": {"Name": "N", "Oem": {"A": [{"from": "/r", "property": "P"}, 1]}}})")
            .root,
        IsJson(R"({"Name": "N", "Oem": {"A": [null, 1]}})"));
}

TEST(ServiceFile, PartsAreTheUrisOfAllSources)
{
    EXPECT_TRUE(chassisWith("").isConstant);
    const auto made = chassisWith(
        R"("A": {"from": "/r/A", "property": "P"}, "B": [{"C": {"sum": ["/r/B", "/r/C"], "property": "P"}}],
                                     "D": {"embed": "Rack", "id": "1"}, "E": {"from": "/r/X"})");
    EXPECT_FALSE(made.isConstant);
    EXPECT_THAT(made.parts, ElementsAre("/r/A", "/r/B", "/r/C"));
    EXPECT_FALSE(chassisWith(R"("D": {"embed": "Rack", "id": "1"})").isConstant);
}

TEST(ServiceFile, ActionsStandForMappedOnes)
{
    const ServiceFile file =
        withAction("#Chassis.Reset", std::string(R"({"action": ")") + kChange +
                                         R"(", "constants": {"Why": "asked"}, "parameters": {
            "ResetType": {"as": "State", "values": {"On": "On", "PowerCycle": "Restart", "Odd": "Nowhere"}}}})");
    const auto& action = file.actions.at("/redfish/v1/Chassis/A/Actions/Chassis.Reset");
    EXPECT_EQ(action.target, kChange);
    EXPECT_THAT(action.constants, IsJson(R"({"Why": "asked"})"));
    const auto& parameter = action.parameters.at("ResetType");
    EXPECT_EQ(parameter.mappedName, "State");
    EXPECT_TRUE(parameter.isTranslated);
    EXPECT_TRUE(parameter.isRequired);
    ASSERT_EQ(parameter.values.size(), 2U); // the mapped one does not take "Nowhere"
    EXPECT_EQ(parameter.values.at("PowerCycle").asString(), "Restart");
    EXPECT_THAT(file.resources.at("/redfish/v1/Chassis/A").body["Actions"],
                IsJson(R"({"#Chassis.Reset": {
        "ResetType@Redfish.AllowableValues": ["On", "PowerCycle"],
        "target": "/redfish/v1/Chassis/A/Actions/Chassis.Reset"}})"));
}

TEST(ServiceFile, ParametersHaveTheValuesOfTheMappingWhereNoneAreNamed)
{
    const ServiceFile file =
        withAction("#Chassis.Reset", std::string(R"({"action": ")") + kChange +
                                         R"(", "parameters": {"State": {}, "Why": {}}})");
    EXPECT_THAT(file.resources.at("/redfish/v1/Chassis/A").body["Actions"]["#Chassis.Reset"],
                IsJson(R"({
        "State@Redfish.AllowableValues": ["ForceOff", "On", "Restart"],
        "target": "/redfish/v1/Chassis/A/Actions/Chassis.Reset"})"));
    const auto& why = file.actions.begin()->second.parameters.at("Why");
    EXPECT_FALSE(why.isTranslated);
    EXPECT_FALSE(why.isRequired);
}

TEST(ServiceFile, ActionsThatStandForNoneAreNotShown)
{
    const std::string sound = std::string(R"({"action": ")") + kChange + "\"}";
    const std::pair<const char*, std::string> cases[] = {
        {"Chassis.Reset", sound},
        {"#", sound},
        {"#a b", sound},
        {"#Chassis.Reset", "{}"},
        {"#Chassis.Reset", "5"},
        {"#Chassis.Reset", R"({"action": "/redfish/v1/Vexo/VexoPower"})"},
        {"#Chassis.Reset", R"({"action": 5})"}};
    for (const auto& [key, action] : cases) {
        const ServiceFile file = withAction(key, action);
        EXPECT_THAT(file.actions, IsEmpty()) << key << action;
        EXPECT_THAT(file.resources.at("/redfish/v1/Chassis/A").body["Actions"], IsJson("{}"))
            << key << action;
    }
}

// ---- Sources

TEST(ServiceSource, OfEachKind)
{
    const Json::Value value =
        json(R"({"from": "/r", "property": "A/B", "values": {"1": 2}, "divide": 1000})");
    const auto property = host::service_file::sourceOf(value);
    ASSERT_TRUE(property);
    EXPECT_EQ(property->kind, Source::Kind::Property);
    EXPECT_THAT(property->uris, ElementsAre("/r"));
    EXPECT_EQ(property->property, "A/B");
    EXPECT_EQ(property->values, &value["values"]);
    EXPECT_EQ(property->divisor, 1000);
    const auto kindOf = [](const char* text) {
        return host::service_file::sourceOf(json(text))->kind;
    };
    EXPECT_EQ(kindOf(R"({"count": ["/r", "/s"]})"), Source::Kind::Count);
    EXPECT_EQ(kindOf(R"({"sum": "/r", "property": "A"})"), Source::Kind::Sum);
    EXPECT_EQ(kindOf(R"({"worst": "/r", "property": "A"})"), Source::Kind::Worst);
    EXPECT_EQ(kindOf(R"({"embed": "Rack", "id": "1"})"), Source::Kind::Embedded);
}

TEST(ServiceSource, ThatDoesNotSayEnoughIsNone)
{
    for (const char* text :
         {R"({"from": "/r"})", R"({"property": "A", "from": 5})",
          R"({"from": ["/r", "/s"], "property": "A"})", R"({"from": "/r", "property": ""})",
          R"({"count": []})", R"({"count": ["/r", 5]})", R"({"sum": "/r"})",
          R"({"worst": {}, "property": "A"})", R"({"embed": "Rack"})", R"({"embed": 5, "id": "1"})",
          R"({"embed": "Rack", "id": 1})"}) {
        EXPECT_TRUE(host::service_file::isSource(json(text))) << text;
        EXPECT_FALSE(host::service_file::sourceOf(json(text))) << text;
    }
}

TEST(ServiceSource, IsDividedByNumbersAlone)
{
    for (const char* divisor : {"0", "0.0", "\"2\"", "null"}) {
        const std::string text = R"({"from": "/r", "property": "A", "divide": )";
        const Json::Value value = json(text + divisor + "}");
        ASSERT_TRUE(host::service_file::sourceOf(value)) << divisor;
        EXPECT_EQ(host::service_file::sourceOf(value)->divisor, 1) << divisor;
    }
}

TEST(ServiceSource, IsAnObjectWithOneOfTheWords)
{
    using host::service_file::hasSource;
    for (const char* text : {"{}", "[]", "5", "null", R"("from")", R"({"property": "A"})",
                             R"({"From": "/r"})", R"([{"a": {"b": 1}}])"}) {
        EXPECT_FALSE(hasSource(json("[" + std::string(text) + "]")[0])) << text;
    }
    EXPECT_TRUE(hasSource(json(R"([{"a": {"b": {"count": 5}}}])")));
}

// ---- What the mapping speaks for

TEST(MappedUris, ReadableAreResourcesAndInstances)
{
    const Json::Value mapping = json(kDeclaredMapping);
    const host::service_file::MappedUris mapped(mapping);
    for (const char* uri :
         {"/redfish/v1/Vexo/VexoFans", "/r/VexoFan/1", "/redfish/v1/Vexo/VexoPower"}) {
        EXPECT_TRUE(mapped.contains(uri)) << uri;
        EXPECT_TRUE(mapped.canBeRead(uri)) << uri;
    }
    for (const char* uri : {"/r/VexoFan", kChange}) {
        EXPECT_TRUE(mapped.contains(uri)) << uri;
        EXPECT_FALSE(mapped.canBeRead(uri)) << uri;
    }
    for (const char* uri : {"", "/", "/r/VexoFan/1/2", "/redfish/v1/Vexo/VexoFans/1"}) {
        EXPECT_FALSE(mapped.contains(uri)) << uri;
    }
}

TEST(MappedUris, ActionsAreKnownWithTheirInputs)
{
    const Json::Value mapping = json(kDeclaredMapping);
    const host::service_file::MappedUris mapped(mapping);
    const Json::Value* inputs = mapped.inputsOf(kChange);
    ASSERT_NE(inputs, nullptr);
    EXPECT_THAT(inputs->getMemberNames(), ElementsAre("State", "Why"));
    EXPECT_EQ(mapped.inputsOf("/redfish/v1/Vexo/VexoPower"), nullptr);
}

} // namespace
