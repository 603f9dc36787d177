// Typical mistakes in a mapping: each is told at its line and entry, and nothing else with it.
#include "check/SampleFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using host::check::Fault;
using testing::HasSubstr;

// A change to the sample's mapping: behind anchor, text becomes by. What is told stands on the line
// of the change, or, where that is given, on the line of the text "at" behind the anchor.
struct Mistake
{
    const char* anchor;
    const char* text;
    const char* by;
    const char* place;
    const char* wrong;
    const char* at = "";
};

void expectTold(const Mistake& mistake)
{
    SCOPED_TRACE(std::string(mistake.anchor) + ": " + mistake.text + " -> " + mistake.by);
    SampleFiles files;
    const size_t changed = files.replace(mistake.anchor, mistake.text, mistake.by);
    const std::string at = mistake.at;
    const size_t line = at.empty() ? files.lineOf("", changed)
                                   : files.lineOf(at, files.mapping.find(mistake.anchor));
    const host::check::Report report = files.check(host::check::Depth::Tables);
    std::string told;
    for (const Fault& fault : report.faults) {
        told += logLine(fault) + "\n";
    }
    ASSERT_EQ(report.faults.size(), 1U) << told;
    const Fault& fault = report.faults.front();
    EXPECT_EQ(fault.file, files.mappingPath());
    EXPECT_EQ(fault.position.line, line) << told;
    EXPECT_EQ(fault.place, mistake.place);
    EXPECT_THAT(fault.finding.wrong, HasSubstr(mistake.wrong));
    EXPECT_FALSE(fault.finding.effect.empty());
    EXPECT_FALSE(fault.finding.remedy.empty());
}

void expectAllTold(const std::vector<Mistake>& mistakes)
{
    for (const Mistake& mistake : mistakes) {
        expectTold(mistake);
    }
}

constexpr const char* kSystem = "\"VexoSystem\": {";
constexpr const char* kEnclosure = "\"VexoEnclosure\": {";
constexpr const char* kDrive = "\"VexoDrive\": {";
constexpr const char* kDrives = "\"VexoDriveCollection\": {";
constexpr const char* kMemory = "\"VexoMemory\": {";
constexpr const char* kProbe = "\"VexoTemperatureProbe\": {";
constexpr const char* kController = "\"VexoManagementController\": {";
constexpr const char* kLed = "\"VexoIndicatorService\": {";
constexpr const char* kDiagnostics = "\"VexoDiagnosticService\": {";
constexpr const char* kPowerState = "\"VexoPowerState\": {";
constexpr const char* kDriveOem = "\"DriveOem\": {";
constexpr const char* kMemoryOem = "\"MemoryOem\": {";

TEST(CheckedMapping, TheSampleIsSound)
{
    const SampleFiles files;
    for (const auto depth : {host::check::Depth::Tables, host::check::Depth::Rows}) {
        const host::check::Report report = files.check(depth);
        EXPECT_TRUE(report.isMappingUsable);
        EXPECT_TRUE(report.needsCache);
        for (const Fault& fault : report.faults) {
            ADD_FAILURE() << logLine(fault);
        }
    }
}

TEST(CheckedMapping, TextsThatJsonReadersPassOver)
{
    expectAllTold({
        {"\"VexoVolumeCollection\": {", "{\"VexoVolume\": {}}\n  },", "{\"VexoVolume\": {}}\n  }},",
         "", "behind the end of the mapping", "}},"},
        {kSystem, "\"Computer System\"", "\"Rechnerger\xE4t\"", "", "not UTF-8"},
        {kMemoryOem, kMemoryOem, "\"MemoryOem\": {\"instances\": {}},\n\"MemoryOem\": {",
         "MemoryOem", "\"MemoryOem\" stands here once more", "\"MemoryOem\": {\n"},
        {kDrive, "\"Slot\"", "\"Size\": {},\n \"Slot\"",
         "VexoDrive, mappings, XCIM_DiskDrive, properties", "\"Size\" stands here once more",
         "\"Size\": {\"cim_type\": \"uint64\""},
        {kDrive, "{\"cim_type\": \"uint64\"",
         "{\"\\u0063im_type\": \"uint8\", \"cim_type\": \"uint64\"",
         "VexoDrive, mappings, XCIM_DiskDrive, properties, Size",
         "\"cim_type\" stands here once more"},
    });
}

TEST(CheckedMapping, FormOfEntries)
{
    expectAllTold({
        {kSystem, kSystem, "\"_comment\": \"made by hand\", \"VexoSystem\": {", "_comment",
         "the entry is no object"},
        {kSystem, kSystem, "\"VexoNothing\": [], \"VexoSystem\": {", "VexoNothing", "is no object"},
        {kDrives, "true", "\"yes\"", "VexoDriveCollection",
         "\"is_collection\" is not true or false"},
        {kDrive, "[\"GET\", \"HEAD\"]", "\"GET\"", "VexoDrive",
         "\"allowed_operations\" is not a list"},
        {kDrive,
         "{\"ComputerSystem\": {\"@odata.id\": "
         "\"/redfish/v1/Vexo/Systems/VexoSystem/System.Embedded.1\"}}",
         "[]", "VexoDrive", "\"Links\" is not an object"},
        {kMemory, "\"Tag\"", "[\"Tag\"]", "VexoMemory", "\"UniqueSelector\" is not a text"},
        {kDrive, "\"UniqueSelector\"", "\"UniqueSelecter\"", "VexoDrive",
         "no key \"UniqueSelecter\""},
        {kDrive, "\"UniqueSelector\"", "\"unique_selector\"", "VexoDrive",
         "no key \"unique_selector\""},
        {kDrive, "\"@odata.id\"", "\"@odata_id\"", "VexoDrive", "no key \"@odata_id\""},
        {kDrive, "\"mappings\"", "\"mapping\"", "VexoDrive", "no key \"mapping\""},
        {kDrives, "\"is_collection\"", "\"isCollection\"", "VexoDriveCollection",
         "no key \"isCollection\""},
        {kController, "\"Selectors\"", "\"Selector\"", "VexoManagementController",
         "no key \"Selector\""},
    });
}

TEST(CheckedMapping, FormOfClassesAndProperties)
{
    expectAllTold({
        {kDrive, "\"is_cached\": true", "\"is_cached\": \"true\"",
         "VexoDrive, class XCIM_DiskDrive", "\"is_cached\" is not true or false"},
        {kDrive, "\"is_cached\": true", "\"is_cached\": true, \"refresh_interval\": 0",
         "VexoDrive, class XCIM_DiskDrive",
         "\"refresh_interval\" is not a whole number of seconds, 1 or more"},
        {kDrive, "\"is_cached\"", "\"is_cashed\"", "VexoDrive, class XCIM_DiskDrive",
         "no key \"is_cashed\""},
        {kDrive, "\"properties\"", "\"propertys\"", "VexoDrive, class XCIM_DiskDrive",
         "no key \"propertys\""},
        {kMemory, "[\"Tag\"]", "\"Tag\"", "VexoMemory, class XCIM_PhysicalMemory",
         "\"key_properties\" is not a list"},
        {kDrive, "{\"cim_type\": \"string\", \"redfish_type\": \"Edm.String\"}", "\"string\"",
         "VexoDrive, property DeviceID", "this is no object"},
        {kDrive, "\"cim_type\": \"uint64\"", "\"cimType\": \"uint64\"", "VexoDrive, property Size",
         "no key \"cimType\""},
        {kDrive, "\"value_mapping\": {\"0\": \"Unknown\", \"1\": \"HDD\", \"2\": \"SSD\"}",
         "\"value_mapping\": [\"Unknown\", \"HDD\"]", "VexoDrive, property MediaKind",
         "\"value_mapping\" is not an object"},
        {kDrive, "\"value_mapping\"", "\"valuemapping\"", "VexoDrive, property MediaKind",
         "no key \"valuemapping\""},
        {kDrive, "\"alias\": \"SlotNumber\"", "\"Alias\": \"SlotNumber\"",
         "VexoDrive, property Slot", "no key \"Alias\""},
    });
}

TEST(CheckedMapping, Uris)
{
    expectAllTold({
        {"\"VexoPowerManagementService\": {", "\"VexoPower", "\"Power", "PowerManagementService",
         "name lacks \"Vexo\""},
        {"\"VexoPowerManagementService\": {", "\"VexoPower", "\"vexoPower",
         "vexoPowerManagementService", "name lacks \"Vexo\""},
        {kDrive, "/VexoDrive\"", "/VexoDrives\"", "VexoDrive",
         "\"@odata.id\" ends in \"VexoDrives\""},
        {kMemory, "/VexoMemory\"", "/x/VexoDrive\"", "VexoMemory",
         "\"@odata.id\" ends in \"VexoDrive\""},
        {kMemory, "/VexoMemory\"", "/VexoDrive\"", "VexoMemory",
         "/VexoDrive\" is a URI of VexoDrive too", kMemory},
        {kDrive, "\"/redfish", "\"redfish", "VexoDrive", "does not begin with a slash"},
        {kDrive, "/VexoDrive\"", "/VexoDrive/\"", "VexoDrive", "ends in a slash"},
        {kDrive, "/VexoDrive\"", "/VexoDrive?\"", "VexoDrive", "a character that is in no path"},
        {kDrive, "\"@odata.id\": \"/redfish/v1/Vexo/Systems/System.Embedded.1/VexoDrive\",\n", "",
         "VexoDrive", "has no \"@odata.id\"", kDrive},
    });
}

TEST(CheckedMapping, CollectionsAndSingletons)
{
    expectAllTold({
        {kDrives, "{\"VexoDrive\": {}}", "{}", "VexoDriveCollection", "no entry of members",
         kDrives},
        {kDrives, "\"mappings\": {\"VexoDrive\": {}}", "\"Other\": 1", "VexoDriveCollection",
         "no entry of members", kDrives},
        {kDrives, "{\"VexoDrive\": {}}", "{\"VexoDrve\": {}}", "VexoDriveCollection",
         "members are \"VexoDrve\", which no entry is"},
        {kDrives, "{\"VexoDrive\": {}}", "{\"XCIM_DiskDrive\": {}}", "VexoDriveCollection",
         "\"XCIM_DiskDrive\", which no entry is"},
        {kDrives, "{\"VexoDrive\": {}}", "{\"VexoDriveCollection\": {}}", "VexoDriveCollection",
         "in a circle"},
        {kDrives, "\"is_collection\": true", "\"is_collection\": false", "VexoDriveCollection",
         "\"VexoDrive\" in \"mappings\" is an entry", "\"mappings\""},
        {kDrives, "\"supports_top_skip\": true", "\"supports_top_skip\": false",
         "VexoDriveCollection", "without \"supports_top_skip\"", "\"supports_nextlink\""},
        {kController, "\"CreationClassName=XCIM_ManagementController,Name", "\"Tavix,Name",
         "VexoManagementController", "\"Selectors\" has \"Tavix\""},
        {kPowerState, "=System.Embedded.1", "=System.Embedded.1,", "VexoPowerState",
         "\"Selectors\" has \"\""},
        {kPowerState, "\"InstanceID=", "\"InstanceID:", "VexoPowerState", "which is no name=value"},
        {kProbe, "\"DeviceID\"", "\"ProbeID\"", "VexoTemperatureProbe",
         "the key \"ProbeID\" is no mapped property"},
        {kProbe, "\"DeviceID\"", "\"deviceid\"", "VexoTemperatureProbe",
         "the key \"deviceid\" is no mapped property"},
        {kDrive, "\"redfish_type\": \"Edm.String\"", "\"alias\": \"Id\"",
         "VexoDrive, property DeviceID", "the key has an alias"},
        {kSystem, kSystem,
         "\"VexoNew\": {\"@odata.id\": \"/r/VexoNew\", \"UniqueSelector\": "
         "\"I\"},\n\"VexoSystem\": {",
         "VexoNew", "has \"UniqueSelector\" but no class"},
        {kSystem, kSystem,
         "\"VexoNew\": {\"@odata.id\": \"/r/VexoNew\", \"Selectors\": "
         "\"A=1\"},\n\"VexoSystem\": {",
         "VexoNew", "has \"Selectors\" but no class"},
    });
}

TEST(CheckedMapping, Links)
{
    expectAllTold({
        {kEnclosure, "\"VexoEnclosureEMMCollection\": {}", "\"VexoEnclosureEMMs\": {}",
         "VexoEnclosure, link VexoEnclosureEMMs", "no link of this name"},
        {kDrive, "{\"@odata.id\": \"/redfish/v1/Vexo/Systems/VexoSystem/System.Embedded.1\"}",
         "\"/redfish/v1/Vexo/Systems/VexoSystem/System.Embedded.1\"",
         "VexoDrive, link ComputerSystem", "the link has no \"@odata.id\""},
    });
}

TEST(CheckedMapping, Properties)
{
    expectAllTold({
        {kDrive, "\"uint64\"", "\"unit64\"", "VexoDrive, property Size", "no type of CIM"},
        {kDrive, "\"uint64\"", "\"int64\"", "VexoDrive, property Size", "no type of CIM"},
        {kDrive, "\"boolean\"", "\"bool\"", "VexoDrive, property FailurePredicted",
         "no type of CIM"},
        {kDrive, "\"cim_type\": \"uint32\"", "\"cim_type\": \"UINT32\"",
         "VexoDrive, property BlockSize", "not in lower case"},
        {kProbe, "\"sint32\"", "\"int32\"", "VexoTemperatureProbe, property CurrentReading",
         "no type of CIM"},
        {kDrive, "\"FreeSizeInBytes\"", "\"SizeInBytes\"", "VexoDrive, property FreeSize",
         "shown as \"SizeInBytes\", as property Size is"},
        {kDrive, "\"SlotNumber\"", "\"Model\"", "VexoDrive, property Slot",
         "shown as \"Model\", as property Model is"},
        {kDrive, "{\"5\": \"SATA\", \"6\": \"SAS\", \"7\": \"PCIe\"}", "{\"SATA\": \"5\"}",
         "VexoDrive, property BusProtocol", "has \"SATA\", which no uint16 is"},
        {kDrive, "{\"5\": \"SATA\"", "{\"05\": \"SATA\"", "VexoDrive, property BusProtocol",
         "has \"05\", which no uint16 is"},
        {kDrive, "{\"cim_type\": \"boolean\"",
         "{\"value_mapping\": {\"true\": \"Yes\"}, \"cim_type\": \"boolean\"",
         "VexoDrive, property FailurePredicted", "has \"true\", which no boolean is"},
        {kProbe, "{\"cim_type\": \"boolean\"",
         "{\"value_mapping\": {\"1\": \"Yes\"}, \"cim_type\": \"boolean\"",
         "VexoTemperatureProbe, property AlarmActive", "has a value map"},
        {kDrive, "\"5\": \"SATA\"", "\"5\": {\"Name\": \"SATA\"}",
         "VexoDrive, property BusProtocol", "\"5\" stands for no text"},
    });
}

TEST(CheckedMapping, ActionsAndTheirTargets)
{
    expectAllTold({
        {kLed, "\"target\"", "\"tarjet\"",
         "VexoIndicatorService, action #VexoIndicatorService.SetIndicator", "no key \"tarjet\""},
        {kLed, "\"#VexoIndicatorService.SetIndicator\"", "\"VexoIndicatorService.SetIndicator\"",
         "VexoIndicatorService, action VexoIndicatorService.SetIndicator", "does not begin with #"},
        {kLed, "\"#VexoIndicatorService.SetIndicator\"", "\"#VexoIndicatorService.Set\"",
         "VexoIndicatorService, action #VexoIndicatorService.Set", "the action's key is",
         "\"target\""},
        {kLed, "1/VexoIndicatorService/Actions", "1/VexoIndicator/Actions",
         "VexoIndicatorService, action #VexoIndicatorService.SetIndicator",
         "leads to the entry \"VexoIndicator\""},
        {kLed,
         "/redfish/v1/Vexo/Chassis/System.Embedded.1/VexoIndicatorService/Actions/"
         "VexoIndicator",
         "/VexoIndicator", "VexoIndicatorService, action #VexoIndicatorService.SetIndicator",
         "fewer than three segments"},
        {kLed, "Actions/VexoIndicatorService.SetIndicator\"",
         "Actions/#VexoIndicatorService.SetIndicator\"",
         "VexoIndicatorService, action #VexoIndicatorService.SetIndicator", "is no path"},
        {kLed,
         "/redfish/v1/Vexo/Chassis/System.Embedded.1/VexoIndicatorService/Actions/"
         "VexoIndicatorService.SetIndicator",
         "/redfish/v1/Vexo/Systems/System.Embedded.1/VexoDrive", "VexoIndicatorService",
         "is a URI of VexoDrive too", kLed},
        {kLed, "\"SetIndicator\": {", "\"SetIndicatr\": {",
         "VexoIndicatorService, action #VexoIndicatorService.SetIndicator",
         "method \"SetIndicator\" is not declared", "\"#VexoIndicatorService.SetIndicator\": {"},
    });
}

TEST(CheckedMapping, ParametersOfMethods)
{
    constexpr const char* kTests = "VexoDiagnosticService, method RunDiagnostics, input Tests";
    expectAllTold({
        {kDiagnostics, "\"redfish_type\": \"Collection(Edm.String)\",", "", kTests,
         "no \"redfish_type\"", "\"Tests\": {"},
        {kLed, "\"redfish_type\": \"Edm.Int64\"", "\"redfish_type\": \"Edm.Int32\"",
         "VexoIndicatorService, method SetIndicator, input DurationSeconds", "no value is of"},
        {kDiagnostics, "{\"redfish_type\": \"Edm.Int64\"",
         "{\"redfish_type\": \"Collection(Edm.Int64)\"",
         "VexoDiagnosticService, method RunDiagnostics, input LoopCounts", "are taken for texts"},
        {kDiagnostics, "\"is_arraytype\": true,", "", kTests, "is no array",
         "\"redfish_type\": \"Collection"},
        {kLed, "\"cim_type\": \"uint32\"", "\"cim_type\": \"unit32\"",
         "VexoIndicatorService, method SetIndicator, input DurationSeconds", "no type of CIM"},
        {kLed, "\"3\": \"Blinking\"", "\"3\": \"Lit\"",
         "VexoIndicatorService, method SetIndicator, input IndicatorState", "\"Lit\" twice"},
        {kLed, "\"2\": \"Lit\"", "\"Lit\": \"Lit\"",
         "VexoIndicatorService, method SetIndicator, input IndicatorState", "which no uint16 is"},
        {kLed, "\"isrequired\"", "\"is_required\"",
         "VexoIndicatorService, method SetIndicator, input IndicatorState",
         "no key \"is_required\""},
        {kLed, "\"ActivationState\"", "\"Element\"",
         "VexoIndicatorService, method SetIndicator, input IndicatorState",
         "sent as \"Element\", as Element is", "\"IndicatorState\": {"},
        {kDiagnostics, "\"isrequired\": true", "\"alias\": \"Kinds\"", kTests,
         "an array with a value map has an alias"},
    });
}

TEST(CheckedMapping, Containers)
{
    expectAllTold({
        {kMemoryOem, "\"VexoMemory\"", "\"VexoMemori\"", "MemoryOem, embedded resource VexoMemori",
         "no entry is called \"VexoMemori\""},
        {kDriveOem, ":(Enclosure\\\\.[0-9]+)$", ":(Enclosure\\\\.[0-9]+$",
         "DriveOem, embedded resource VexoEnclosure", "\"KeyRegex\""},
        {kDriveOem, ":(Enclosure\\\\.[0-9]+)$", ":Enclosure\\\\.[0-9]+$",
         "DriveOem, embedded resource VexoEnclosure", "has no group"},
        {kDriveOem, "#p1#EMM", "#p2#EMM", "DriveOem, embedded resource VexoEnclosureEMM",
         "nothing is put in the place of #p2"},
        {kDriveOem, "#p1#EMM", "#p1#p1", "DriveOem, embedded resource VexoEnclosureEMM",
         "#p1 stands"},
        {kDriveOem, "DeviceID = '#p1", "Device = '#p1",
         "DriveOem, embedded resource VexoEnclosureEMM", "no such column: Device"},
        {kDriveOem, "'System.Embedded.1'", "'System.Embedded.1",
         "DriveOem, embedded resource VexoSystem", "is no condition"},
        {kMemoryOem, "\"VexoMemory\"", "\"VexoTemperatureProbe\"",
         "MemoryOem, embedded resource VexoTemperatureProbe", "is not cached"},
        {kMemoryOem, "\"VexoMemory\"", "\"VexoMemoryCollection\"",
         "MemoryOem, embedded resource VexoMemoryCollection", "a collection is embedded by a key"},
        {kMemory, "\"key_properties\": [\"Tag\"]", "\"key_properties\": [\"Tag\", \"Name\"]",
         "MemoryOem, embedded resource VexoMemory", "not exactly one name",
         "\"VexoMemory\": {\"KeyRegex\""},
        {kMemoryOem, "\"KeyRegex\"", "\"keyregexp\"", "MemoryOem, embedded resource VexoMemory",
         "no key \"keyregexp\""},
    });
}

TEST(CheckedMapping, WhatTheCacheHasNot)
{
    expectAllTold({
        {kDrive, "\"XCIM_DiskDrive\"", "\"XCIM_DiskDrve\"", "VexoDrive, class XCIM_DiskDrve",
         "no table Tbl_XCIM_DiskDrve"},
        {kDrive, "\"Slot\"", "\"Slott\"", "VexoDrive, property Slott", "no column \"Slott\""},
        {kDrive, "\"Slot\"", "\"slot\"", "VexoDrive, property slot",
         "the column is called \"Slot\""},
        {"\"VexoSoftwareIdentity\": {", "\"InstanceID\"", "\"InstanceId\"",
         "VexoSoftwareIdentity, key InstanceId", "the column is called \"InstanceID\""},
        {"\"VexoSoftwareIdentity\": {", "\"InstanceID\"", "\"Instance\"",
         "VexoSoftwareIdentity, key Instance", "no column \"Instance\""},
        {kDrive,
         "{\"cim_type\": \"uint16\", \"redfish_type\": \"Edm.Int64\", \"alias\": "
         "\"SlotNumber\"}",
         "{}", "VexoDrive, property Slot", "the column has numbers"},
        {kDrive, "{\"cim_type\": \"uint16\"", "{\"cim_type\": \"string\"",
         "VexoDrive, property Slot", "the column has numbers"},
        {kDrive, "{\"cim_type\": \"boolean\", \"redfish_type\": \"Collection(Edm.Boolean)\"",
         "{\"redfish_type\": \"Collection(Edm.Boolean)\"", "VexoDrive, property SelfTestPassed",
         "the column has numbers"},
    });
}

} // namespace
