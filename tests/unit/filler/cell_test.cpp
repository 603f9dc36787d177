#include "CimValue.h"
#include "LibraryTest.h"
#include "ResourceMapper/convert/InstanceToJson.h"
#include "ResourceMapper/mapping/Entry.h"
#include "TimeZone.h"
#include "cell.h"

#include <sqlite3.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

using cimgate::mapping::NumberType;
using filler::Cell;
using filler::ColumnReading;
using filler::storedKeyOf;
using filler::StoredValue;
using filler::storedValueOf;
using support::CimMembers;
using support::CimValue;
using support::compact;
using support::IsJson;
using support::json;

constexpr uint64_t kTwoTo63 = uint64_t{1} << 63U;

// What the filler is told of a property that one entry maps so.
ColumnReading readingOf(const Json::Value& property)
{
    ColumnReading reading;
    reading.isMapped = !cimgate::mapping::valueMapOf(property).empty();
    if (!reading.isMapped) {
        reading.plain.push_back(
            cimgate::mapping::numberTypeOf(property.get("cim_type", "").asString()));
    }
    return reading;
}

std::string literalOf(const Cell& cell)
{
    switch (cell.kind) {
    case Cell::Kind::Integer:
        return std::to_string(cell.integer);
    case Cell::Kind::Text:
        return "cast(" + support::rawCell(cell.bytes) + " as text)";
    case Cell::Kind::Blob:
        return support::rawCell(cell.bytes);
    case Cell::Kind::Null:
        break;
    }
    return "null";
}

// A property P of the class C, from the client and from a data cache that was filled.
class StoredCell : public support::LibraryTest
{
protected:
    void SetUp() override { ASSERT_EQ(mCache.Open(), 0); }

    static Json::Value liveRead(const CimValue& value, const Json::Value& property)
    {
        char name[] = "P";
        CMPIData data = value.Data();
        Json::Value out(Json::objectValue);
        cimgate::propertyToJson(property, name, data, out);
        return out;
    }

    // Of the property P of what the query gives.
    Json::Value shown(const std::string& query, const Json::Value& property)
    {
        Json::Value entry;
        entry["mappings"]["C"]["properties"]["P"] = property;
        sqlite3_stmt* handle = nullptr;
        EXPECT_EQ(mSql.GetPrepareStatement(query, &handle, ""), 0) << query;
        const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(handle,
                                                                              sqlite3_finalize);
        Json::Value out;
        EXPECT_EQ(mSql.SQLToJson(handle, out, entry, "C", false), 0) << query;
        return out;
    }

    Json::Value cachedRead(const Cell& cell, const Json::Value& property)
    {
        mCache.Run("create table Tbl_C (P); insert into Tbl_C values (" + literalOf(cell) + ")");
        return shown("select P from Tbl_C", property);
    }

    SQLInterface mSql;
    support::TimeZone mTimeZone{"EET-2"};
};

struct Case
{
    const char* name;
    CimValue value;
    const char* property;         // its entry in the mapping
    const char* cached = nullptr; // what is shown from the cache; null: what a live read shows
    const char* loss = "";        // part of what is told; "" where nothing is
};

// Names the case in the tests' output, which would show the structure's bytes.
void PrintTo(const Case& one, std::ostream* stream)
{
    *stream << one.name;
}

class RoundTrip : public StoredCell, public ::testing::WithParamInterface<Case>
{};

TEST_P(RoundTrip, CachedReadShowsWhatALiveReadDoes)
{
    const Case& one = GetParam();
    const Json::Value property = json(one.property);
    const StoredValue stored = storedValueOf(one.value.Data(), readingOf(property));
    if (*one.loss == '\0') {
        EXPECT_EQ(stored.loss, nullptr) << stored.loss;
    } else {
        ASSERT_NE(stored.loss, nullptr);
        EXPECT_THAT(stored.loss, ::testing::HasSubstr(one.loss));
    }
    const std::string live = compact(liveRead(one.value, property));
    EXPECT_THAT(cachedRead(stored.cell, property),
                IsJson(one.cached == nullptr ? live : one.cached));
    if (one.cached != nullptr) {
        EXPECT_NE(live, compact(json(one.cached))) << "no difference: leave it out";
    }
}

constexpr const char* kOtherType = "cim_type";
constexpr const char* kNotStored = "not stored";
constexpr const char* kNull = R"({"P": null})";
constexpr const char* kEmpty = R"({"P": [], "P@odata.count": 0})";
constexpr const char* kMap =
    R"({"cim_type": "uint16", "value_mapping": {"0": "Off", "2": "On", "-1": "Less", "x": "Cross",
        "18446744073709551615": "All", "NULL": "None"}})";

constexpr const char* kUint8 = R"({"cim_type": "uint8"})";
constexpr const char* kUint16 = R"({"cim_type": "uint16"})";
constexpr const char* kUint32 = R"({"cim_type": "uint32"})";
constexpr const char* kUint64 = R"({"cim_type": "uint64"})";
constexpr const char* kSint8 = R"({"cim_type": "sint8"})";
constexpr const char* kSint16 = R"({"cim_type": "sint16"})";
constexpr const char* kSint32 = R"({"cim_type": "sint32"})";
constexpr const char* kSint64 = R"({"cim_type": "sint64"})";
constexpr const char* kBoolean = R"({"cim_type": "boolean"})";
constexpr const char* kDateTime = R"({"cim_type": "datetime"})";
constexpr const char* kString = R"({"cim_type": "string"})";
constexpr const char* kReal = R"({"cim_type": "real64"})";
constexpr const char* kNoType = "{}";

CimValue number(CMPIType type, long long value)
{
    return CimValue::Number(type, value);
}

CimValue dateTime(int64_t us)
{
    return CimValue::DateTime(static_cast<CMPIUint64>(us));
}

CimValue numbers(CMPIType type, const std::vector<long long>& values)
{
    std::vector<CimValue> elements;
    elements.reserve(values.size());
    for (const long long value : values) {
        elements.push_back(number(type, value));
    }
    return CimValue::Array(type, elements);
}

CimValue texts(const std::vector<std::string>& values)
{
    std::vector<CimValue> elements;
    elements.reserve(values.size());
    for (const std::string& value : values) {
        elements.push_back(CimValue::Text(value));
    }
    return CimValue::Array(CMPI_string, elements);
}

INSTANTIATE_TEST_SUITE_P(
    Scalars, RoundTrip,
    ::testing::Values(
        Case{"uint8", number(CMPI_uint8, 255), kUint8},
        Case{"uint16", number(CMPI_uint16, 65535), kUint16},
        Case{"uint32", number(CMPI_uint32, 4294967295), kUint32},
        Case{"uint64", number(CMPI_uint64, std::numeric_limits<int64_t>::max()), kUint64},
        Case{"uint64 from 2^63", number(CMPI_uint64, std::numeric_limits<int64_t>::min()), kUint64,
             R"({"P": "9223372036854775808"})", "2^63"},
        Case{"sint8", number(CMPI_sint8, -128), kSint8},
        Case{"sint16", number(CMPI_sint16, -32768), kSint16},
        Case{"sint32", number(CMPI_sint32, std::numeric_limits<int32_t>::min()), kSint32},
        Case{"sint64", number(CMPI_sint64, -5), kSint64},
        // A live read shows the low half only.
        Case{"wide sint64", number(CMPI_sint64, std::numeric_limits<int64_t>::min()), kSint64,
             R"({"P": -9223372036854775808})"},
        Case{"wider cim_type", number(CMPI_uint8, 7), kUint64},
        Case{"signed cim_type", number(CMPI_uint32, 7), kSint64},
        Case{"true", number(CMPI_boolean, 1), kBoolean},
        Case{"odd true", number(CMPI_boolean, 2), kBoolean},
        Case{"false", number(CMPI_boolean, 0), kBoolean},
        Case{"date-time", dateTime(1714536727250000), kDateTime},
        Case{"epoch", dateTime(0), kDateTime},
        // A live read takes it for one of the far future.
        Case{"date-time before 1970", dateTime(-86400000000), kDateTime,
             R"({"P": "1969-12-31T02:00:00+0200"})"},
        Case{"interval", dateTime(int64_t{99'999'999} * 86'400'000'000), kDateTime},
        Case{"no date-time", CimValue::DateTime(std::nullopt), kDateTime, kNull, "cannot be read"},
        Case{"missing date-time", CimValue::Null(CMPI_dateTime, CMPI_goodValue), kDateTime, kNull,
             "cannot be read"},
        Case{"string", CimValue::Text("a \"b\" # \xE2\x96\x91 \xC3\x96"), kString},
        Case{"string of digits", CimValue::Text("12"), kUint8},
        Case{"empty string", CimValue::Text(""), kString, kNull},
        Case{"string without text", CimValue::Text(std::nullopt), kString},
        Case{"string that is no UTF-8", CimValue::Text("a\xFF\xC3z"), kString},
        Case{"string of control characters", CimValue::Text("\x01\x1F\x7F"), kString},
        Case{"string types", CimValue::Text("12", CMPI_numericString), kString},
        Case{"chars", CimValue::Chars("text"), kString},
        Case{"real32", CimValue::Real32(0.1F), kReal, R"({"P": "0.1"})", "real"},
        Case{"real64", CimValue::Real64(-1e300), kReal, R"({"P": "-1e+300"})", "real"},
        Case{"real of an integer", CimValue::Real64(2), kUint8, R"({"P": "2"})", "real"},
        Case{"no number", CimValue::Real32(std::numeric_limits<float>::quiet_NaN()), kReal},
        Case{"infinite", CimValue::Real64(-std::numeric_limits<double>::infinity()), kReal},
        Case{"char16", number(CMPI_char16, 65), R"({"cim_type": "char16"})", kNull, kNotStored},
        Case{"reference", CimValue::Reference({}), R"({"cim_type": "reference"})", kNull,
             kNotStored},
        Case{"instance", CimValue::Null(CMPI_instance, CMPI_goodValue), kString, kNull, kNotStored},
        Case{"class", CimValue::Null(CMPI_class, CMPI_goodValue), kString, kNull, kNotStored},
        Case{"unknown", CimValue::Null(0x81, CMPI_goodValue), kString, kNull, kNotStored}));

INSTANTIATE_TEST_SUITE_P(
    OtherTypes, RoundTrip,
    ::testing::Values(
        Case{"too large for uint32", number(CMPI_uint64, 4294967296), kUint32,
             R"({"P": "4294967296"})", kOtherType},
        Case{"negative for uint32", number(CMPI_sint8, -1), kUint8, R"({"P": "-1"})", kOtherType},
        Case{"negative for uint64", number(CMPI_sint64, -1), kUint64, R"({"P": "-1"})", kOtherType},
        Case{"too large for sint32", number(CMPI_uint32, 2147483648), kSint32,
             R"({"P": "2147483648"})", kOtherType},
        Case{"too small for sint32", number(CMPI_sint64, -2147483649), kSint16,
             R"({"P": "-2147483649"})", kOtherType},
        Case{"too large for sint64", number(CMPI_uint64, -1), kSint64,
             R"({"P": "18446744073709551615"})", kOtherType},
        Case{"number for boolean", number(CMPI_uint8, 1), kBoolean, R"({"P": "1"})", kOtherType},
        Case{"number for string", number(CMPI_uint8, 1), kString, R"({"P": "1"})", kOtherType},
        Case{"number without type", number(CMPI_uint8, 1), kNoType, R"({"P": "1"})", kOtherType},
        Case{"boolean for number", number(CMPI_boolean, 1), kUint8, R"({"P": "true"})", kOtherType},
        Case{"boolean for string", number(CMPI_boolean, 0), kString, R"({"P": "false"})",
             kOtherType},
        // The same text all the same.
        Case{"date-time for string", dateTime(1714536727250000), kString, nullptr, kOtherType},
        Case{"number for date-time", number(CMPI_uint64, 5), kDateTime, R"({"P": "5"})",
             kOtherType}));

INSTANTIATE_TEST_SUITE_P(
    ValueMaps, RoundTrip,
    ::testing::Values(Case{"mapped number", number(CMPI_uint16, 2), kMap},
                      Case{"mapped negative", number(CMPI_sint32, -1), kMap},
                      Case{"mapped uint64", number(CMPI_uint64, -1), kMap},
                      Case{"mapped string", CimValue::Text("x"), kMap},
                      Case{"mapped null array", CimValue::Null(CMPI_uint16A), kMap, kEmpty},
                      Case{"mapped numbers", numbers(CMPI_uint16, {0, 2, 0}), kMap,
                           R"({"P": ["Off", "On", "Off"], "P@odata.count": 3})"},
                      Case{"mapped strings", texts({"x", "x"}), kMap,
                           R"({"P": ["Cross", "Cross"], "P@odata.count": 2})"},
                      // A live read leaves out what the map lacks, and has nothing for other types.
                      Case{"unmapped number", number(CMPI_uint16, 3), kMap, R"({"P": "3"})"},
                      Case{"boolean with a map", number(CMPI_boolean, 0), kMap, R"({"P": "Off"})"},
                      Case{"date-time with a map", dateTime(2), kMap, R"({"P": "On"})"},
                      // A live read looks up 0.
                      Case{"null with a map", CimValue::Null(CMPI_uint16), kMap, kNull}));

INSTANTIATE_TEST_SUITE_P(
    Nulls, RoundTrip,
    ::testing::Values(Case{"null uint8", CimValue::Null(CMPI_uint8), kUint8},
                      Case{"null uint64", CimValue::Null(CMPI_uint64), kUint64},
                      Case{"null sint32", CimValue::Null(CMPI_sint32), kSint32},
                      Case{"null boolean", CimValue::Null(CMPI_boolean), kBoolean},
                      Case{"null date-time", CimValue::Null(CMPI_dateTime), kDateTime},
                      Case{"null string", CimValue::Null(CMPI_string), kString},
                      Case{"null real", CimValue::Null(CMPI_real64), kReal},
                      Case{"null char16", CimValue::Null(CMPI_char16), kNoType},
                      Case{"null reference", CimValue::Null(CMPI_ref), kNoType},
                      Case{"null instance", CimValue::Null(CMPI_instance), kNoType},
                      Case{"null array", CimValue::Null(CMPI_stringA), kString},
                      Case{"missing property", CimValue::Null(CMPI_null), kString},
                      Case{"null key", CimValue::Null(CMPI_uint8, CMPI_nullValue | CMPI_keyValue),
                           kUint8, kNull},
                      Case{"not found", CimValue::Null(CMPI_string, CMPI_notFound), kString, kNull},
                      Case{"bad", CimValue::Null(CMPI_uint8, CMPI_badValue), kUint8, kNull}));

INSTANTIATE_TEST_SUITE_P(
    Arrays, RoundTrip,
    ::testing::Values(
        Case{"uint8 array", numbers(CMPI_uint8, {0, 255}), kUint8},
        Case{"uint16 array", numbers(CMPI_uint16, {65535}), kUint16},
        Case{"uint32 array", numbers(CMPI_uint32, {1, 4294967295}), kUint32},
        Case{"uint64 array", numbers(CMPI_uint64, {1, -1}), kUint64},
        Case{"sint8 array", numbers(CMPI_sint8, {-128, 127}), kSint8},
        Case{"sint16 array", numbers(CMPI_sint16, {-32768}), kSint16},
        Case{"sint32 array", numbers(CMPI_sint32, {-2147483648, 2147483647}), kSint32},
        Case{"sint64 array", numbers(CMPI_sint64, {-5, 5}), kSint64},
        Case{"boolean array", numbers(CMPI_boolean, {1, 0, 1}), kBoolean},
        Case{"date-time array", CimValue::Array(CMPI_dateTime, {dateTime(0), dateTime(1000000)}),
             kDateTime},
        Case{"string array", texts({"a", "b c", "\xC3\xA4", "12"}), kString},
        Case{"string array without type", texts({"a"}), kNoType},
        Case{"string array that is no UTF-8", texts({"a\xFF", "b"}), kString},
        Case{"chars array", CimValue::Array(CMPI_chars, {CimValue::Chars("a")}), kString},
        Case{"strings without text", CimValue::Array(CMPI_string, {CimValue::Text(std::nullopt)}),
             kString},
        // A live read gives the count only.
        Case{"no numbers", numbers(CMPI_uint8, {}), kUint8, kEmpty},
        Case{"no strings", texts({}), kString, kEmpty},
        Case{"nothing without type", CimValue::Null(CMPI_null, CMPI_goodValue), kNoType}));

INSTANTIATE_TEST_SUITE_P(
    ArraysWithLosses, RoundTrip,
    ::testing::Values(
        Case{"numbers for strings", numbers(CMPI_uint8, {1, 2}), kString,
             R"({"P": ["1", "2"], "P@odata.count": 2})", kOtherType},
        Case{"numbers without type", numbers(CMPI_uint8, {1}), kNoType,
             R"({"P": ["1"], "P@odata.count": 1})", kOtherType},
        Case{"numbers for booleans", numbers(CMPI_uint8, {1}), kBoolean,
             R"({"P": ["1"], "P@odata.count": 1})", kOtherType},
        Case{"booleans for numbers", numbers(CMPI_boolean, {1, 0}), kUint8,
             R"({"P": ["true", "false"], "P@odata.count": 2})", kOtherType},
        Case{"one too large", numbers(CMPI_uint64, {1, 4294967296}), kUint32,
             R"({"P": ["1", "4294967296"], "P@odata.count": 2})", kOtherType},
        Case{"reals", CimValue::Array(CMPI_real32, {CimValue::Real32(1)}), kReal, kNull, "reals"},
        Case{"references", CimValue::Array(CMPI_ref, {CimValue::Reference({})}), kString, kNull,
             kNotStored},
        Case{"characters", numbers(CMPI_char16, {65}), kString, kNull, kNotStored},
        Case{"date-times that cannot be read",
             CimValue::Array(CMPI_dateTime, {CimValue::DateTime(std::nullopt)}), kDateTime, kNull,
             "cannot be read"},
        Case{"null element",
             CimValue::Array(CMPI_uint8, {number(CMPI_uint8, 1), CimValue::Null(CMPI_uint8)}),
             kUint8, kNull, "empty or null"},
        Case{"unreadable element", CimValue::Array(CMPI_uint8, {CimValue::Unreadable()}), kUint8,
             kNull, "empty or null"},
        Case{"empty element", texts({"a", "", "b"}), kString, kNull, "empty or null"},
        Case{"element with a hash", texts({"a", "b#c"}), kString, kNull, "separates"},
        Case{"element with a dash", texts({"a \xE2\x80\x93 b"}), kString, kNull, "separates"},
        Case{"element with an umlaut", texts({"\xC3\x96l"}), kString, kNull, "separates"}));

TEST_F(StoredCell, NumbersAreShownUpToTheirLimit)
{
    const Json::Value property = json(kUint16);
    const std::vector<long long> most(1023, 3);
    const CimValue shownOnes = numbers(CMPI_uint16, most);
    const StoredValue stored = storedValueOf(shownOnes.Data(), readingOf(property));
    EXPECT_EQ(stored.loss, nullptr);
    EXPECT_THAT(cachedRead(stored.cell, property), IsJson(compact(liveRead(shownOnes, property))));

    const CimValue oneMore = numbers(CMPI_uint16, std::vector<long long>(1024, 2));
    const StoredValue lost = storedValueOf(oneMore.Data(), readingOf(property));
    EXPECT_EQ(lost.cell, Cell());
    EXPECT_THAT(lost.loss, ::testing::HasSubstr("1023"));
}

TEST_F(StoredCell, AMapTranslatesMoreNumbersThanAreShownWithoutOne)
{
    const CimValue many = numbers(CMPI_uint16, std::vector<long long>(1024, 2));
    const StoredValue stored = storedValueOf(many.Data(), readingOf(json(kMap)));
    EXPECT_EQ(stored.loss, nullptr);
    EXPECT_EQ(cachedRead(stored.cell, json(kMap))["P"].size(), 1024U);
}

TEST_F(StoredCell, AnswersThatAreNoUtf8AreWrittenAsThoseOfLiveReads)
{
    const CimValue text = CimValue::Text("a\xFF\xE2\x96z");
    const Json::Value property = json(kString);
    const StoredValue stored = storedValueOf(text.Data(), readingOf(property));
    EXPECT_EQ(cimgate::writeJson(cachedRead(stored.cell, property)),
              cimgate::writeJson(liveRead(text, property)));
}

TEST(StoredValues, FitEveryEntryThatShowsThemWithoutAMap)
{
    const auto kindOf = [](long long value, const ColumnReading& reading) {
        return storedValueOf(number(CMPI_sint64, value).Data(), reading).cell.kind;
    };
    const ColumnReading both = {.plain = {NumberType::Uint, NumberType::Sint}};
    EXPECT_EQ(kindOf(7, both), Cell::Kind::Integer);
    EXPECT_EQ(kindOf(-7, both), Cell::Kind::Text);
    EXPECT_EQ(kindOf(3000000000, both), Cell::Kind::Text);
    EXPECT_EQ(kindOf(7, {.plain = {NumberType::Uint, std::nullopt}}), Cell::Kind::Text);
    EXPECT_EQ(kindOf(7, {.plain = {NumberType::Uint}, .isMapped = true}), Cell::Kind::Integer);
    EXPECT_EQ(kindOf(7, {}), Cell::Kind::Integer) << "nobody shows it";
}

TEST(StoredValues, ANullArrayIsNullWhereAnEntryShowsItWithoutAMap)
{
    const CMPIData null = CimValue::Null(CMPI_uint16A).Data();
    EXPECT_EQ(storedValueOf(null, {.plain = {NumberType::Uint}, .isMapped = true}).cell, Cell());
}

TEST(StoredValues, LargeNumbersThatNobodyShowsAsNumbersAreNoLoss)
{
    const StoredValue stored = storedValueOf(number(CMPI_uint64, -1).Data(), {.isMapped = true});
    EXPECT_EQ(stored.cell, (Cell{.kind = Cell::Kind::Text, .bytes = "18446744073709551615"}));
    EXPECT_EQ(stored.loss, nullptr);
}

// Every kind of value, in every way that entries may read it: a cell that the library cannot read
// ends this process.
TEST_F(StoredCell, EndsNoReader)
{
    const std::vector<CimValue> values = {
        number(CMPI_boolean, 1),
        number(CMPI_char16, 65),
        number(CMPI_uint8, 1),
        number(CMPI_uint64, -1),
        number(CMPI_sint64, -1),
        number(CMPI_sint32, -2147483648),
        CimValue::Real32(1.5F),
        CimValue::Real64(1e300),
        dateTime(-1),
        dateTime(std::numeric_limits<int64_t>::max()),
        dateTime(std::numeric_limits<int64_t>::min()),
        CimValue::Text("text"),
        CimValue::Text(""),
        CimValue::Reference({}),
        CimValue::Null(CMPI_null, CMPI_goodValue),
        CimValue::Null(CMPI_uint8A),
        numbers(CMPI_boolean, {1}),
        numbers(CMPI_uint64, {-1}),
        numbers(CMPI_sint64, {-1}),
        numbers(CMPI_uint16, {}),
        texts({"a"}),
        CimValue::Array(CMPI_dateTime, {dateTime(std::numeric_limits<int64_t>::max())}),
    };
    std::vector<Json::Value> properties;
    for (const char* type : {"uint8", "uint64", "sint8", "sint64", "boolean", "datetime", "string",
                             "real32", "char16", "", "SINT32"}) {
        Json::Value property;
        property["cim_type"] = type;
        properties.push_back(property);
    }
    properties.push_back(json(kMap));
    for (const CimValue& value : values) {
        for (const Json::Value& first : properties) {
            for (const Json::Value& second : properties) {
                ColumnReading reading = readingOf(first);
                const ColumnReading other = readingOf(second);
                reading.plain.insert(reading.plain.end(), other.plain.begin(), other.plain.end());
                reading.isMapped = reading.isMapped || other.isMapped;
                const std::string cell = literalOf(storedValueOf(value.Data(), reading).cell);
                EXPECT_TRUE(shown("select " + cell + " as P", first).isMember("P"));
            }
        }
    }
}

struct KeyCase
{
    const char* name;
    CimValue value;
    bool isInteger;
    Cell cell;             // null where it is no key
    const char* loss = ""; // part of what is told
};

void PrintTo(const KeyCase& one, std::ostream* stream)
{
    *stream << one.name;
}

class StoredKey : public StoredCell, public ::testing::WithParamInterface<KeyCase>
{};

TEST_P(StoredKey, IsFoundByTheTextOfItsLink)
{
    const KeyCase& one = GetParam();
    const StoredValue stored = storedKeyOf(one.value.Data(), one.isInteger);
    EXPECT_EQ(stored.cell, one.cell);
    if (*one.loss != '\0') {
        ASSERT_NE(stored.loss, nullptr);
        EXPECT_THAT(stored.loss, ::testing::HasSubstr(one.loss));
        return;
    }
    EXPECT_EQ(stored.loss, nullptr) << stored.loss;
    const Json::Value property = json(one.isInteger ? kSint64 : kString);
    mCache.Run(std::string("create table Tbl_C (P ") + (one.isInteger ? "INTEGER" : "") +
               "); insert into Tbl_C values (" + literalOf(stored.cell) + ")");
    const std::string id = shown("select P from Tbl_C", property)["P"].asString();
    sqlite3_stmt* handle = nullptr;
    ASSERT_EQ(
        mSql.GetPrepareStatement("select P from Tbl_C where P = ? COLLATE NOCASE", &handle, id), 0);
    EXPECT_EQ(sqlite3_step(handle), SQLITE_ROW) << id;
    sqlite3_finalize(handle);
}

Cell textCell(const std::string& text)
{
    return {.kind = Cell::Kind::Text, .bytes = text};
}

Cell integerCell(int64_t integer)
{
    return {.kind = Cell::Kind::Integer, .integer = integer};
}

INSTANTIATE_TEST_SUITE_P(
    , StoredKey,
    ::testing::Values(
        KeyCase{"string", CimValue::Text("Disk#1"), false, textCell("Disk#1")},
        KeyCase{"string of digits", CimValue::Text("007"), false, textCell("007")},
        KeyCase{"number", number(CMPI_uint32, 7), false, textCell("7")},
        KeyCase{"large number", number(CMPI_uint64, -1), false, textCell("18446744073709551615")},
        KeyCase{"boolean", number(CMPI_boolean, 1), false, textCell("true")},
        KeyCase{"date-time", dateTime(0), false, textCell("1970-01-01T02:00:00+0200")},
        KeyCase{"integer", number(CMPI_sint64, -7), true, integerCell(-7)},
        KeyCase{"integer as a string", CimValue::Text("12"), true, integerCell(12)},
        KeyCase{"empty", CimValue::Text(""), false, Cell(), "without a value"},
        KeyCase{"null", CimValue::Null(CMPI_string), false, Cell(), "without a value"},
        KeyCase{"null integer", CimValue::Null(CMPI_uint8), true, Cell(), "without a value"},
        KeyCase{"null state of keys", CimValue::Null(CMPI_string, CMPI_nullValue | CMPI_keyValue),
                false, Cell(), "without a value"},
        KeyCase{"real", CimValue::Real64(1), false, Cell(), "cannot be asked for"},
        KeyCase{"reference", CimValue::Reference({}), false, Cell(), "cannot be asked for"},
        KeyCase{"array", texts({"a"}), false, Cell(), "cannot be asked for"},
        KeyCase{"character", number(CMPI_char16, 65), false, Cell(), "cannot be asked for"},
        KeyCase{"no UTF-8", CimValue::Text("a\xFF"), false, Cell(), "cannot be asked for"},
        KeyCase{"date-time that cannot be read", CimValue::DateTime(std::nullopt), false, Cell(),
                "cannot be asked for"},
        KeyCase{"too large", number(CMPI_uint64, -1), true, Cell(), "no integer"},
        KeyCase{"string that is no number", CimValue::Text("a"), true, Cell(), "no integer"},
        KeyCase{"string that SQLite would make a real", CimValue::Text("1.5"), true, Cell(),
                "no integer"},
        KeyCase{"string that SQLite would change", CimValue::Text("007"), true, Cell(),
                "no integer"},
        KeyCase{"boolean among integers", number(CMPI_boolean, 1), true, Cell(), "no integer"}));

} // namespace
