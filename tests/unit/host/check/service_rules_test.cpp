// Typical mistakes in a service file: each is told at its line and place, with what it costs, and
// nothing else with it.
#include "check/check.h"

#include <JsonText.h>
#include <TempDirectory.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

namespace {

using host::check::Fault;
using testing::HasSubstr;

constexpr const char* kRuleMapping = R"({
    "VexoFan": {"@odata.id": "/r/VexoFan", "UniqueSelector": "Key", "mappings": {"C_Fan": {"is_cached": true,
        "properties": {"Speed": {"cim_type": "uint32", "alias": "SpeedRPM"},
                       "Health": {"cim_type": "uint16", "value_mapping": {"5": "Good", "10": "Bad"}},
                       "Words": {"cim_type": "string", "is_arraytype": true}}}}},
    "VexoFans": {"@odata.id": "/r/VexoFans", "is_collection": true, "mappings": {"VexoFan": {}}},
    "VexoPower": {"@odata.id": "/r/VexoPower", "mappings": {"C_Power": {
        "Actions": {"#VexoPower.Change": {"target": "/r/VexoPower/Actions/VexoPower.Change"}},
        "methods": {"Change": {"inputs": {"State": {"isrequired": true, "value_mapping": {"2": "On"}}, "Why": {}}}}}}},
    "Rack": {"instances": {"VexoFan": {}}}})";

constexpr const char* kAction = R"("action": "/r/VexoPower/Actions/VexoPower.Change")";

std::vector<Fault> faultsOf(const std::string& text)
{
    const support::TempDirectory directory;
    const std::string path = directory.File("service.json");
    std::ofstream(path) << text;
    Json::Value file;
    EXPECT_FALSE(host::check::MappingText(text).parse(file)) << text;
    return host::check::checkServiceFile(file, path, support::json(kRuleMapping));
}

// A file, the text in it whose line is told, and what is said of it.
struct ServiceMistake
{
    std::string file;
    const char* at;
    const char* place;
    const char* wrong;
    const char* effect;
};

void expectTold(const ServiceMistake& mistake)
{
    SCOPED_TRACE(mistake.file);
    const std::vector<Fault> faults = faultsOf(mistake.file);
    std::string told;
    for (const Fault& fault : faults) {
        told += logLine(fault) + "\n";
    }
    ASSERT_EQ(faults.size(), 1U) << told;
    const Fault& fault = faults.front();
    const auto begin = mistake.file.begin();
    const auto offset = static_cast<std::ptrdiff_t>(mistake.file.find(mistake.at));
    EXPECT_EQ(fault.position.line, static_cast<size_t>(std::count(begin, begin + offset, '\n')) + 1)
        << told;
    EXPECT_EQ(fault.place, mistake.place);
    EXPECT_THAT(fault.finding.wrong, HasSubstr(mistake.wrong));
    EXPECT_THAT(fault.finding.effect, HasSubstr(mistake.effect));
    EXPECT_FALSE(fault.finding.remedy.empty());
}

// One fan tray with these members, each on a line of its own.
std::string tray(const std::string& members)
{
    return "{\n\"/redfish/v1/T/A\":\n{\"@odata.type\": \"#T.v1_0_0.T\", \"Name\": \"A\",\n" +
           members + "\n}}";
}

constexpr const char* kA = "/redfish/v1/T/A";
constexpr const char* kPropertyA = "/redfish/v1/T/A, property A";

TEST(CheckedServiceFile, ThatIsSoundHasNoFaults)
{
    const std::string sound =
        tray(std::string(R"("A": {"from": "/r/VexoFan/1", "property": "SpeedRPM", "divide": 60},
        "B": {"from": "/r/VexoFan/1", "property": "Name", "values": {"a": "b"}},
        "C": {"worst": ["/r/VexoFans", "/r/VexoFans?$top=1"], "property": "SpeedRPM"}, "D": {"count": "/r/VexoFans"},
        "E": {"from": "/r/VexoFan/1", "property": "Words@odata.count"}, "F": {"embed": "Rack", "id": "1"},
        "G": [{"@odata.id": "/r/VexoFan/1"}, {"@odata.id": "/r/VexoPower"}, {"@odata.id": "/redfish/v1/T/A#/A"},
              {"@odata.id": "/redfish/v1/"}, {"@odata.id": "/redfish/v1/Registries/Base.1.18"}, {"@odata.id": "http://other/"}],
        "Actions": {"#T.Reset": {)") +
             kAction + R"(, "parameters": {"Type": {"as": "State", "values": {"Up": "On"}}}}})");
    for (const Fault& fault : faultsOf(sound)) {
        ADD_FAILURE() << logLine(fault);
    }
    EXPECT_TRUE(faultsOf("{}").empty());
    EXPECT_TRUE(faultsOf(R"({"/redfish/v1/": {"Name": "N", "Oem": {"A": 1}}})").empty());
}

TEST(CheckedServiceFile, FormOfResources)
{
    const std::string body = R"( {"@odata.type": "#T.v1_0_0.T", "Name": "A"}})";
    const ServiceMistake mistakes[] = {
        {"{\n\"/redfish/v1/A\": 5}", "5", "/redfish/v1/A", "it is no object",
         "the resource is not served"},
        {"{\n\"/redfish/v1/a b\":" + body, "{\"@", "/redfish/v1/a b", "this is no URI",
         "the resource is not served"},
        {"{\n\"/elsewhere\":" + body, "{\"@", "/elsewhere", "this is no URI",
         "the resource is not served"},
        {"{\n\"/redfish/v1/Registries\":" + body, "{\"@", "/redfish/v1/Registries",
         "the service makes", "the resource is not served"},
        {"{\n\"/r/VexoFans\":" + body, "{\"@", "/r/VexoFans", "this is no URI",
         "the resource is not served"},
        {"{\n\"/redfish/v1/A\":\n{\"Name\": \"A\"}}", "\"/redfish", "/redfish/v1/A",
         "no \"@odata.type\"", "the resource is not served"},
        {"{\n\"/redfish/v1/A\":\n{\"@odata.type\": \"T\", \"Name\": \"A\"}}", "\"/redfish",
         "/redfish/v1/A", "no \"@odata.type\"", "the resource is not served"},
        {"{\n\"/redfish/v1/A\":\n{\"@odata.type\": \"#T.v1_0_0.T\", \"Name\": \"\"}}", "\"/redfish",
         "/redfish/v1/A", "no \"Name\"", "clients may refuse"},
        {"{\"/redfish/v1/A\": {\"@odata.type\": \"#T.v1_0_0.T\", \"Name\": "
         "\"A\"},\n\"/redfish/v1/A/\":" +
             body,
         "{\"@odata.type\": \"#T.v1_0_0.T\", \"Name\": \"A\"}}", "/redfish/v1/A/",
         "it is declared as \"/redfish/v1/A\" too", "clients get what stands there"},
        {"{\"/redfish/v1\": {},\n\"/redfish/v1/\": {\"Name\": \"N\"}}", "{\"Name", "/redfish/v1/",
         "it is declared as \"/redfish/v1\" too", "clients get what stands there"},
        {"{\"/redfish/v1\": {\n\"UUID\": \"1\"}}", "\"UUID", "/redfish/v1, property UUID",
         "the root has it of its own", "is not shown"},
        {"{\"/redfish/v1\": {\n\"A\": [{\"from\": \"/r/VexoFan/1\", \"property\": \"Id\"}]}}",
         "\"A\"", "/redfish/v1, property A", "the same at all times", "the value is null"},
    };
    for (const ServiceMistake& mistake : mistakes) {
        expectTold(mistake);
    }
}

TEST(CheckedServiceFile, LinksAndSources)
{
    const ServiceMistake mistakes[] = {
        {tray(R"("A": {"@odata.id": "/r/None"})"), "\"/r/None", kPropertyA,
         "nothing can be read at \"/r/None\"", "get an error"},
        {tray(R"("A": [{"B":
{"@odata.id": "/r/VexoFan"}}])"),
         "{\"@odata.id", "/redfish/v1/T/A, property A/B", "nothing can be read", "get an error"},
        {tray(R"("A": {"from": "/r/VexoFan/1"})"), "{\"from", kPropertyA, "does not say enough",
         "the value is null"},
        {tray(R"("A": {"from": "/r/None", "property": "Id"})"), "{\"from", kPropertyA,
         "no mapped resource can be read at \"/r/None\"",
         "the value is null, and \"Status\" says why"},
        {tray(R"("A": {"count": "/r/VexoFan"})"), "{\"count", kPropertyA, "no mapped resource",
         "says why"},
        {tray(R"("A": {"from": "/r/VexoPower/Actions/VexoPower.Change", "property": "Id"})"),
         "{\"from", kPropertyA, "no mapped resource", "says why"},
        {tray(R"("A": {"from": "/r/VexoFan/1", "property": "Speed"})"), "{\"from", kPropertyA,
         "have no property \"Speed\"", "the value is null"},
        {tray(R"("A": {"sum": "/r/VexoFans", "property": "None/B"})"), "{\"sum", kPropertyA,
         "have no property \"None\"", "the value is null"},
        {tray(R"("A": {"embed": "Shelf", "id": "1"})"), "{\"embed", kPropertyA,
         "no container is called \"Shelf\"", "says why"},
        {tray(R"("A": {"embed": "Rack", "id": "a/b"})"), "{\"embed", kPropertyA, "is no id",
         "says why"},
        {tray("\"A\": {\"count\": \"/r/VexoFans\",\n\"property\": \"Id\"}"), "\"property",
         kPropertyA, "\"property\" means nothing here", "passed over"},
        {tray("\"A\": {\"embed\": \"Rack\", \"id\": \"1\",\n\"values\": {}}"), "\"values",
         kPropertyA, "means nothing here", "passed over"},
        {tray("\"A\": {\"from\": \"/r/VexoFan/1\", \"property\": \"Id\",\n\"value\": {}}"),
         "\"value\"", kPropertyA, "\"value\" means nothing here", "passed over"},
        {tray("\"A\": {\"from\": \"/r/VexoFan/1\", \"property\": \"Id\",\n\"values\": 5}"),
         "\"values\"", kPropertyA, "is no object", "as they are"},
        {tray("\"A\": {\"from\": \"/r/VexoFan/1\", \"property\": \"Health\",\n\"values\": "
              "{\"Good\": "
              "1,\n\"Fine\": \"OK\"}}"),
         "\"Fine", kPropertyA, "\"Fine\" is in no value map of \"Health\"", "nothing ever becomes"},
        {tray("\"A\": {\"from\": \"/r/VexoFan/1\", \"property\": \"SpeedRPM\",\n\"divide\": 0}"),
         "\"divide\"", kPropertyA, "is no number", "as they are"},
        {tray("\"A\": {\"from\": \"/r/VexoFan/1\", \"property\": \"Id\",\n\"divide\": \"2\"}"),
         "\"divide\"", kPropertyA, "is no number", "as they are"},
        {tray(R"("A": {"from": "/r/VexoFan/1", "count": "/r/VexoFans", "property": "Id"})"),
         "{\"from", kPropertyA, "more than one way", "one of them is taken"},
    };
    for (const ServiceMistake& mistake : mistakes) {
        expectTold(mistake);
    }
}

TEST(CheckedServiceFile, Actions)
{
    const auto action = [](const std::string& name, const std::string& declared) {
        return tray("\"Actions\": {\n\"" + name + "\": {" + declared + "}}");
    };
    const std::string begin = std::string(kAction) + ", \"parameters\": {\n";
    const ServiceMistake mistakes[] = {
        {action("T.Reset", kAction), "\"T.Reset", "/redfish/v1/T/A, action T.Reset",
         "no name of an action", "does not show the action"},
        {action("#T.Reset", "\"action\": \"/r/None\""), "\"#T.Reset",
         "/redfish/v1/T/A, action #T.Reset", "stands for no action", "does not show the action"},
        {action("#T.Reset", kAction), "\"#T.Reset", "/redfish/v1/T/A, action #T.Reset",
         "needs \"State\"", "each request for it is refused"},
        {action("#T.Reset", begin + "\"State\": {}, \n\"Other\": {}}"), "\"Other",
         "/redfish/v1/T/A, action #T.Reset, parameter Other", "has no parameter \"Other\"",
         "each request with it is refused"},
        {action("#T.Reset", begin + "\"Type\": {\"as\": \"State\", \"values\": {\n\"Off\": "
                                    "\"ForceOff\", \"On\": \"On\"}}}"),
         "\"Off", "/redfish/v1/T/A, action #T.Reset, parameter Type",
         "takes no such value for \"Off\"", "\"Off\" is not allowed"},
    };
    for (const ServiceMistake& mistake : mistakes) {
        expectTold(mistake);
    }
    EXPECT_TRUE(
        faultsOf(action("#T.Reset", std::string(kAction) + ", \"constants\": {\"State\": \"On\"}"))
            .empty());
}

TEST(CheckedServiceFile, UrisOfTheMappingAreItsOwn)
{
    const std::vector<Fault> faults = host::check::checkServiceFile(
        support::json(R"({"/redfish/v1/VexoFans": {"@odata.type": "#T.v1_0_0.T", "Name": "A"}})"),
        "none", support::json(R"({"VexoFans": {"@odata.id": "/redfish/v1/VexoFans"}})"));
    ASSERT_EQ(faults.size(), 1U);
    EXPECT_EQ(faults.front().finding.wrong, "the mapping file has this URI");
    EXPECT_EQ(faults.front().finding.effect, "clients get what it says");
}

TEST(CheckedServiceFile, IsToldWithoutAMappingToo)
{
    const auto faults = host::check::checkServiceFile(
        support::json(
            R"({"/redfish/v1/T": {"@odata.type": "#T.v1_0_0.T", "Name": "A", "A": {"count": "/r/VexoFans"}}})"),
        "none", {});
    EXPECT_EQ(faults.size(), 1U);
}

} // namespace
