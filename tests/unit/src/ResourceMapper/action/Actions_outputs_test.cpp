// Outputs of a method whose CIM values stand for Redfish ones.
#include "ActionTest.h"

namespace {

using support::CimValue;
using support::countLogged;
using support::IsJson;
using support::json;
using support::scriptedCim;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Single values under the map of "S".
struct MappedCase
{
    const char* output;
    const char* shown;
};

void PrintTo(const MappedCase& scalar, std::ostream* stream)
{
    *stream << scalar.output;
}

class MappedOutput : public support::ActionTest
{
protected:
    // What a response becomes under these outputs.
    Json::Value map(const std::string& outputs, const std::string& response)
    {
        declare("{}", outputs);
        Json::Value mapped = json(response);
        CMPIData returnValue = {};
        mapper().AddValueMapToOutparam(mapped, returnValue);
        return mapped;
    }
};

class MappedScalar : public MappedOutput, public ::testing::WithParamInterface<MappedCase>
{};

TEST_P(MappedScalar, IsLookedUpAsText)
{
    const char* outputs = R"({"S": {"value_mapping": {
        "0": "OK", "1": "Error", "-1": "Bad", "18446744073709551615": "Most", "5": 7, "true": "T",
        "text": "T", "2.5": "T", "": "T"}}})";
    const std::string response = std::string(R"({"A": 1, "S": )") + GetParam().output + "}";
    EXPECT_THAT(map(outputs, response),
                IsJson(std::string(R"({"A": 1, "S": )") + GetParam().shown + "}"));
    EXPECT_EQ(countLogged(3, "AddValueMapToOutparam", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "AddValueMapToOutparam", "Leaving"), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Numbers, MappedScalar,
    ::testing::Values(MappedCase{"0", R"("OK")"}, MappedCase{"1", R"("Error")"},
                      MappedCase{"-1", R"("Bad")"}, MappedCase{"18446744073709551615", R"("Most")"},
                      MappedCase{"5", "7"}, MappedCase{"7", "null"}, MappedCase{"-7", "null"}));

class UnmappedScalar : public MappedScalar
{};

TEST_P(UnmappedScalar, StaysAsItIs)
{
    const std::string response = std::string(R"({"S": )") + GetParam().output + "}";
    EXPECT_THAT(
        map(R"({"S": {"value_mapping": {"true": "T", "x": "T", "2.5": "T", "": "T"}}})", response),
        IsJson(response));
    EXPECT_THAT(support::messagesAtLevel(4), ElementsAre("Default case"));
}

INSTANTIATE_TEST_SUITE_P(Others, UnmappedScalar,
                         ::testing::Values(MappedCase{"null", ""}, MappedCase{"true", ""},
                                           MappedCase{R"("x")", ""}, MappedCase{"2.5", ""},
                                           MappedCase{R"({"x": 1})", ""}));

TEST_F(MappedOutput, ThatIsMissingIsLeft)
{
    const char* outputs =
        R"({"S": {"value_mapping": {"": "T"}}, "T": {"value_mapping": {"1": "x"}}})";
    EXPECT_THAT(map(outputs, R"({"T": 1})"), IsJson(R"({"T": "x"})"));
    EXPECT_THAT(support::messagesAtLevel(4), ElementsAre("Default case"));
    EXPECT_TRUE(map(outputs, "null").isNull());
}

TEST_F(MappedOutput, WithoutAMapIsLeft)
{
    EXPECT_THAT(map(R"({"S": {}, "T": {"value_mapping": {}}, "U": null})",
                    R"({"S": 1, "T": 1, "U": 1, "V": 1})"),
                IsJson(R"({"S": 1, "T": 1, "U": 1, "V": 1})"));
    EXPECT_THAT(support::messagesAtLevel(4), IsEmpty());
    for (const char* none : {"null", "{}"}) {
        EXPECT_THAT(map(none, R"({"S": 1})"), IsJson(R"({"S": 1})"));
        EXPECT_EQ(countLogged(3, "AddValueMapToOutparam", "Leaving"), 1);
    }
}

TEST_F(MappedOutput, EachHasItsOwnMap)
{
    EXPECT_THAT(map(R"({"A": {"value_mapping": {"1": "a"}}, "B": {"value_mapping": {"1": "b"}},
                        "C": {"value_mapping": {"1": "c", "11": "cc"}}})",
                    R"({"C": 1, "B": -1, "A": 1})"),
                IsJson(R"({"A": "a", "B": null, "C": "c"})"));
}

TEST_F(MappedOutput, ArrayIsMappedByElement)
{
    EXPECT_THAT(map(R"({"L": {"value_mapping": {"1": "One", "x": "Text", "-1": "Minus",
                                                "true": "Yes", "2,3": "Pair"}}})",
                    R"({"L": [1, "x", -1, 9, null, true, [2, 3], {}], "L@odata.count": 8})"),
                IsJson(R"({"L": ["One", "Text", "Minus", null, null, "Yes", "Pair", null],
                           "L@odata.count": 8})"));
}

TEST_F(MappedOutput, ArrayThatIsEmptyStaysSo)
{
    EXPECT_THAT(map(R"({"L": {"value_mapping": {"1": "One"}}})", R"({"L": []})"),
                IsJson(R"({"L": []})"));
}

// Clients have always been shown it so.
TEST_F(MappedOutput, ShorterArrayKeepsTheRestOfALongerOneBefore)
{
    const char* outputs = R"({"A": {"value_mapping": {"1": "a1", "2": "a2", "3": "a3"}},
                              "B": {"value_mapping": {"1": "b1"}},
                              "C": {"value_mapping": {"1": "c1"}},
                              "D": {"value_mapping": {"1": "d1"}}})";
    EXPECT_THAT(map(outputs, R"({"A": [1, 2, 3], "B": [1], "C": [], "D": [1, 1, 1, 1]})"),
                IsJson(R"({"A": ["a1", "a2", "a3"], "B": ["b1", "a2", "a3"],
                           "C": ["b1", "a2", "a3"], "D": ["d1", "d1", "d1", "d1"]})"));
    // The order is that of the names.
    EXPECT_THAT(map(outputs, R"({"A": [2], "B": [1, 1], "C": 1})"),
                IsJson(R"({"A": ["a2"], "B": ["b1", "b1"], "C": "c1"})"));
    // And another call begins anew.
    EXPECT_THAT(map(outputs, R"({"B": [1]})"), IsJson(R"({"B": ["b1"]})"));
}

// ---- As a method returns them ----

TEST_F(MappedOutput, OfEveryIntegerTypeIsMapped)
{
    declare("{}", R"({"U8": {"value_mapping": {"255": "u8"}},
        "U16": {"value_mapping": {"65535": "u16"}}, "U32": {"value_mapping": {"4294967295": "u32"}},
        "U64": {"value_mapping": {"18446744073709551615": "u64"}},
        "S8": {"value_mapping": {"-1": "s8"}}, "S16": {"value_mapping": {"-2": "s16"}},
        "S32": {"value_mapping": {"-3": "s32"}}, "S64": {"value_mapping": {"-705032704": "s64"}}})");
    scriptedCim().outputs = {{"U8", CimValue::Number(CMPI_uint8, 255)},
                             {"U16", CimValue::Number(CMPI_uint16, 65535)},
                             {"U32", CimValue::Number(CMPI_uint32, 4294967295)},
                             {"U64", CimValue::Number(CMPI_uint64, -1)},
                             {"S8", CimValue::Number(CMPI_sint8, -1)},
                             {"S16", CimValue::Number(CMPI_sint16, -2)},
                             {"S32", CimValue::Number(CMPI_sint32, -3)},
                             {"S64", CimValue::Number(CMPI_sint64, -5000000000)}};
    EXPECT_EQ(post("{}"), RM_OK);
    EXPECT_THAT(mResponse, IsJson(R"({"S16": "s16", "S32": "s32", "S64": "s64", "S8": "s8",
                                      "U16": "u16", "U32": "u32", "U64": "u64", "U8": "u8"})"));
}

TEST_F(MappedOutput, ArraysKeepTheirCount)
{
    declare("{}", R"({"Codes": {"value_mapping": {"1": "Fan", "2": "Disk"}},
                      "None": {"value_mapping": {"1": "Fan"}},
                      "Null": {"value_mapping": {"1": "Fan"}},
                      "Words": {"value_mapping": {"f": "Fan"}}})");
    scriptedCim().outputs = {
        {"Codes", CimValue::Array(CMPI_uint16,
                                  {CimValue::Number(CMPI_uint16, 2), CimValue::Null(CMPI_uint16),
                                   CimValue::Number(CMPI_uint16, 9)})},
        {"None", CimValue::Array(CMPI_uint16, {})},
        {"Null", CimValue::Null(CMPI_uint16A)},
        {"Plain", CimValue::Array(CMPI_uint16, {CimValue::Number(CMPI_uint16, 1)})},
        {"Words", CimValue::Array(CMPI_string, {CimValue::Text("f"), CimValue::Text("f"),
                                                CimValue::Text("g")})}};
    EXPECT_EQ(post("{}"), RM_OK);
    EXPECT_THAT(mResponse, IsJson(R"({"Codes": ["Disk", null, null], "Codes@odata.count": 3,
                           "None@odata.count": 0, "Null": null, "Plain": [1],
                           "Plain@odata.count": 1, "Words": ["Fan", "Fan", null],
                           "Words@odata.count": 3})"));
}

} // namespace
