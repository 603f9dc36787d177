#include "SQLInterface/RowToJson.h"

#include "Log.h"
#include "MappingEntry.h"
#include "SQLInterface.h"
#include "SQLInterface/DataCache.h"

#include <sqlite3.h>
#include <strings.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <vector>

namespace {

// "#\u2591#"; strtok_r takes each of its bytes as a separator of its own.
constexpr const char* kElementSeparator = "#\xE2\x96\x91#";
constexpr int kStringArray = 1;
// Arrays of numbers above this many elements are not converted.
constexpr int kMaxNumberElements = 1023;
constexpr long long kUsPerSecond = 1000000;

// What a result column is, found once per call and used for each row.
struct Column
{
    std::string key;                       // name in the output
    const Json::Value* mapping = nullptr;  // the property's entry in the mapping file
    const Json::Value* valueMap = nullptr; // its "value_mapping"; null when it has none
};

const Json::Value* ValueMapSupport(const Json::Value& propertyMap)
{
    LOG_SCOPE();
    const Json::Value& valueMap = objectOf(memberOf(propertyMap, mapping::kValueMapping));
    return valueMap.empty() ? nullptr : &valueMap;
}

std::vector<Column> GetColumnNames(sqlite3_stmt* stmt, const Json::Value& properties,
                                   bool isCollection)
{
    LOG_SCOPE();
    std::vector<Column> columns;
    const int count = sqlite3_column_count(stmt);
    columns.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        const char* property = sqlite3_column_name(stmt, i);
        const std::string_view name = property == nullptr ? "" : property;
        Column column;
        column.mapping = &memberOf(properties, name);
        column.valueMap = ValueMapSupport(*column.mapping);
        // Only members of a collection are read under their aliases; a single instance gets its
        // aliases when it is shaped for the answer.
        column.key = isCollection ? textOf(*column.mapping, mapping::kAlias) : std::string();
        if (column.key.empty()) {
            column.key = name;
        }
        columns.push_back(std::move(column));
    }
    return columns;
}

// Local time of microseconds since the epoch, "" where the calendar does not reach.
std::string localDateTime(const char* text)
{
    const auto seconds = static_cast<time_t>(std::strtoll(text, nullptr, 10) / kUsPerSecond);
    tm local{};
    char buffer[32] = "";
    if (localtime_r(&seconds, &local) == nullptr ||
        std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%S%z", &local) == 0) {
        return {};
    }
    return buffer;
}

Json::Value numberByCimType(const Json::Value& propertyMap, const std::string& className,
                            const char* text)
{
    LOG_SCOPE_AS("PopulateSQLIntegerValues");
    const std::string type = textOf(propertyMap, mapping::kCimType);
    const bool typed = !type.empty();
    if (!typed) {
        LOG_AT(LOG_ERROR, "Empty type is found in RMF for %s", className.c_str());
    }
    RM_ASSERT_TEXT(typed, "ret == true");
    if (strcasecmp(type.c_str(), "uint64") == 0) {
        return Json::Value::UInt64{std::strtoull(text, nullptr, 10)};
    }
    if (strcasecmp(type.c_str(), "sint64") == 0) {
        return Json::Value::Int64{std::strtoll(text, nullptr, 10)};
    }
    if (type.starts_with("sint")) {
        return static_cast<Json::Value::Int>(std::strtol(text, nullptr, 10));
    }
    if (type.starts_with("uint")) {
        return static_cast<Json::Value::UInt>(std::strtoul(text, nullptr, 10));
    }
    if (strcasecmp(type.c_str(), "boolean") == 0) {
        return std::strtol(text, nullptr, 10) == 1;
    }
    if (strcasecmp(type.c_str(), "datetime") == 0) {
        return localDateTime(text);
    }
    LOG_AT(LOG_ERROR, "Did not match data type %s", type.c_str());
    assertionFailed(__FILE__, __LINE__, __func__, "ret == true");
}

// Calls use(text) for each of the blob's elements, at most count of them. Overwrites the data.
template <typename Use>
void forEachElement(__blobData* blob, const Use& use)
{
    if (blob->count < 1) {
        return;
    }
    char* rest = nullptr;
    char* element = strtok_r(blob->data, kElementSeparator, &rest);
    for (int32_t i = 0; i < blob->count && element != nullptr; ++i) {
        use(element);
        element = strtok_r(nullptr, kElementSeparator, &rest);
    }
}

void appendMapped(__blobData* blob, Json::Value& array, const Json::Value& valueMap)
{
    LOG_SCOPE_AS("BlobValueUpdate");
    forEachElement(blob, [&](const char* element) {
        const Json::Value* mapped = valueMap.find(element, element + std::strlen(element));
        array.append(mapped != nullptr ? *mapped : Json::Value(element));
    });
}

void appendNumbers(__blobData* blob, const Column& column, const std::string& className,
                   Json::Value& array)
{
    if (blob->count > kMaxNumberElements) {
        return;
    }
    forEachElement(blob, [&](const char* element) {
        array.append(numberByCimType(*column.mapping, className, element));
    });
}

// A NUL-terminated copy of an array cell, never shorter than its header; null without memory.
std::unique_ptr<std::byte[]> copyBlob(sqlite3_stmt* stmt, int index)
{
    const void* cell = sqlite3_column_blob(stmt, index);
    const int bytes = sqlite3_column_bytes(stmt, index);
    LOG_AT(LOG_STEP, "Blob size is :%d", bytes);
    const size_t size = std::max(static_cast<size_t>(bytes) + 1, sizeof(__blobData));
    std::unique_ptr<std::byte[]> copy(new (std::nothrow) std::byte[size]());
    if (copy != nullptr && cell != nullptr) {
        std::memcpy(copy.get(), cell, static_cast<size_t>(bytes));
    }
    return copy;
}

void blobCellToJson(sqlite3_stmt* stmt, int index, const Column& column,
                    const std::string& className, Json::Value& row)
{
    const std::unique_ptr<std::byte[]> copy = copyBlob(stmt, index);
    if (copy == nullptr) {
        row[column.key] = Json::Value::nullSingleton();
        return;
    }
    auto* blob = reinterpret_cast<__blobData*>(copy.get());
    LOG_AT(LOG_STEP, "Blob data type:%d and count:%d", blob->type, blob->count);
    LOG_AT(LOG_STEP, "Blob data :%s", &blob->data[0]);
    Json::Value array(Json::arrayValue);
    if (blob->type != kStringArray) {
        LOG_AT(LOG_STEP, "Other data type: CMPI_Integer or Bool or datetime");
    }
    if (blob->type == kStringArray || column.valueMap != nullptr) {
        const Json::Value& valueMap =
            column.valueMap == nullptr ? Json::Value::nullSingleton() : *column.valueMap;
        appendMapped(blob, array, valueMap);
    } else {
        appendNumbers(blob, column, className, array);
    }
    row[column.key] = std::move(array);
    row[column.key + "@odata.count"] = blob->count;
}

void textCellToJson(sqlite3_stmt* stmt, int index, int cellType, const Column& column,
                    const std::string& className, Json::Value& row)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, index));
    const auto bytes = static_cast<size_t>(sqlite3_column_bytes(stmt, index));
    Json::Value& out = row[column.key];
    if (text == nullptr || bytes == 0) {
        out = Json::Value::nullSingleton();
        return;
    }
    if (column.valueMap == nullptr) {
        out = cellType == SQLITE_INTEGER ? numberByCimType(*column.mapping, className, text)
                                         : Json::Value(text, text + bytes);
        return;
    }
    const Json::Value* mapped = column.valueMap->find(text, text + bytes);
    if (mapped == nullptr) {
        LOG_AT(LOG_ERROR, "Value map not present in RMF");
        out = Json::Value(text, text + bytes);
        return;
    }
    out = *mapped;
}

void cellToJson(sqlite3_stmt* stmt, int index, const Column& column, const std::string& className,
                int status, Json::Value& row)
{
    const int cellType = sqlite3_column_type(stmt, index);
    switch (cellType) {
    case SQLITE_INTEGER:
    case SQLITE_TEXT:
        textCellToJson(stmt, index, cellType, column, className, row);
        break;
    case SQLITE_BLOB:
        blobCellToJson(stmt, index, column, className, row);
        break;
    case SQLITE_NULL:
        row[column.key] = Json::Value::nullSingleton();
        break;
    default:
        LOG_AT(LOG_ERROR, "Unrecognized data type for property %s",
               sqlite3_column_name(stmt, index));
        // The cache never stores floating-point cells: one means that the file is corrupt. With a
        // row at hand the status is SQLITE_ROW, so this always ends the process.
        RM_ASSERT(status == SQLITE_OK);
    }
}

Json::Value rowToJson(sqlite3_stmt* stmt, const std::vector<Column>& columns,
                      const std::string& className, int status)
{
    Json::Value row;
    for (size_t i = 0; i < columns.size(); ++i) {
        cellToJson(stmt, static_cast<int>(i), columns[i], className, status, row);
    }
    return row;
}

} // namespace

int rowsToJson(sqlite3_stmt* stmt, Json::Value& out, const Json::Value& entry,
               const std::string& className, bool isCollection)
{
    LOG_SCOPE_AS("SQLToJson");
    int status = sqlite3_step(stmt);
    const std::vector<Column> columns =
        GetColumnNames(stmt, mapping::propertiesOf(entry, className), isCollection);
    if (status == SQLITE_DONE) {
        if (isCollection) {
            return 0;
        }
        LOG_AT(LOG_ERROR, "Rows returned is = 0 for get instance request");
        return 1;
    }
    if (!isCollection) {
        out = rowToJson(stmt, columns, className, status);
        return 0;
    }
    Json::Value& members = out["Members"];
    while (status != SQLITE_DONE) {
        members.append(rowToJson(stmt, columns, className, status));
        status = sqlite3_step(stmt);
    }
    return 0;
}

void SQLInterface::PopulateSQLIntegerValues(std::string prop, Json::Value& rmf,
                                            std::string className, std::string value,
                                            Json::Value& out)
{
    const Json::Value& properties = mapping::propertiesOf(rmf, className);
    out[prop] = numberByCimType(memberOf(properties, prop), className, value.c_str());
}

void SQLInterface::BlobValueUpdate(__blobData* blob, Json::Value& array, Json::Value valueMap)
{
    appendMapped(blob, array, objectOf(valueMap));
}
