#include "bench_system.h"

#include <json/json.h>
#include <sqlite3.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace bench {

namespace {

// How a property's values are stored and mapped.
enum class Kind { Text, Number, Mapped, Boolean, DateTime, TextArray, MappedArray };

struct Property
{
    const char* name;
    Kind kind;
    const char* cimType;
    const char* alias;
    const char* value; // an SQL expression of the row's number i
};

// The kinds are mixed as in the mapping of the sample system: a third texts, as many numbers, some
// of each other kind, an alias for every sixth.
constexpr std::array<Property, kProperties> kDisk = {{
    {"InstanceID", Kind::Text, "string", nullptr, "printf('Disk.Bay.%d:Enclosure.1', i)"},
    {"DisplayName", Kind::Text, "string", "DisplayNameText",
     "printf('Solid State Disk 0:1:%d', i)"},
    {"Manufacturer", Kind::Text, "string", nullptr, "'Vexo'"},
    {"Model", Kind::Text, "string", nullptr, "'VX7-SSD-960G'"},
    {"SerialNumber", Kind::Text, "string", nullptr, "printf('S3F5NX0J%06d', i * 7919)"},
    {"PartNumber", Kind::Text, "string", nullptr, "'TW0GM5R1LOH007BB03D1A00'"},
    {"Revision", Kind::Text, "string", nullptr, "'GC57'"},
    {"SASAddress", Kind::Text, "string", nullptr, "printf('4433221107%06X', i)"},
    {"Notes", Kind::Text, "string", nullptr, "''"},
    {"Size", Kind::Number, "uint64", "SizeBytes", "960197124096 + i"},
    {"FreeSize", Kind::Number, "uint64", "FreeSizeBytes", "i * 1048576"},
    {"BlockSize", Kind::Number, "uint32", nullptr, "512"},
    {"Slot", Kind::Number, "uint16", nullptr, "i"},
    {"Connector", Kind::Number, "uint8", nullptr, "i % 4"},
    {"Temperature", Kind::Number, "sint16", "TemperatureCelsius", "20 + i % 30"},
    {"ClockOffset", Kind::Number, "sint64", nullptr, "-1843 - i"},
    {"HealthState", Kind::Mapped, "uint16", nullptr, "5"},
    {"EnabledState", Kind::Mapped, "uint16", nullptr, "10"},
    {"MediaType", Kind::Mapped, "uint16", nullptr, "i % 3 * 5"},
    {"BusProtocol", Kind::Mapped, "uint16", nullptr, "20"},
    {"PredictiveFailure", Kind::Boolean, "boolean", nullptr, "i % 2"},
    {"ManufactureDate", Kind::DateTime, "datetime", nullptr, "1700000000123456 + i * 1000000"},
    {"LastUpdateTime", Kind::DateTime, "datetime", nullptr, "1714536727250000 + i * 1000000"},
    {"SupportedModes", Kind::TextArray, "string", nullptr,
     "CAST(X'01000000' || X'03000000' || 'Raid#░#NonRaid#░#HostBusAdapter' AS BLOB)"},
    {"OperationalStatus", Kind::MappedArray, "uint16", nullptr,
     "CAST(X'02000000' || X'02000000' || '0#░#5' AS BLOB)"},
}};

constexpr const char* kBaseUri = "/redfish/v1/Vexo/Systems/System.Embedded.1/";

Json::Value valueMap()
{
    Json::Value map;
    map["0"] = "Unknown";
    map["5"] = "OK";
    map["10"] = "Degraded";
    map["20"] = "MajorFailure";
    map["25"] = "CriticalFailure";
    return map;
}

Json::Value propertyEntry(const Property& property)
{
    const bool isArray = property.kind == Kind::TextArray || property.kind == Kind::MappedArray;
    Json::Value entry;
    entry["cim_type"] = property.cimType;
    entry["redfish_type"] = isArray ? "Collection(Edm.String)" : "Edm.String";
    if (isArray) {
        entry["is_arraytype"] = true;
    }
    if (property.kind == Kind::Mapped || property.kind == Kind::MappedArray) {
        entry["value_mapping"] = valueMap();
    }
    if (property.alias != nullptr) {
        entry["alias"] = property.alias;
    }
    return entry;
}

Json::Value resourceEntry(const std::string& name)
{
    Json::Value entry;
    entry["@odata.id"] = kBaseUri + name;
    entry["@odata.type"] = "#" + name + ".v1_0_0." + name;
    entry["@odata.context"] = "/redfish/v1/$metadata#" + name + "." + name;
    entry["Name"] = name;
    entry["Description"] = "Where data is kept: " + name + ".";
    entry["Link_Header"] = "</redfish/v1/JsonSchemas/" + name + ".json>; rel=describedby";
    entry["allowed_operations"].append("GET");
    entry["allowed_operations"].append("HEAD");
    return entry;
}

Json::Value instanceEntry(const std::string& name, const std::string& cimClass)
{
    Json::Value entry = resourceEntry(name);
    entry["UniqueSelector"] = "InstanceID";
    entry["Links"]["ComputerSystem"]["@odata.id"] =
        "/redfish/v1/Vexo/Systems/VexoSystem/System.Embedded.1";
    Json::Value& mapping = entry["mappings"][cimClass];
    mapping["is_cached"] = true;
    mapping["key_properties"].append("InstanceID");
    for (const Property& property : kDisk) {
        mapping["properties"][property.name] = propertyEntry(property);
    }
    return entry;
}

Json::Value collectionEntry(const std::string& name, const std::string& member)
{
    Json::Value entry = resourceEntry(name);
    entry["is_collection"] = true;
    entry["supports_nextlink"] = true;
    entry["supports_top_skip"] = true;
    entry["mappings"][member] = Json::Value(Json::objectValue);
    return entry;
}

struct Parameter
{
    const char* name;
    const char* redfishType;
    bool isArray;
    const char* cimValue; // of a value map with redfishValue and one more; null without a map
    const char* redfishValue;
};

constexpr std::array<Parameter, 9> kTaskParameters = {{
    {"Comment", "Edm.String", false, nullptr, nullptr},
    {"Level", "Edm.String", false, "3", "Deep"},
    {"Modes", "Collection(Edm.String)", true, "2", "OK"},
    {"Names", "Collection(Edm.String)", true, nullptr, nullptr},
    {"Owner", "Edm.String", false, nullptr, nullptr},
    {"Passes", "Edm.Int64", false, nullptr, nullptr},
    {"StartTime", "Edm.DateTimeOffset", false, nullptr, nullptr},
    {"Thorough", "Edm.Boolean", false, nullptr, nullptr},
    {"Title", "Edm.String", false, nullptr, nullptr},
}};

Json::Value taskServiceEntry()
{
    Json::Value entry = resourceEntry("VexoTaskService");
    entry["Selectors"] = "InstanceID=Task.1";
    Json::Value& mapping = entry["mappings"]["XCIM_TaskService"];
    mapping["key_properties"].append("InstanceID");
    mapping["Actions"]["#VexoTaskService.StartTask"]["target"] = kActionUrl;
    Json::Value& method = mapping["methods"]["StartTask"];
    method["inputs"]["Drive"]["redfish_type"] = "Edm.String";
    method["inputs"]["Drive"]["is_ref_type"] = true;
    for (const Parameter& parameter : kTaskParameters) {
        Json::Value& input = method["inputs"][parameter.name];
        input["redfish_type"] = parameter.redfishType;
        input["is_arraytype"] = parameter.isArray;
        input["isrequired"] = true;
        if (parameter.cimValue != nullptr) {
            input["value_mapping"]["5"] = "Warning";
            input["value_mapping"][parameter.cimValue] = parameter.redfishValue;
        }
    }
    method["outputs"]["Result"]["value_mapping"]["0"] = "Passed";
    return entry;
}

void writeMapping(const std::string& path, unsigned int resourcePairs)
{
    Json::Value mapping(Json::objectValue);
    mapping["VexoTaskService"] = taskServiceEntry();
    for (unsigned int i = 0; i < resourcePairs; ++i) {
        const std::string name = "VexoDisk" + std::to_string(i);
        mapping[name] = instanceEntry(name, "XCIM_Disk" + std::to_string(i));
        mapping[name + "Collection"] = collectionEntry(name + "Collection", name);
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  "; // a mapping is written for people to read
    const std::unique_ptr<Json::StreamWriter> writer(builder.newStreamWriter());
    std::ofstream file(path);
    writer->write(mapping, &file);
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

std::string cacheScript()
{
    std::string columns;
    std::string values;
    for (const Property& property : kDisk) {
        const std::string separator = columns.empty() ? "" : ", ";
        columns += separator + property.name;
        columns += columns.size() == std::string_view(property.name).size() ? " PRIMARY KEY" : "";
        values += separator + property.value;
    }
    return "BEGIN;"
           "CREATE TABLE Tbl_CMPIReady (ClassName TEXT PRIMARY KEY);"
           "INSERT INTO Tbl_CMPIReady VALUES ('XCIM_Disk0');"
           "CREATE TABLE Tbl_XCIM_Disk0 (" +
           columns +
           ");"
           "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < " +
           std::to_string(kRows - 1) + ") INSERT INTO Tbl_XCIM_Disk0 SELECT " + values +
           " FROM n;"
           "COMMIT;";
}

void writeCache(const std::string& path)
{
    sqlite3* opened = nullptr;
    const int rc = sqlite3_open(path.c_str(), &opened);
    const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> database(opened, sqlite3_close);
    if (rc != SQLITE_OK ||
        sqlite3_exec(opened, cacheScript().c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error("cannot write " + path + ": " + sqlite3_errmsg(opened));
    }
}

} // namespace

std::string mappingPath(const std::string& directory)
{
    return directory + "/mapping.json";
}

std::string cachePath(const std::string& directory)
{
    return directory + "/cache.db";
}

void writeSystem(const std::string& directory, unsigned int resourcePairs)
{
    writeMapping(mappingPath(directory), resourcePairs);
    writeCache(cachePath(directory));
}

TemporaryDirectory::TemporaryDirectory()
    : mPath((std::filesystem::temp_directory_path() / "cimgate-bench-XXXXXX").string())
{
    if (mkdtemp(mPath.data()) == nullptr) {
        throw std::runtime_error("cannot make a directory like " + mPath);
    }
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

} // namespace bench
