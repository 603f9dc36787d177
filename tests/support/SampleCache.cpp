#include "SampleCache.h"

#include "JsonAccess.h"
#include "ResourceMapper/mapping/CachedClasses.h"

#include <pugixml.hpp>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace support {

namespace {

namespace mapping = cimgate::mapping;

// The one association of the sample. Its ends go by the only key of each.
constexpr const char* kAssociation = "XCIM_EnclosureEMMDependency";
constexpr const char* kLoading = "XCIM_PhysicalMemory";

std::string textLiteral(const std::string& text)
{
    std::string literal = "'";
    for (const char byte : text) {
        literal.append(byte == '\'' ? 2 : 1, byte);
    }
    return literal + "'";
}

// yyyymmddhhmmss.mmmmmm+000 as microseconds.
std::string microseconds(const std::string& text)
{
    const std::string iso = text.substr(0, 4) + "-" + text.substr(4, 2) + "-" + text.substr(6, 2) +
                            " " + text.substr(8, 2) + ":" + text.substr(10, 2) + ":" +
                            text.substr(12, 2);
    return "unixepoch('" + iso + "') * 1000000 + " + text.substr(15, 6);
}

// What an element of an array, or a number, is in the cache.
std::string digits(std::string_view type, const std::string& text)
{
    return type == "boolean" ? std::to_string(static_cast<int>(text == "TRUE")) : text;
}

std::string scalarLiteral(std::string_view type, const pugi::xml_node& value)
{
    const std::string text = value.child_value();
    if (!value) {
        return "NULL";
    }
    if (type == "datetime") {
        return microseconds(text);
    }
    return type == "string" ? textLiteral(text) : digits(type, text);
}

std::string arrayLiteral(std::string_view type, const pugi::xml_node& array)
{
    if (!array) {
        return "NULL";
    }
    int count = 0;
    std::string elements;
    for (const pugi::xml_node& value : array.children("VALUE")) {
        elements += (count == 0 ? "" : "#\xE2\x96\x91#") + digits(type, value.child_value());
        ++count;
    }
    if (count > 9) {
        throw std::runtime_error("a longer array than was thought of");
    }
    return "CAST(X'0" + std::string(type == "string" ? "1" : "2") + "000000' || X'0" +
           std::to_string(count) + "000000' || " + textLiteral(elements) + " AS BLOB)";
}

std::string literalOf(const pugi::xml_node& instance, const std::string& name)
{
    for (const pugi::xml_node& property : instance.children()) {
        if (property.attribute("NAME").value() == name) {
            const std::string_view type = property.attribute("TYPE").value();
            return property.name() == std::string_view("PROPERTY.ARRAY")
                       ? arrayLiteral(type, property.child("VALUE.ARRAY"))
                       : scalarLiteral(type, property.child("VALUE"));
        }
    }
    return "NULL";
}

class Repository
{
public:
    Repository()
    {
        std::set<std::filesystem::path> paths;
        for (const auto& file : std::filesystem::directory_iterator("data/sample/cim")) {
            if (file.path().extension() == ".xml") {
                paths.insert(file.path());
            }
        }
        for (const std::filesystem::path& path : paths) {
            const auto& document = mFiles.emplace_back(std::make_unique<pugi::xml_document>());
            if (!document->load_file(path.c_str())) {
                throw std::runtime_error("cannot read " + path.string());
            }
        }
    }

    [[nodiscard]] std::vector<pugi::xml_node> instancesOf(const std::string& cimClass) const
    {
        std::vector<pugi::xml_node> instances;
        const std::string query = "//INSTANCE[@CLASSNAME='" + cimClass + "']";
        for (const auto& file : mFiles) {
            for (const pugi::xpath_node& found : file->select_nodes(query.c_str())) {
                instances.push_back(found.node());
            }
        }
        return instances;
    }

private:
    std::vector<std::unique_ptr<pugi::xml_document>> mFiles;
};

std::string joined(const std::vector<std::string>& texts)
{
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : ", ") + text;
    }
    return all;
}

std::string sqlOf(const Repository& repository, const mapping::CachedClass& cimClass)
{
    const std::string table = mapping::tableOf(cimClass.name);
    std::string sql = "CREATE TABLE " + table + " (" + joined(cimClass.columns) + ");";
    for (const pugi::xml_node& instance : repository.instancesOf(cimClass.name)) {
        std::vector<std::string> cells;
        for (const std::string& column : cimClass.columns) {
            cells.push_back(literalOf(instance, column));
        }
        sql += "INSERT INTO " + table + " VALUES (" + joined(cells) + ");";
    }
    if (cimClass.name != kLoading) {
        sql += "INSERT INTO " + std::string(mapping::kReadinessTable) + " VALUES ('" +
               cimClass.name + "');";
    }
    return sql;
}

std::string associationSql(const Repository& repository)
{
    const std::string table = mapping::tableOf(kAssociation);
    std::string sql =
        "CREATE TABLE " + table + " (__LeftClass, __LeftClassKey, __RightClass, __RightClassKey);";
    for (const pugi::xml_node& instance : repository.instancesOf(kAssociation)) {
        std::vector<std::string> cells;
        for (const pugi::xpath_node& found : instance.select_nodes(".//INSTANCENAME")) {
            cells.push_back(textLiteral(found.node().attribute("CLASSNAME").value()));
            cells.push_back(
                textLiteral(found.node().child("KEYBINDING").child("KEYVALUE").child_value()));
        }
        sql += "INSERT INTO " + table + " VALUES (" + joined(cells) + ");";
    }
    return sql;
}

std::string sampleSql()
{
    std::ifstream file("data/resourcemapping.json");
    Json::Value all;
    if (!cimgate::readJson(file, all)) {
        throw std::runtime_error("cannot read the sample's mapping");
    }
    const Repository repository;
    std::string sql =
        "BEGIN; CREATE TABLE " + std::string(mapping::kReadinessTable) + " (ClassName);";
    for (const mapping::CachedClass& cimClass : mapping::cachedClasses(all)) {
        sql += sqlOf(repository, cimClass);
    }
    return sql + associationSql(repository) + "COMMIT;";
}

} // namespace

void makeSampleCache(const std::string& path)
{
    sqlite3* opened = nullptr;
    (void)sqlite3_open(path.c_str(), &opened);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> cache(opened, sqlite3_close);
    if (sqlite3_exec(opened, sampleSql().c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error(std::string("the sample fills no cache: ") +
                                 sqlite3_errmsg(opened));
    }
}

} // namespace support
