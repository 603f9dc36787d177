#include "LibraryTest.h"
#include "TimeZone.h"

#include <sqlite3.h>

#include <climits>
#include <memory>

namespace {

using support::IsJson;
using support::json;
using support::logged;

class RowToJson : public support::LibraryTest
{
protected:
    void SetUp() override { ASSERT_EQ(mCache.Open(), 0); }

    // Maps a property of the class C.
    void mapProperty(const std::string& name, const std::string& property)
    {
        mEntry["mappings"]["C"]["properties"][name] = json(property);
    }

    // Converts the rows of a query into mOut; returns the conversion's result.
    int convert(const std::string& query, bool isCollection)
    {
        sqlite3_stmt* handle = nullptr;
        EXPECT_EQ(mSql.GetPrepareStatement(query, &handle, ""), 0) << query;
        const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(handle,
                                                                              sqlite3_finalize);
        return mSql.SQLToJson(handle, mOut, mEntry, "C", isCollection);
    }

    // The value that one cell of the property P gives in an instance.
    Json::Value cell(const std::string& literal)
    {
        EXPECT_EQ(convert("select " + literal + " as P", false), 0) << literal;
        return mOut["P"];
    }

    SQLInterface mSql;
    Json::Value mEntry;
    Json::Value mOut;
};

TEST_F(RowToJson, InstanceIsTheFirstRowUnderItsColumnNames)
{
    mapProperty("A", R"({"alias": "Alpha"})");
    EXPECT_EQ(convert("select 'x' as A, null as B union all select 'y', 'z'", false), 0);
    EXPECT_THAT(mOut, IsJson(R"({"A": "x", "B": null})"));
}

TEST_F(RowToJson, InstanceReplacesWhatWasThere)
{
    mOut = json(R"({"old": 1})");
    EXPECT_EQ(convert("select 'x' as A", false), 0);
    EXPECT_THAT(mOut, IsJson(R"({"A": "x"})"));
}

TEST_F(RowToJson, InstanceWithoutARowIsReported)
{
    EXPECT_EQ(convert("select 1 as A where 0", false), 1);
    EXPECT_TRUE(logged(1, "Rows returned is = 0 for get instance request"));
}

TEST_F(RowToJson, CollectionGathersItsRowsUnderTheirAliases)
{
    mapProperty("A", R"({"alias": "Alpha"})");
    mapProperty("B", R"({"alias": ""})");
    EXPECT_EQ(convert("select 'x' as A, '1' as B, '?' as C union all select 'y', null, '!'", true),
              0);
    EXPECT_THAT(mOut, IsJson(R"({"Members": [{"Alpha": "x", "B": "1", "C": "?"},
                                             {"Alpha": "y", "B": null, "C": "!"}]})"));
}

TEST_F(RowToJson, CollectionWithoutRowsLeavesTheOutputUntouched)
{
    EXPECT_EQ(convert("select 1 as A where 0", true), 0);
    EXPECT_TRUE(mOut.isNull());
    mOut = json(R"({"old": 1})");
    EXPECT_EQ(convert("select 1 as A where 0", true), 0);
    EXPECT_THAT(mOut, IsJson(R"({"old": 1})"));
}

TEST_F(RowToJson, NothingOfARowIsLeftInTheNext)
{
    EXPECT_EQ(
        convert("select " + support::arrayCell(1, 1, "a") + " as A union all select null", true),
        0);
    EXPECT_THAT(mOut, IsJson(R"({"Members": [{"A": ["a"], "A@odata.count": 1}, {"A": null}]})"));
}

TEST_F(RowToJson, ColumnNamesAreReadOnce)
{
    EXPECT_EQ(convert("select 'x' as A union all select 'y' union all select 'z'", true), 0);
    EXPECT_EQ(support::countLogged(3, "GetColumnNames", "Entering"), 1);
}

TEST_F(RowToJson, TextIsAString)
{
    mapProperty("P", R"({"cim_type": "uint32"})");
    EXPECT_EQ(cell("'text'"), Json::Value("text"));
    EXPECT_EQ(cell("'42'"), Json::Value("42"));
    EXPECT_EQ(cell("'gr\xC3\xBC\xC3\x9F'"), Json::Value("gr\xC3\xBC\xC3\x9F"));
}

TEST_F(RowToJson, EmptyTextAndNullAreNull)
{
    mapProperty("P", R"({"cim_type": "string", "value_mapping": {"": "never"}})");
    EXPECT_TRUE(cell("''").isNull());
    EXPECT_TRUE(cell("null").isNull());
    EXPECT_TRUE(mOut.isMember("P"));
}

TEST_F(RowToJson, ValueMapReplacesTextAndNumbers)
{
    mapProperty("P", R"({"value_mapping": {"2": "Enabled", "3": 30, "4": null, "on": true}})");
    EXPECT_THAT(cell("'2'"), IsJson(R"("Enabled")"));
    EXPECT_THAT(cell("2"), IsJson(R"("Enabled")"));
    EXPECT_THAT(cell("3"), IsJson("30"));
    EXPECT_THAT(cell("4"), IsJson("null"));
    EXPECT_THAT(cell("'on'"), IsJson("true"));
    EXPECT_TRUE(support::messagesAtLevel(1).empty());
}

TEST_F(RowToJson, ValueThatTheMapLacksIsAString)
{
    mapProperty("P", R"({"cim_type": "uint32", "value_mapping": {"2": "Enabled"}})");
    EXPECT_THAT(cell("5"), IsJson(R"("5")"));
    EXPECT_TRUE(logged(1, "Value map not present in RMF"));
    EXPECT_THAT(cell("'off'"), IsJson(R"("off")"));
}

TEST_F(RowToJson, EmptyValueMapIsNone)
{
    mapProperty("P", R"({"cim_type": "uint32", "value_mapping": {}})");
    EXPECT_THAT(cell("5"), IsJson("5"));
    EXPECT_TRUE(support::messagesAtLevel(1).empty());
}

// An INTEGER cell and what it gives.
struct NumberCase
{
    const char* type;
    const char* literal;
    const char* json;
};

void PrintTo(const NumberCase& number, std::ostream* stream)
{
    *stream << number.type << " " << number.literal;
}

class IntegerCell : public RowToJson, public ::testing::WithParamInterface<NumberCase>
{};

TEST_P(IntegerCell, IsConvertedByItsCimType)
{
    mapProperty("P", std::string(R"({"cim_type": ")") + GetParam().type + "\"}");
    EXPECT_THAT(cell(GetParam().literal), IsJson(GetParam().json));
}

INSTANTIATE_TEST_SUITE_P(
    , IntegerCell,
    ::testing::Values(NumberCase{"uint64", "9223372036854775807", "9223372036854775807"},
                      NumberCase{"UINT64", "4294967296", "4294967296"},
                      NumberCase{"uint64", "-1", "18446744073709551615"},
                      NumberCase{"sint64", "-9223372036854775808", "-9223372036854775808"},
                      NumberCase{"Sint64", "-5000000000", "-5000000000"},
                      NumberCase{"sint64", "9223372036854775807", "9223372036854775807"},
                      NumberCase{"sint32", "-2147483648", "-2147483648"},
                      NumberCase{"sint8", "-5", "-5"}, NumberCase{"sint16", "0", "0"},
                      NumberCase{"uint32", "4294967295", "4294967295"},
                      NumberCase{"uint8", "255", "255"}, NumberCase{"uint16", "65535", "65535"},
                      NumberCase{"boolean", "1", "true"}, NumberCase{"Boolean", "0", "false"},
                      NumberCase{"BOOLEAN", "2", "false"}, NumberCase{"boolean", "-1", "false"}));

// An integer that does not fit its type, as controllers and machines of 64 bits show it: the
// nearest long, and the low 32 bits.
struct MisfitCase
{
    const char* type;
    const char* integer;
    const char* jsonOf32Bits;
    const char* jsonOf64Bits;

    const char* json() const { return sizeof(long) * CHAR_BIT == 32 ? jsonOf32Bits : jsonOf64Bits; }
};

void PrintTo(const MisfitCase& misfit, std::ostream* stream)
{
    *stream << misfit.type << " " << misfit.integer;
}

class MisfitInteger : public RowToJson, public ::testing::WithParamInterface<MisfitCase>
{
protected:
    void SetUp() override
    {
        RowToJson::SetUp();
        mapProperty("P", std::string(R"({"cim_type": ")") + GetParam().type + "\"}");
    }
};

TEST_P(MisfitInteger, DependsOnTheWidthOfALong)
{
    EXPECT_THAT(cell(GetParam().integer), IsJson(GetParam().json()));
}

TEST_P(MisfitInteger, InAnArrayIsTheSame)
{
    EXPECT_THAT(cell(support::arrayCell(2, 1, GetParam().integer)),
                IsJson(std::string("[") + GetParam().json() + "]"));
}

INSTANTIATE_TEST_SUITE_P(
    , MisfitInteger,
    ::testing::Values(MisfitCase{"sint32", "2147483648", "2147483647", "-2147483648"},
                      MisfitCase{"sint32", "4294967301", "2147483647", "5"},
                      MisfitCase{"sint32", "-2147483649", "-2147483648", "2147483647"},
                      MisfitCase{"sint32", "9223372036854775807", "2147483647", "-1"},
                      MisfitCase{"uint32", "4294967296", "4294967295", "0"},
                      MisfitCase{"uint32", "4294967301", "4294967295", "5"},
                      MisfitCase{"uint32", "-4294967297", "4294967295", "4294967295"},
                      MisfitCase{"uint32", "-4294967298", "4294967295", "4294967294"},
                      // Of 32 bits, whatever the type says, and the same everywhere.
                      MisfitCase{"sint8", "-129", "-129", "-129"},
                      MisfitCase{"uint8", "256", "256", "256"},
                      MisfitCase{"sint16", "2147483647", "2147483647", "2147483647"},
                      MisfitCase{"uint16", "-1", "4294967295", "4294967295"},
                      MisfitCase{"boolean", "4294967297", "false", "false"},
                      MisfitCase{"uint64", "-1", "18446744073709551615", "18446744073709551615"}));

// Only elements of arrays can be so long: they are text.
TEST_F(RowToJson, ElementAboveAllWidthsIsTheNearestNumberOf64Bits)
{
    const std::string number = "99999999999999999999";
    const std::pair<const char*, const char*> cases[] = {{"uint64", "[18446744073709551615]"},
                                                         {"sint64", "[9223372036854775807]"},
                                                         {"uint32", "[4294967295]"}};
    for (const auto& [type, json] : cases) {
        mapProperty("P", std::string(R"({"cim_type": ")") + type + "\"}");
        EXPECT_THAT(cell(support::arrayCell(2, 1, number)), IsJson(json)) << type;
    }
}

TEST_F(RowToJson, DateTimesGoOnUntilTheYear9999)
{
    const support::TimeZone zone("UTC0");
    mapProperty("P", R"({"cim_type": "datetime"})");
    EXPECT_THAT(cell("2147483647999999"), IsJson(R"("2038-01-19T03:14:07+0000")"));
    EXPECT_THAT(cell("2147483648000000"), IsJson(R"("2038-01-19T03:14:08+0000")"));
    EXPECT_THAT(cell(support::arrayCell(2, 2, "-2147483649000000#253402300799999999")),
                IsJson(R"(["1901-12-13T20:45:51+0000", "9999-12-31T23:59:59+0000"])"));
}

TEST_F(RowToJson, TextOfANumberIsReadAsFarAsItGoes)
{
    mapProperty("P", R"({"cim_type": "uint64"})");
    const std::pair<const char*, const char*> cases[] = {
        {"18446744073709551615", "18446744073709551615"}, {"12abc", "12"}, {"abc", "0"}, {"", "0"}};
    for (const auto& [text, number] : cases) {
        Json::Value out;
        mSql.PopulateSQLIntegerValues("P", mEntry, "C", text, out);
        EXPECT_THAT(out["P"], IsJson(number)) << text;
    }
}

TEST_F(RowToJson, RealCellAborts)
{
    mapProperty("P", R"({"cim_type": "real32"})");
    EXPECT_ABORTS_AFTER("status == SQLITE_OK", "Unrecognized data type for property P",
                        (void)cell("1.5"));
}

TEST_F(RowToJson, IntegerWithoutCimTypeAborts)
{
    for (const char* property : {"{}", R"({"cim_type": ""})"}) {
        mapProperty("P", property);
        EXPECT_ABORTS_AFTER("ret == true", "Empty type is found in RMF for C", (void)cell("5"));
    }
}

TEST_F(RowToJson, IntegerOfAColumnThatIsNotMappedAborts)
{
    EXPECT_ABORTS_AFTER("ret == true", "Empty type is found in RMF for C",
                        (void)convert("select 5 as Unmapped", false));
}

TEST_F(RowToJson, IntegerOfAnUnknownCimTypeAborts)
{
    for (const char* type : {"SINT32", "Uint8", "string", "real32", "uin", "boolean "}) {
        mapProperty("P", std::string(R"({"cim_type": ")") + type + "\"}");
        EXPECT_ABORTS_AFTER("ret == true", std::string("Did not match data type ") + type,
                            (void)cell("5"));
    }
}

} // namespace
