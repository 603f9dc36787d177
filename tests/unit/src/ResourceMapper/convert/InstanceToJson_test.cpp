// Values of live instances that the mapping file translates.
#include "LiveTest.h"

#include <limits>

namespace {

using support::CimValue;
using support::IsJson;
using support::logged;
using support::Request;

class ValueMap : public support::LiveTest
{
protected:
    ValueMap()
    {
        mMapping.Write(R"({"VexoBox": {"@odata.id": "/r/VexoBox", "mappings": {"XCIM_Box": {
            "properties": {
                "Plain": {}, "Empty": {"value_mapping": {}},
                "State": {"value_mapping": {
                    "-1": "Lost", "0": "Unknown", "3": "Enabled", "-9223372036854775808": "Least",
                    "18446744073709551615": "Most", "on": "On", "Seven": 7}}}}}}})");
        EXPECT_EQ(mRequest.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    }

    Json::Value convert(const CimValue& value, std::string property = "State") const
    {
        Json::Value out;
        CMPIData data = value.Data();
        mRequest.mapper.DoCMPIDataToJson(property.data(), data, out);
        return out;
    }

    static CimValue number(int typeCode, long long value)
    {
        return CimValue::Number(static_cast<CMPIType>(typeCode), value);
    }

    Request mRequest{"/r/VexoBox"};
};

TEST_F(ValueMap, IntegersAreLookedUpByTheirDecimals)
{
    for (const int code : {CMPI_uint8, CMPI_uint16, CMPI_uint32, CMPI_uint64, CMPI_sint8,
                           CMPI_sint16, CMPI_sint32, CMPI_sint64}) {
        EXPECT_THAT(convert(number(code, 3)), IsJson(R"({"State": "Enabled"})")) << code;
    }
    for (const int code : {CMPI_sint8, CMPI_sint16, CMPI_sint32, CMPI_sint64}) {
        EXPECT_THAT(convert(number(code, -1)), IsJson(R"({"State": "Lost"})")) << code;
    }
    EXPECT_THAT(convert(CimValue::Number(CMPI_uint64, -1)), IsJson(R"({"State": "Most"})"));
    EXPECT_THAT(convert(CimValue::Number(CMPI_sint64, std::numeric_limits<long long>::min())),
                IsJson(R"({"State": "Least"})"));
    EXPECT_TRUE(logged(3, "State property requires  value-valuemap conversion"));
}

TEST_F(ValueMap, StringsAreLookedUpAsTheyAre)
{
    EXPECT_THAT(convert(CimValue::Text("on")), IsJson(R"({"State": "On"})"));
    EXPECT_THAT(convert(CimValue::Text("on", 0x16FC)), IsJson(R"({"State": "On"})"));
    EXPECT_THAT(convert(CimValue::Chars("on")), IsJson(R"({"State": "On"})"));
    EXPECT_THAT(convert(CimValue::Text("Seven")), IsJson(R"({"State": "7"})"));
}

TEST_F(ValueMap, ValueThatItLacksIsLeftOut)
{
    EXPECT_TRUE(convert(CimValue::Number(CMPI_uint16, 9)).isNull());
    EXPECT_TRUE(logged(1, "9 key is not found in the value-valuemap of property State"));
    EXPECT_TRUE(convert(CimValue::Text("On")).isNull());
    EXPECT_TRUE(logged(1, "On key is not found in the value-valuemap of property State"));
}

TEST_F(ValueMap, NullIntegerIsLookedUpAsZero)
{
    EXPECT_THAT(convert(CimValue::Null(CMPI_uint16)), IsJson(R"({"State": "Unknown"})"));
}

TEST_F(ValueMap, StringWithoutTextAborts)
{
    EXPECT_ABORTS("p != NULL", convert(CimValue::Null(CMPI_string)));
    EXPECT_ABORTS("p != NULL", convert(CimValue::Text(std::nullopt)));
}

TEST_F(ValueMap, OtherTypesAreLeftOut)
{
    EXPECT_TRUE(convert(CimValue::Number(CMPI_boolean, 1)).isNull());
    EXPECT_TRUE(
        logged(1, "Property(State) supports value-valuemap, but the type(2) is not supported"));
    for (const CimValue& value :
         {CimValue::Real64(3), CimValue::DateTime(3), CimValue::Number(CMPI_char16, 3),
          CimValue::Null(CMPI_null), CimValue::Reference({})}) {
        EXPECT_TRUE(convert(value).isNull());
    }
}

TEST_F(ValueMap, ArraysAreMappedElementByElement)
{
    EXPECT_THAT(
        convert(CimValue::Array(CMPI_uint16,
                                {CimValue::Number(CMPI_uint16, 3), CimValue::Number(CMPI_uint16, 9),
                                 CimValue::Null(CMPI_uint16), CimValue::Number(CMPI_uint16, 0)})),
        IsJson(R"({"State": ["Enabled", null, "Unknown", "Unknown"]})"));
    EXPECT_THAT(convert(CimValue::Array(CMPI_string, {CimValue::Text("on"), CimValue::Text("x")})),
                IsJson(R"({"State": ["On", null]})"));
    EXPECT_THAT(convert(CimValue::Array(CMPI_boolean, {CimValue::Number(CMPI_boolean, 1)})),
                IsJson(R"({"State": [null]})"));
}

TEST_F(ValueMap, ArraysWithoutElements)
{
    EXPECT_THAT(convert(CimValue::Null(CMPI_uint16A)), IsJson(R"({"State": []})"));
    EXPECT_TRUE(convert(CimValue::Array(CMPI_uint16, {})).isNull());
    EXPECT_TRUE(convert(CimValue::Null(CMPI_uint16A, CMPI_goodValue)).isNull());
}

TEST_F(ValueMap, PropertiesWithoutOneAreConvertedAsTheyAre)
{
    EXPECT_THAT(convert(CimValue::Number(CMPI_uint16, 3), "Plain"), IsJson(R"({"Plain": 3})"));
    EXPECT_THAT(convert(CimValue::Number(CMPI_uint16, 3), "Empty"), IsJson(R"({"Empty": 3})"));
    EXPECT_THAT(convert(CimValue::Null(CMPI_string), "Other"), IsJson(R"({"Other": null})"));
}

TEST_F(ValueMap, LookUpTellsWhetherThereIsSuchAKey)
{
    char name[] = "State";
    char known[] = "3";
    char unknown[] = "4";
    std::string value = "before";
    EXPECT_FALSE(mRequest.mapper.GetPropertyKeyValue(name, unknown, value));
    EXPECT_EQ(value, "before");
    EXPECT_TRUE(mRequest.mapper.GetPropertyKeyValue(name, known, value));
    EXPECT_EQ(value, "Enabled");
    EXPECT_ABORTS("pName != NULL", mRequest.mapper.GetPropertyKeyValue(nullptr, known, value));
    EXPECT_ABORTS("pKey != NULL", mRequest.mapper.GetPropertyKeyValue(name, nullptr, value));
}

TEST_F(ValueMap, SingleValueIsMappedByItself)
{
    char name[] = "State";
    CMPIData data = CimValue::Number(CMPI_sint8, -1).Data();
    Json::Value out;
    mRequest.mapper.DoPropertyValueMap(name, data, out);
    EXPECT_THAT(out, IsJson(R"({"State": "Lost"})"));
    EXPECT_ABORTS("pName != NULL", mRequest.mapper.DoCMPIDataToJson(nullptr, data, out));
}

struct IntegerCase
{
    CMPIType type;
    long long value;
    unsigned long long widened;
};

// Names the case in the tests' output, which would show the structure's bytes, its gaps included.
void PrintTo(const IntegerCase& integer, std::ostream* stream)
{
    *stream << integer.type << ' ' << integer.value;
}

class CimInteger : public ValueMap, public ::testing::WithParamInterface<IntegerCase>
{};

TEST_P(CimInteger, IsWidened)
{
    CMPIData data = CimValue::Number(GetParam().type, GetParam().value).Data();
    unsigned long long widened = 77;
    EXPECT_EQ(mRequest.mapper.GetCimIntValue(data.value, GetParam().type, widened), CMPI_RC_OK);
    EXPECT_EQ(widened, GetParam().widened);
}

constexpr unsigned long long kMax = ~0ULL;

INSTANTIATE_TEST_SUITE_P(
    , CimInteger,
    ::testing::Values(IntegerCase{CMPI_uint8, 0xFF, 0xFF}, IntegerCase{CMPI_uint16, 0xFFFF, 0xFFFF},
                      IntegerCase{CMPI_uint32, 0xFFFFFFFF, 0xFFFFFFFF},
                      IntegerCase{CMPI_uint64, -1, kMax}, IntegerCase{CMPI_sint8, -2, kMax - 1},
                      IntegerCase{CMPI_sint16, -2, kMax - 1},
                      IntegerCase{CMPI_sint32, -2, kMax - 1},
                      IntegerCase{CMPI_sint64, -2, kMax - 1}, IntegerCase{CMPI_sint8, 127, 127},
                      IntegerCase{0x81, 5, 77}));

TEST_F(ValueMap, WhatIsNoIntegerIsNotWidened)
{
    CMPIValue value = {};
    unsigned long long widened = 77;
    for (const int code : {CMPI_boolean, CMPI_real32, CMPI_string, CMPI_null}) {
        EXPECT_EQ(mRequest.mapper.GetCimIntValue(value, static_cast<CMPIType>(code), widened),
                  CMPI_RC_ERR_NOT_SUPPORTED);
    }
    EXPECT_EQ(widened, 77U);
}

} // namespace
