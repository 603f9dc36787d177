#include "sample_system.h"

#include "checks.h"

#include <ExtendedErrorInfoHandling.h>
#include <ResourceMapper.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace fuzz {

namespace {

std::string textOfFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The scripts of the sample system, in the order of their names.
void fillCache(const std::string& path)
{
    const std::filesystem::directory_iterator scripts("data/sample");
    sqlite3* cache = nullptr;
    int rc = sqlite3_open(path.c_str(), &cache);
    for (const auto& script : std::set<std::filesystem::path>(begin(scripts), end(scripts))) {
        if (script.extension() != ".sql") {
            continue;
        }
        rc = rc != SQLITE_OK
                 ? rc
                 : sqlite3_exec(cache, textOfFile(script).c_str(), nullptr, nullptr, nullptr);
    }
    sqlite3_close(cache);
    require(rc == SQLITE_OK, "the sample system fills a cache");
}

} // namespace

SampleSystem::SampleSystem()
{
    ExtendedErrorInfoHandling::SetRegistryDirectory("data/registries");
    ResourceMapper::RmfPath = "data/resourcemapping.json";
    SQLInterface::DataCachePath = mDirectory.File("cache.db");
    fillCache(SQLInterface::DataCachePath);
}

} // namespace fuzz
