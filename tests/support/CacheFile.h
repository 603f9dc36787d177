// The data cache of one test: a real SQLite file, and what the library does with it.
#ifndef TESTS_SUPPORT_CACHE_FILE_H_
#define TESTS_SUPPORT_CACHE_FILE_H_

#include "TempDirectory.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace support {

class CacheFile
{
public:
    // An empty database, not opened by the library.
    CacheFile();
    // Closes the library's connection.
    ~CacheFile();
    CacheFile(const CacheFile&) = delete;
    CacheFile& operator=(const CacheFile&) = delete;

    // Runs SQL on a connection of its own, as the cache's writer; throws on an error.
    void Run(const std::string& sql) const;
    // Makes the library open the file. Returns what LoadDatabase() returned.
    int Open() const;
    [[nodiscard]] std::string Path() const { return mDirectory.File("cache.db"); }

private:
    TempDirectory mDirectory;
    std::string mFormerPath;
};

// An array cell as an SQL literal: header (type 1 for strings) and elements as they stand.
std::string arrayCell(int32_t type, int32_t count, std::string_view data);
// A cell of raw bytes as an SQL literal.
std::string rawCell(std::string_view bytes);
// What stands between the elements of an array cell.
constexpr std::string_view kSeparator = "#\xE2\x96\x91#";

// Statements on the library's connection that nobody has finalized.
int openStatements();

// Records every statement that the library runs while the object lives.
class StatementTrace
{
public:
    StatementTrace();
    ~StatementTrace();
    StatementTrace(const StatementTrace&) = delete;
    StatementTrace& operator=(const StatementTrace&) = delete;

    // The statements' texts as prepared, in order.
    [[nodiscard]] const std::vector<std::string>& Texts() const { return mTexts; }

private:
    static int record(unsigned int event, void* context, void* statement, void* text);

    std::vector<std::string> mTexts;
};

} // namespace support

#endif
