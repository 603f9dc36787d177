#include "SQLInterface/RowToJson.h"

#include "LocalTime.h"
#include "Log.h"
#include "ResourceMapper/mapping/CimType.h"
#include "ResourceMapper/mapping/Entry.h"
#include "SQLInterface.h"
#include "SQLInterface/DataCache.h"

#include <sqlite3.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

namespace cimgate {

using mapping::NumberType;

namespace {

// "#\u2591#"; strtok_r takes each of its bytes as a separator of its own.
constexpr const char* kElementSeparator = "#\xE2\x96\x91#";
constexpr int kStringArray = 1;
// Arrays of numbers above this many elements are not converted.
constexpr int kMaxNumberElements = 1023;

// What a result column is, found once per call and used for each row.
struct Column
{
    std::string key;                       // name in the output
    const Json::Value* mapping = nullptr;  // the property's entry in the mapping file
    const Json::Value* valueMap = nullptr; // its "value_mapping"; null when it has none
    std::optional<NumberType> numberType;  // known from the first number on
    bool isShown = true;
    bool hasCount = true; // whether an array comes with its "@odata.count"
};

const Json::Value* ValueMapSupport(const Json::Value& propertyMap)
{
    LOG_SCOPE();
    const Json::Value& valueMap = mapping::valueMapOf(propertyMap);
    return valueMap.empty() ? nullptr : &valueMap;
}

// Finds the entries of properties. The columns of a query come in the order of the mapping, so that
// the next entry mostly is the one wanted.
class PropertyFinder
{
public:
    explicit PropertyFinder(const Json::Value& properties)
        : mProperties(properties), mNext(properties.begin())
    {}

    const Json::Value* find(std::string_view name)
    {
        if (mNext != mProperties.end() && nameOf(mNext) == name) {
            return &*mNext++;
        }
        return findMember(mProperties, name);
    }

private:
    const Json::Value& mProperties;
    Json::ValueConstIterator mNext;
};

Column columnNamed(std::string_view name, const Json::Value* property, RowShape shape)
{
    Column column;
    column.mapping = property == nullptr ? &Json::Value::nullSingleton() : property;
    column.valueMap = ValueMapSupport(*column.mapping);
    column.key =
        shape == RowShape::Properties ? std::string() : textOf(*column.mapping, mapping::kAlias);
    if (column.key.empty()) {
        column.key = name;
    }
    column.isShown = shape != RowShape::Answer || property != nullptr;
    column.hasCount = shape != RowShape::Answer;
    return column;
}

// The key column stands behind the properties of an answer, under its own name, unless one of them
// is shown by that name.
void showKey(std::vector<Column>& columns, std::string_view name, const std::string& unique)
{
    const auto last = columns.end() - 1;
    last->key = name;
    last->isShown = name == unique && std::none_of(columns.begin(), last, [&](const Column& other) {
                        return other.isShown && other.key == name;
                    });
}

std::vector<Column> GetColumnNames(sqlite3_stmt* stmt, const Json::Value& entry,
                                   const std::string& className, RowShape shape)
{
    LOG_SCOPE();
    PropertyFinder properties(mapping::propertiesOf(entry, className));
    std::vector<Column> columns;
    const int count = sqlite3_column_count(stmt);
    columns.reserve(static_cast<size_t>(count));
    std::string_view name;
    for (int i = 0; i < count; ++i) {
        const char* column = sqlite3_column_name(stmt, i);
        name = column == nullptr ? "" : column;
        columns.push_back(columnNamed(name, properties.find(name), shape));
    }
    const std::string unique = textOf(entry, mapping::kUniqueSelector);
    if (shape == RowShape::Answer && !unique.empty()) {
        showKey(columns, name, unique);
    }
    return columns;
}

// Local time of microseconds since the epoch, "" where the calendar does not reach.
std::string localDateTime(const char* text)
{
    return localTimeText(static_cast<time_t>(std::strtoll(text, nullptr, 10) / kUsPerSecond));
}

NumberType numberTypeOf(const Json::Value& propertyMap, const std::string& className)
{
    const std::string type = textOf(propertyMap, mapping::kCimType);
    const bool typed = !type.empty();
    if (!typed) {
        LOG_AT(LOG_ERROR, "Empty type is found in RMF for %s", className.c_str());
    }
    RM_ASSERT_TEXT(typed, "ret == true");
    const std::optional<NumberType> known = mapping::numberTypeOf(type);
    if (!known) {
        LOG_AT(LOG_ERROR, "Did not match data type %s", type.c_str());
    }
    RM_ASSERT_TEXT(known.has_value(), "ret == true");
    return *known;
}

Json::Value numberOf(NumberType type, const char* text)
{
    switch (type) {
    case NumberType::Uint64:
        return Json::Value::UInt64{std::strtoull(text, nullptr, 10)};
    case NumberType::Sint64:
        return Json::Value::Int64{std::strtoll(text, nullptr, 10)};
    case NumberType::Sint:
        return static_cast<Json::Value::Int>(std::strtol(text, nullptr, 10));
    case NumberType::Uint:
        return static_cast<Json::Value::UInt>(std::strtoul(text, nullptr, 10));
    case NumberType::Boolean:
        return std::strtol(text, nullptr, 10) == 1;
    case NumberType::DateTime:
        return localDateTime(text);
    }
    return {};
}

Json::Value numberInColumn(Column& column, const std::string& className, const char* text)
{
    LOG_SCOPE_AS("PopulateSQLIntegerValues");
    if (!column.numberType) {
        column.numberType = numberTypeOf(*column.mapping, className);
    }
    return numberOf(*column.numberType, text);
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

void appendNumbers(__blobData* blob, Column& column, const std::string& className,
                   Json::Value& array)
{
    if (blob->count > kMaxNumberElements) {
        return;
    }
    forEachElement(blob, [&](const char* element) {
        array.append(numberInColumn(column, className, element));
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

Json::Value& memberIn(Json::Value& object, std::string_view name)
{
    return *object.demand(name.data(), name.data() + name.size());
}

void blobCellToJson(sqlite3_stmt* stmt, int index, Column& column, const std::string& className,
                    Json::Value& out, Json::Value& row)
{
    const std::unique_ptr<std::byte[]> copy = copyBlob(stmt, index);
    if (copy == nullptr) {
        out = Json::Value::nullSingleton();
        return;
    }
    void* const aligned = copy.get(); // what "new" gives is aligned for any type
    auto* blob = static_cast<__blobData*>(aligned);
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
    out = std::move(array);
    if (column.hasCount) {
        row[column.key + "@odata.count"] = blob->count;
    }
}

void textToJson(std::string_view text, bool isNumber, Column& column, const std::string& className,
                Json::Value& out)
{
    const char* const end = text.data() + text.size();
    if (text.empty()) {
        out = Json::Value::nullSingleton();
    } else if (column.valueMap == nullptr) {
        out = isNumber ? numberInColumn(column, className, text.data())
                       : Json::Value(text.data(), end);
    } else if (const Json::Value* mapped = column.valueMap->find(text.data(), end)) {
        out = *mapped;
    } else {
        LOG_AT(LOG_ERROR, "Value map not present in RMF");
        out = Json::Value(text.data(), end);
    }
}

// An integer as SQLite would write it, which would allocate memory for it.
void integerCellToJson(sqlite3_stmt* stmt, int index, Column& column, const std::string& className,
                       Json::Value& out)
{
    char digits[24] = "";
    const char* end = std::to_chars(std::begin(digits), std::end(digits),
                                    int64_t{sqlite3_column_int64(stmt, index)})
                          .ptr;
    textToJson({digits, static_cast<size_t>(end - digits)}, true, column, className, out);
}

void textCellToJson(sqlite3_stmt* stmt, int index, Column& column, const std::string& className,
                    Json::Value& out)
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, index));
    const auto bytes = static_cast<size_t>(sqlite3_column_bytes(stmt, index));
    textToJson({text, text == nullptr ? 0 : bytes}, false, column, className, out);
}

// Where a cell goes: a member, and the row that it is in, which shows how long an array is too.
struct Place
{
    Json::Value& member;
    Json::Value& row;
};

void cellToJson(sqlite3_stmt* stmt, int index, Column& column, const std::string& className,
                int status, const Place& place)
{
    Json::Value& out = place.member;
    switch (sqlite3_column_type(stmt, index)) {
    case SQLITE_INTEGER:
        integerCellToJson(stmt, index, column, className, out);
        break;
    case SQLITE_TEXT:
        textCellToJson(stmt, index, column, className, out);
        break;
    case SQLITE_BLOB:
        blobCellToJson(stmt, index, column, className, out, place.row);
        break;
    case SQLITE_NULL:
        out = Json::Value::nullSingleton();
        break;
    default:
        LOG_AT(LOG_ERROR, "Unrecognized data type for property %s",
               sqlite3_column_name(stmt, index));
        // The cache never stores floating-point cells: one means that the file is corrupt. With a
        // row at hand the status is SQLITE_ROW, so this always ends the process.
        RM_ASSERT(status == SQLITE_OK);
    }
}

// The members of a row that the columns go to, in their order; null for one that is not shown.
using Cells = std::vector<Json::Value*>;

Cells cellsIn(Json::Value& row, const std::vector<Column>& columns)
{
    Cells cells;
    cells.reserve(columns.size());
    for (const Column& column : columns) {
        cells.push_back(column.isShown ? &memberIn(row, column.key) : nullptr);
    }
    return cells;
}

void rowToJson(sqlite3_stmt* stmt, std::vector<Column>& columns, const std::string& className,
               int status, const Cells& cells, Json::Value& row)
{
    Json::Value unseen;
    for (size_t i = 0; i < columns.size(); ++i) {
        cellToJson(stmt, static_cast<int>(i), columns[i], className, status,
                   {cells[i] != nullptr ? *cells[i] : unseen, row});
    }
}

// Makes one row after the other. All have the same members: each is a copy of an object that has
// them, which is cheaper than inserting them by name.
class RowMaker
{
public:
    explicit RowMaker(const std::vector<Column>& columns)
    {
        const Cells cells = cellsIn(mEmpty, columns);
        const Cells members = membersOf(mEmpty);
        for (const Json::Value* cell : cells) {
            const auto place = std::find(members.begin(), members.end(), cell);
            mPlaces.push_back(static_cast<size_t>(place - members.begin()));
        }
    }

    Json::Value next(Cells& cells) const
    {
        Json::Value row = mEmpty;
        const Cells members = membersOf(row);
        cells.clear();
        for (const size_t place : mPlaces) {
            cells.push_back(members[place]);
        }
        return row;
    }

private:
    // In the order of their names, and a null behind them.
    static Cells membersOf(Json::Value& row)
    {
        Cells members;
        members.reserve(row.size() + size_t{1});
        for (Json::Value& member : row) {
            members.push_back(&member);
        }
        members.push_back(nullptr);
        return members;
    }

    Json::Value mEmpty;
    std::vector<size_t> mPlaces; // of the columns, among the members
};

} // namespace

int rowsToJson(sqlite3_stmt* stmt, Json::Value& out, const Json::Value& entry,
               const std::string& className, RowShape shape)
{
    LOG_SCOPE_AS("SQLToJson");
    int status = sqlite3_step(stmt);
    std::vector<Column> columns = GetColumnNames(stmt, entry, className, shape);
    if (shape != RowShape::Members) {
        // Only a row is one: nulls in place of what cannot be read would look like the instance's.
        if (status != SQLITE_ROW) {
            LOG_AT(LOG_ERROR, "Rows returned is = 0 for get instance request");
            return 1;
        }
        Json::Value row;
        rowToJson(stmt, columns, className, status, cellsIn(row, columns), row);
        out = std::move(row);
        return 0;
    }
    if (status == SQLITE_DONE) {
        return 0;
    }
    Json::Value& members = writableArray(writableObject(out)["Members"]);
    const RowMaker rows(columns);
    Cells cells;
    while (status != SQLITE_DONE) {
        Json::Value row = rows.next(cells);
        rowToJson(stmt, columns, className, status, cells, row);
        members.append(std::move(row));
        status = sqlite3_step(stmt);
    }
    return 0;
}

} // namespace cimgate

void SQLInterface::PopulateSQLIntegerValues(std::string prop, Json::Value& rmf,
                                            std::string className, std::string value,
                                            Json::Value& out)
{
    const Json::Value& properties = cimgate::mapping::propertiesOf(rmf, className);
    LOG_SCOPE();
    const Json::Value& property = cimgate::memberOf(properties, prop);
    cimgate::writableObject(out)[prop] =
        cimgate::numberOf(cimgate::numberTypeOf(property, className), value.c_str());
}

void SQLInterface::BlobValueUpdate(__blobData* blob, Json::Value& array, Json::Value valueMap)
{
    cimgate::appendMapped(blob, cimgate::writableArray(array), cimgate::objectOf(valueMap));
}
