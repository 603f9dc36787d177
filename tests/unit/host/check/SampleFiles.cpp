#include "check/SampleFiles.h"

#include "SampleCache.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace {

std::string contentOf(const std::filesystem::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void execute(const std::string& path, const std::string& sql)
{
    sqlite3* opened = nullptr;
    (void)sqlite3_open(path.c_str(), &opened);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> connection(opened, sqlite3_close);
    if (sqlite3_exec(opened, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(opened));
    }
}

// The sample's rows, in a file that is made once.
const std::string& sampleCache()
{
    static const support::TempDirectory kDirectory;
    static const std::string kPath = kDirectory.File("sample.db");
    if (!std::filesystem::exists(kPath)) {
        support::makeSampleCache(kPath);
    }
    return kPath;
}

size_t positionOf(const std::string& text, const std::string& what, size_t offset)
{
    const size_t at = text.find(what, offset);
    if (at == std::string::npos) {
        throw std::runtime_error("the sample's mapping lacks " + what);
    }
    return at;
}

} // namespace

SampleFiles::SampleFiles() : mapping(contentOf("data/resourcemapping.json"))
{
    std::filesystem::copy_file(sampleCache(), cachePath());
}

size_t SampleFiles::replace(const std::string& anchor, const std::string& text,
                            const std::string& by)
{
    const size_t at = positionOf(mapping, text, positionOf(mapping, anchor, 0));
    mapping.replace(at, text.size(), by);
    return at;
}

size_t SampleFiles::lineOf(const std::string& text, size_t offset) const
{
    const auto end =
        mapping.begin() + static_cast<std::ptrdiff_t>(positionOf(mapping, text, offset));
    return static_cast<size_t>(std::count(mapping.begin(), end, '\n')) + 1;
}

void SampleFiles::runSql(const std::string& sql) const
{
    execute(cachePath(), sql);
}

host::check::Report SampleFiles::check(host::check::Depth depth) const
{
    std::ofstream(mappingPath(), std::ios::binary) << mapping;
    return host::check::checkFiles(mappingPath(), "", cachePath(), depth);
}
