#include "CacheFile.h"

#include "SQLInterface.h"
#include "SQLInterface/DataCache.h"

#include <sqlite3.h>

#include <array>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace support {
namespace {

void closeLibraryConnection()
{
    sqlite3_close_v2(dbhandle);
    dbhandle = nullptr;
}

using Connection = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;

Connection openForWriting(const std::string& path)
{
    sqlite3* handle = nullptr;
    const int result = sqlite3_open(path.c_str(), &handle);
    Connection connection(handle, sqlite3_close);
    if (result != SQLITE_OK) {
        throw std::runtime_error("cannot open " + path);
    }
    return connection;
}

} // namespace

CacheFile::CacheFile() : mFormerPath(SQLInterface::DataCachePath)
{
    closeLibraryConnection();
    SQLInterface::DataCachePath = Path();
}

CacheFile::~CacheFile()
{
    closeLibraryConnection();
    SQLInterface::DataCachePath = mFormerPath;
}

void CacheFile::Run(const std::string& sql) const
{
    const Connection connection = openForWriting(Path());
    // A test's cache need not survive a power failure.
    const std::string text = "pragma synchronous = off; begin; " + sql + "; commit;";
    if (sqlite3_exec(connection.get(), text.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error(std::string(sqlite3_errmsg(connection.get())) + " in " + sql);
    }
}

int CacheFile::Open() const
{
    if (!std::filesystem::exists(Path())) {
        Run("create table Tbl_Unused (Unused)");
    }
    closeLibraryConnection();
    return LoadDatabase();
}

std::string arrayCell(int32_t type, int32_t count, std::string_view data)
{
    std::array<char, 2 * sizeof(int32_t)> header{};
    std::memcpy(header.data(), &type, sizeof(type));
    std::memcpy(header.data() + sizeof(type), &count, sizeof(count));
    return rawCell(std::string(header.data(), header.size()) + std::string(data));
}

std::string rawCell(std::string_view bytes)
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string literal = "x'";
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        literal += kDigits[value >> 4U];
        literal += kDigits[value & 15U];
    }
    return literal + "'";
}

int openStatements()
{
    int count = 0;
    if (dbhandle != nullptr) {
        for (sqlite3_stmt* statement = sqlite3_next_stmt(dbhandle, nullptr); statement != nullptr;
             statement = sqlite3_next_stmt(dbhandle, statement)) {
            ++count;
        }
    }
    return count;
}

StatementTrace::StatementTrace()
{
    sqlite3_trace_v2(dbhandle, SQLITE_TRACE_STMT, record, this);
}

StatementTrace::~StatementTrace()
{
    sqlite3_trace_v2(dbhandle, 0, nullptr, nullptr);
}

int StatementTrace::record(unsigned int /*event*/, void* context, void* statement, void* /*text*/)
{
    auto* const trace = static_cast<StatementTrace*>(context);
    trace->mTexts.emplace_back(sqlite3_sql(static_cast<sqlite3_stmt*>(statement)));
    return 0;
}

} // namespace support
