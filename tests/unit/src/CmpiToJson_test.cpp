#include "CmpiToJson.h"
#include "LiveTest.h"
#include "TimeZone.h"

#include <limits>

namespace {

using support::CimMembers;
using support::CimValue;
using support::countLogged;
using support::IsJson;
using support::logged;
using support::Request;
using support::TimeZone;

class CmpiConversion : public support::LiveTest
{
protected:
    // The member "P" and what comes with it.
    Json::Value convert(const CimValue& value)
    {
        Json::Value out;
        CMPIData data = value.Data();
        mResult = CmpiJson().CmpiDataToJson(mName, data, out);
        return out;
    }

    char mName[2] = "P";
    int mResult = -1;
};

struct ScalarCase
{
    CimValue value;
    const char* json;
    int result;
};

// Names the case in the tests' output, which would show the structure's bytes, its gaps included.
void PrintTo(const ScalarCase& scalar, std::ostream* stream)
{
    *stream << scalar.json;
}

class CmpiScalar : public CmpiConversion, public ::testing::WithParamInterface<ScalarCase>
{};

TEST_P(CmpiScalar, BecomesJson)
{
    EXPECT_THAT(convert(GetParam().value), IsJson(GetParam().json));
    EXPECT_EQ(mResult, GetParam().result);
    EXPECT_EQ(countLogged(3, "CmpiDataToJson", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "CmpiDataToJson", "Leaving"), 1);
}

INSTANTIATE_TEST_SUITE_P(
    , CmpiScalar,
    ::testing::Values(
        ScalarCase{CimValue::Number(CMPI_boolean, 1), R"({"P": true})", 1},
        ScalarCase{CimValue::Number(CMPI_boolean, 0), R"({"P": false})", 1},
        ScalarCase{CimValue::Number(CMPI_uint8, 255), R"({"P": 255})", 1},
        ScalarCase{CimValue::Number(CMPI_uint16, 65535), R"({"P": 65535})", 1},
        ScalarCase{CimValue::Number(CMPI_uint32, 4294967295), R"({"P": 4294967295})", 1},
        ScalarCase{CimValue::Number(CMPI_uint64, -1), R"({"P": 18446744073709551615})", 1},
        ScalarCase{CimValue::Number(CMPI_sint8, -128), R"({"P": -128})", 1},
        ScalarCase{CimValue::Number(CMPI_sint16, -32768), R"({"P": -32768})", 1},
        ScalarCase{CimValue::Number(CMPI_sint32, -2147483648), R"({"P": -2147483648})", 1},
        ScalarCase{CimValue::Number(CMPI_sint32, 7), R"({"P": 7})", 1},
        // Only the low half of a sint64 is shown.
        ScalarCase{CimValue::Number(CMPI_sint64, -5), R"({"P": -5})", 1},
        ScalarCase{CimValue::Number(CMPI_sint64, -5000000000), R"({"P": -705032704})", 1},
        ScalarCase{CimValue::Number(CMPI_sint64, 2147483648), R"({"P": -2147483648})", 1},
        ScalarCase{CimValue::Real32(1.5F), R"({"P": 1.5})", 1},
        ScalarCase{CimValue::Real64(-0.125), R"({"P": -0.125})", 1},
        ScalarCase{CimValue::Real32(std::numeric_limits<float>::quiet_NaN()), R"({"P": null})", 1},
        ScalarCase{CimValue::Real64(-std::numeric_limits<double>::infinity()), R"({"P": null})", 1},
        ScalarCase{CimValue::Text("a \"b\""), R"({"P": "a \"b\""})", 1},
        ScalarCase{CimValue::Text(""), R"({"P": ""})", 1},
        ScalarCase{CimValue::Text("true", 0x1602), R"({"P": "true"})", 1},
        ScalarCase{CimValue::Text("12", 0x16FC), R"({"P": "12"})", 1},
        ScalarCase{CimValue::Text("now", 0x1E00), R"({"P": "now"})", 1},
        ScalarCase{CimValue::Text(std::nullopt), R"({"P": "NULL"})", 1},
        ScalarCase{CimValue::Null(CMPI_string, CMPI_goodValue), R"({"P": "NULL"})", 1},
        ScalarCase{CimValue::Chars("text"), R"({"P": "text"})", 1},
        ScalarCase{CimValue::Null(CMPI_chars, CMPI_goodValue), R"({"P": "NULL"})", 1},
        ScalarCase{CimValue::Null(CMPI_dateTime, CMPI_goodValue), R"({"P": ""})", 1},
        // JSON has no place for these.
        ScalarCase{CimValue::Number(CMPI_char16, 65), "null", 0},
        ScalarCase{CimValue::Null(CMPI_instance, CMPI_goodValue), "null", 0},
        ScalarCase{CimValue::Null(CMPI_ref, CMPI_goodValue), "null", 0},
        ScalarCase{CimValue::Null(CMPI_args, CMPI_goodValue), "null", 0},
        ScalarCase{CimValue::Null(CMPI_filter, CMPI_goodValue), "null", 0},
        ScalarCase{CimValue::Null(CMPI_class, CMPI_goodValue), "null", 1},
        // Null, of whatever type; no other state is null.
        ScalarCase{CimValue::Null(CMPI_uint32), R"({"P": null})", 1},
        ScalarCase{CimValue::Null(CMPI_stringA), R"({"P": null})", 1},
        ScalarCase{CimValue::Null(CMPI_ref), R"({"P": null})", 1},
        ScalarCase{CimValue::Null(CMPI_null), R"({"P": null})", 1},
        ScalarCase{CimValue::Null(CMPI_null, CMPI_notFound), "null", 1},
        ScalarCase{CimValue::Null(CMPI_uint8, CMPI_nullValue | CMPI_keyValue), R"({"P": 0})", 1},
        ScalarCase{CimValue::Null(CMPI_null, CMPI_goodValue), R"({"P": [], "P@odata.count": 0})",
                   1}));

TEST_F(CmpiConversion, UnknownTypesOfAGroupAreLogged)
{
    constexpr CMPIValueState good = CMPI_goodValue;
    EXPECT_TRUE(convert(CimValue::Null(CMPI_enumeration, good)).isNull());
    EXPECT_TRUE(logged(3, "CmpiJson::PopulateCmpiENCValues: Did not match data types"));
    EXPECT_TRUE(convert(CimValue::Null(CMPI_ref, good)).isNull());
    EXPECT_TRUE(logged(3, "CmpiJson::PopulateCmpiENCValues Unsupported Data Types"));
    EXPECT_TRUE(convert(CimValue::Null(0x06, good)).isNull());
    EXPECT_TRUE(logged(3, "CmpiJson::PopulateCmpiSimpleValues : Did not match data types"));
    EXPECT_TRUE(convert(CimValue::Null(0x81, good)).isNull());
    EXPECT_TRUE(logged(3, "CmpiJson::PopulateCmpiIntegerValues: Did not match data types"));
    EXPECT_TRUE(convert(CimValue::Null(0x09, good)).isNull());
    EXPECT_TRUE(logged(3, "CmpiJson::PopulateCmpiRealValues : Did not match data types"));
    EXPECT_EQ(mResult, 1);
}

TEST_F(CmpiConversion, NameIsNeeded)
{
    CMPIData data = CimValue::Number(CMPI_uint8, 1).Data();
    Json::Value out;
    EXPECT_ABORTS("pProperty", CmpiJson().CmpiDataToJson(nullptr, data, out));
}

TEST_F(CmpiConversion, InstanceEntryConvertsLikeTheOthers)
{
    Json::Value out;
    EXPECT_EQ(CmpiJson().CmpiInstanceToJson(mName, CimValue::Number(CMPI_uint8, 9).Data(), out), 1);
    EXPECT_THAT(out, IsJson(R"({"P": 9})"));
}

TEST_F(CmpiConversion, DateTimeIsLocalTime)
{
    const TimeZone zone("XST-2");
    EXPECT_THAT(convert(CimValue::DateTime(1714551630999999)),
                IsJson(R"({"P": "2024-05-01T10:20:30+0200"})"));
    EXPECT_THAT(convert(CimValue::DateTime(0)), IsJson(R"({"P": "1970-01-01T02:00:00+0200"})"));
}

// Around the end of a time_t of 32 bits, and at the end of what CIM can write.
TEST_F(CmpiConversion, DateTimesGoOnUntilTheYear9999)
{
    const TimeZone zone("UTC0");
    EXPECT_THAT(convert(CimValue::DateTime(2147483647999999)),
                IsJson(R"({"P": "2038-01-19T03:14:07+0000"})"));
    EXPECT_THAT(convert(CimValue::DateTime(2147483648000000)),
                IsJson(R"({"P": "2038-01-19T03:14:08+0000"})"));
    EXPECT_THAT(convert(CimValue::Array(CMPI_dateTime, {CimValue::DateTime(4294967296000000),
                                                        CimValue::DateTime(253402300799999999)})),
                IsJson(R"({"P": ["2106-02-07T06:28:16+0000", "9999-12-31T23:59:59+0000"],
                           "P@odata.count": 2})"));
}

TEST_F(CmpiConversion, DateTimeThatCannotBeReadIsEmpty)
{
    EXPECT_THAT(convert(CimValue::DateTime(std::nullopt)), IsJson(R"({"P": ""})"));
    EXPECT_TRUE(logged(1, "PopulateCmpiENCValues: Error while getting time in Binary Format"));
    EXPECT_THAT(convert(CimValue::DateTime(~0ULL)), ::testing::Truly([](const Json::Value& out) {
                    return out["P"].isString(); // a year that has no room is empty too
                }));
}

struct ArrayCase
{
    CMPIType elementType;
    std::vector<CimValue> elements;
    const char* json;
};

void PrintTo(const ArrayCase& array, std::ostream* stream)
{
    *stream << array.json;
}

class CmpiArray : public CmpiConversion, public ::testing::WithParamInterface<ArrayCase>
{};

TEST_P(CmpiArray, BecomesJsonWithItsSize)
{
    EXPECT_THAT(convert(CimValue::Array(GetParam().elementType, GetParam().elements)),
                IsJson(GetParam().json));
    EXPECT_EQ(mResult, 1);
}

const CimValue kNullElement = CimValue::Null(CMPI_uint16);

INSTANTIATE_TEST_SUITE_P(
    , CmpiArray,
    ::testing::Values(
        ArrayCase{CMPI_uint16, {}, R"({"P@odata.count": 0})"},
        ArrayCase{
            CMPI_uint16,
            {CimValue::Number(CMPI_uint16, 1), kNullElement, CimValue::Number(CMPI_uint16, 3)},
            R"({"P": [1, null, 3], "P@odata.count": 3})"},
        ArrayCase{CMPI_boolean,
                  {CimValue::Number(CMPI_boolean, 1), CimValue::Number(CMPI_boolean, 0)},
                  R"({"P": [true, false], "P@odata.count": 2})"},
        ArrayCase{
            CMPI_sint8, {CimValue::Number(CMPI_sint8, -1)}, R"({"P": [-1], "P@odata.count": 1})"},
        ArrayCase{CMPI_sint64,
                  {CimValue::Number(CMPI_sint64, -5000000000)},
                  R"({"P": [-705032704], "P@odata.count": 1})"},
        ArrayCase{CMPI_uint64,
                  {CimValue::Number(CMPI_uint64, -1)},
                  R"({"P": [18446744073709551615], "P@odata.count": 1})"},
        ArrayCase{CMPI_real32, {CimValue::Real32(0.5F)}, R"({"P": [0.5], "P@odata.count": 1})"},
        ArrayCase{CMPI_string,
                  {CimValue::Text("a"), CimValue::Text("")},
                  R"({"P": ["a", ""], "P@odata.count": 2})"},
        ArrayCase{CMPI_dateTime,
                  {CimValue::DateTime(std::nullopt)},
                  R"({"P": [""], "P@odata.count": 1})"},
        // What writes nothing is a 0; what cannot be read leaves its place to later ones.
        ArrayCase{
            CMPI_char16, {CimValue::Number(CMPI_char16, 65)}, R"({"P": [0], "P@odata.count": 1})"},
        ArrayCase{CMPI_ref, {CimValue::Reference({})}, R"({"P": [0], "P@odata.count": 1})"},
        ArrayCase{CMPI_uint8,
                  {CimValue::Unreadable(), CimValue::Number(CMPI_uint8, 2), CimValue::Unreadable()},
                  R"({"P": [null, 2], "P@odata.count": 3})"},
        ArrayCase{CMPI_uint8, {CimValue::Unreadable()}, R"({"P@odata.count": 1})"}));

TEST_F(CmpiConversion, ArrayThatIsMissingIsEmpty)
{
    EXPECT_THAT(convert(CimValue::Null(CMPI_uint8A, CMPI_goodValue)),
                IsJson(R"({"P@odata.count": 0})"));
}

class MethodOutput : public support::LiveTest
{
protected:
    Json::Value convert(CimMembers arguments)
    {
        CMPIArgs* args = support::newCimArgs(std::move(arguments));
        Json::Value out;
        mResult = CmpiJson().InvokeOutputToJson(out, args, mRequest.scope);
        (void)args->ft->release(args);
        return out;
    }

    static CimMembers jobNamed(const CimValue& id)
    {
        return {{"Job", CimValue::Reference({{"InstanceID", id}})}};
    }

    Request mRequest{"/r"};
    int mResult = -1;
};

TEST_F(MethodOutput, ArgumentsBecomeMembers)
{
    EXPECT_THAT(
        convert({{"Codes", CimValue::Array(CMPI_uint16, {CimValue::Number(CMPI_uint16, 4),
                                                         CimValue::Number(CMPI_uint16, 5),
                                                         CimValue::Number(CMPI_uint16, 6)})},
                 {"None", CimValue::Array(CMPI_uint16, {})},
                 {"Null", CimValue::Null(CMPI_ref)},
                 {"Text", CimValue::Text("x")},
                 {"", CimValue::Text("has no name")}}),
        IsJson(R"({"Codes": [4, 5, 6], "Codes@odata.count": 3, "None@odata.count": 0,
                           "Null": null, "Text": "x"})"));
    EXPECT_EQ(mResult, 1);
    EXPECT_EQ(mRequest.Header("Location"), std::nullopt);
    EXPECT_EQ(countLogged(3, "InvokeOutputToJson", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "InvokeOutputToJson", "Leaving"), 1);
}

TEST_F(MethodOutput, DateTimesGoOnUntilTheYear9999)
{
    const TimeZone zone("UTC0");
    EXPECT_THAT(convert({{"Last", CimValue::DateTime(2147483647000000)},
                         {"Next", CimValue::DateTime(2147483648000000)},
                         {"End", CimValue::DateTime(253402300799000000)}}),
                IsJson(R"({"Last": "2038-01-19T03:14:07+0000", "Next": "2038-01-19T03:14:08+0000",
                           "End": "9999-12-31T23:59:59+0000"})"));
}

TEST_F(MethodOutput, LastResultCounts)
{
    convert({{"A", CimValue::Text("x")}, {"B", CimValue::Number(CMPI_char16, 65)}});
    EXPECT_EQ(mResult, 0);
}

TEST_F(MethodOutput, WithoutArgumentsThereIsNothing)
{
    EXPECT_TRUE(convert({}).isNull());
    EXPECT_EQ(mResult, 1);
    Json::Value out;
    EXPECT_EQ(CmpiJson().InvokeOutputToJson(out, nullptr, mRequest.scope), 1);
    EXPECT_TRUE(out.isNull());
}

TEST_F(MethodOutput, ReferenceIsTheLocationOfAJob)
{
    EXPECT_TRUE(convert(jobNamed(CimValue::Text("JID_123"))).isNull());
    EXPECT_EQ(mRequest.Header("Location"), "/redfish/v1/Managers/Tavix.Embedded.1/Jobs/JID_123");
    EXPECT_EQ(mResult, 1);
}

TEST_F(MethodOutput, LocationFollowsTheKindOfId)
{
    convert(jobNamed(CimValue::Text("OSD_9")));
    EXPECT_EQ(mRequest.Header("Location"), "/redfish/v1/TaskService/Tasks/OSDeployment");
    convert(jobNamed(CimValue::Text("XYZ")));
    EXPECT_EQ(mRequest.Header("Location"), "XYZ");
    convert(jobNamed(CimValue::Text("OSD_JID")));
    EXPECT_EQ(mRequest.Header("Location"), "/redfish/v1/Managers/Tavix.Embedded.1/Jobs/OSD_JID");
}

TEST_F(MethodOutput, JobIsNoMemberOfTheBody)
{
    Json::Value out = support::json(R"({"Job": "before"})");
    char name[] = "Job";
    const CimMembers job = jobNamed(CimValue::Text("JID_1"));
    EXPECT_EQ(CmpiJson().CmpiJobRefToJson(name, job[0].second.Data(), out, mRequest.scope), 1);
    EXPECT_THAT(out, IsJson(R"({"Job": "before"})"));
    EXPECT_EQ(mRequest.Header("Location"), "/redfish/v1/Managers/Tavix.Embedded.1/Jobs/JID_1");
    EXPECT_EQ(countLogged(3, "CmpiJobRefToJson", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "CmpiJobRefToJson", "Leaving"), 1);
}

TEST_F(MethodOutput, JobIsNamedByItsFirstKey)
{
    convert({{"Job", CimValue::Reference(
                         {{"A", CimValue::Text("first")}, {"B", CimValue::Text("JID_2")}})}});
    EXPECT_EQ(mRequest.Header("Location"), "first");
}

TEST_F(MethodOutput, LastOfSeveralJobsIsTheLocation)
{
    CimMembers arguments = jobNamed(CimValue::Text("JID_1"));
    arguments.emplace_back("Text", CimValue::Text("x"));
    arguments.push_back(jobNamed(CimValue::Text("JID_2")).front());
    EXPECT_THAT(convert(arguments), IsJson(R"({"Text": "x"})"));
    EXPECT_EQ(mRequest.Header("Location"), "/redfish/v1/Managers/Tavix.Embedded.1/Jobs/JID_2");
}

TEST_F(MethodOutput, ArrayOfReferencesIsNoJob)
{
    EXPECT_THAT(
        convert({{"Jobs", CimValue::Array(CMPI_ref, {jobNamed(CimValue::Text("J"))[0].second})}}),
        IsJson(R"({"Jobs": [0], "Jobs@odata.count": 1})"));
    EXPECT_EQ(mRequest.Header("Location"), std::nullopt);
}

TEST_F(MethodOutput, JobWhoseIdCannotBeReadHasAnEmptyLocation)
{
    for (const CimMembers& arguments :
         {jobNamed(CimValue::Unreadable()), jobNamed(CimValue::Text(std::nullopt)),
          jobNamed(CimValue::Number(CMPI_uint32, 7)), CimMembers{{"Job", CimValue::Reference({})}},
          CimMembers{{"Job", CimValue::Null(CMPI_ref, CMPI_goodValue)}}}) {
        mRequest.scope.SetHeader("Location", "before");
        EXPECT_TRUE(convert(arguments).isNull());
        EXPECT_EQ(mRequest.Header("Location"), "");
    }
}

} // namespace
