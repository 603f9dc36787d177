// The names of CIM types.
#include "ResourceMapper/mapping/CimType.h"

#include <gtest/gtest.h>

namespace {

using cimgate::mapping::isCimType;
using cimgate::mapping::NumberType;
using cimgate::mapping::numberTypeOf;

TEST(CimType, LetterCaseCountsInTheNamesOfShortIntegersAlone)
{
    EXPECT_EQ(numberTypeOf("UINT64"), NumberType::Uint64);
    EXPECT_EQ(numberTypeOf("Sint64"), NumberType::Sint64);
    EXPECT_EQ(numberTypeOf("sint16"), NumberType::Sint);
    EXPECT_EQ(numberTypeOf("uint8"), NumberType::Uint);
    EXPECT_EQ(numberTypeOf("Boolean"), NumberType::Boolean);
    EXPECT_EQ(numberTypeOf("DateTime"), NumberType::DateTime);
    for (const char* name : {"", "SINT32", "Uint16", "string", "real32", "int32"}) {
        EXPECT_FALSE(numberTypeOf(name).has_value()) << name;
    }
}

TEST(CimType, IsKnownInAnyLetterCase)
{
    for (const char* name : {"uint8", "SINT32", "String", "real64", "char16", "reference"}) {
        EXPECT_TRUE(isCimType(name)) << name;
    }
    for (const char* name : {"", "int32", "unit64", "uint", "date"}) {
        EXPECT_FALSE(isCimType(name)) << name;
    }
}

} // namespace
