// Any bytes as the cells of a row, on their way from SQLite to JSON.
//
// An input is one byte, odd for a collection and even for an instance, then the cells: a byte for
// the kind, two (little-endian) for the length, and the content. Cells that are missing are NULL.
#include "SQLInterface.h"
#include "SQLInterface/Statement.h"
#include "checks.h"

#include <json/json.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <sstream>
#include <string_view>

namespace {

// Each property has a type of number: an INTEGER cell or a number array of any other type ends the
// process, as a REAL cell does, and neither is made here.
constexpr const char* kEntry = R"({"mappings": {"XCIM_Row": {"properties": {
    "Text": {"cim_type": "uint32"},
    "Renamed": {"cim_type": "uint8", "alias": "Alias"},
    "Mapped": {"cim_type": "uint16",
               "value_mapping": {"1": "On", "2": null, "3": {"a": []}, "-1": 7, "A": "B"}},
    "Flag": {"cim_type": "Boolean"},
    "Time": {"cim_type": "datetime"},
    "Large": {"cim_type": "UINT64"},
    "Signed": {"cim_type": "sint64"},
    "Small": {"cim_type": "sint8"}
}}}})";
constexpr const char* kQuery = "select ?1 Text, ?2 Renamed, ?3 Mapped, ?4 Flag,"
                               " ?5 Time, ?6 Large, ?7 Signed, ?8 Small";
constexpr const char* kQueryTwice =
    "select ?1 Text, ?2 Renamed, ?3 Mapped, ?4 Flag, ?5 Time, ?6 Large, ?7 Signed, ?8 Small"
    " union all select ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16";

Json::Value parsedEntry()
{
    std::istringstream text(kEntry);
    Json::Value entry;
    text >> entry;
    return entry;
}

struct Database
{
    Database() { fuzz::require(sqlite3_open(":memory:", &handle) == SQLITE_OK, "SQLite opens"); }
    ~Database() { sqlite3_close(handle); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    sqlite3* handle = nullptr;
};

std::string_view take(std::string_view& input, size_t count)
{
    const std::string_view taken = input.substr(0, count);
    input.remove_prefix(taken.size());
    return taken;
}

int64_t numberOf(std::string_view bytes)
{
    int64_t number = 0;
    std::memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
    return number;
}

void bindCell(sqlite3_stmt* stmt, int parameter, std::string_view& input)
{
    const std::string_view head = take(input, 3);
    if (head.size() < 3) {
        return;
    }
    const size_t length = static_cast<uint8_t>(head[1]) + 256U * static_cast<uint8_t>(head[2]);
    const std::string_view content = take(input, length);
    const int bytes = static_cast<int>(content.size());
    switch (static_cast<uint8_t>(head[0]) % 4) {
    case 0:
        sqlite3_bind_blob(stmt, parameter, content.data(), bytes, SQLITE_STATIC);
        break;
    case 1:
        sqlite3_bind_text(stmt, parameter, content.data(), bytes, SQLITE_STATIC);
        break;
    case 2:
        sqlite3_bind_int64(stmt, parameter, numberOf(content));
        break;
    default:
        break; // NULL
    }
}

// An array holds no more than its header says, and the answer says what the header does.
void checkArrays(const Json::Value& row)
{
    constexpr std::string_view kCount = "@odata.count";
    for (auto member = row.begin(); member != row.end(); ++member) {
        const std::string name = member.name();
        if (name.ends_with(kCount)) {
            const Json::Value& array = row[name.substr(0, name.size() - kCount.size())];
            const auto count = static_cast<Json::ArrayIndex>(std::max(member->asInt(), 0));
            fuzz::require(array.isArray() && array.size() <= count,
                          "no more elements than counted");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const Database kDatabase;
    static const Json::Value kParsed = parsedEntry();
    const std::unique_ptr<char[]> bytes(new char[size + 1]());
    std::copy(data, data + size, bytes.get());
    std::string_view input(bytes.get(), size);

    const std::string_view flags = take(input, 1);
    const bool isCollection = !flags.empty() && (static_cast<uint8_t>(flags[0]) & 1U) != 0;
    cimgate::Statement statement;
    fuzz::require(sqlite3_prepare_v2(kDatabase.handle, isCollection ? kQueryTwice : kQuery, -1,
                                     statement.slot(), nullptr) == SQLITE_OK,
                  "the query is sound");
    for (int i = 1; i <= sqlite3_bind_parameter_count(statement.get()); ++i) {
        bindCell(statement.get(), i, input);
    }

    Json::Value out;
    const int rc =
        SQLInterface().SQLToJson(statement.get(), out, kParsed, "XCIM_Row", isCollection);
    fuzz::require(rc == 0, "there is a row");
    if (isCollection) {
        fuzz::require(out["Members"].size() == 2, "each row is a member");
        for (const Json::Value& member : out["Members"]) {
            checkArrays(member);
        }
    } else {
        checkArrays(out);
    }
    fuzz::requireJsonObject(Json::FastWriter().write(out));
    return 0;
}
