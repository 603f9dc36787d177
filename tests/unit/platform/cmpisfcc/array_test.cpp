#include "Owner.h"
#include "objects.h"

#include <gtest/gtest.h>

TEST(Array, OfASizeBeginsWithNulls)
{
    Status status;
    const auto array = own(native_new_CMPIArray(2, CMPI_uint32A, status.out()));
    EXPECT_EQ(status.code(), CMPI_RC_OK);
    EXPECT_EQ(CMGetArrayCount(array.get(), nullptr), 2U);
    EXPECT_EQ(CMGetArrayType(array.get(), nullptr), CMPI_uint32);
    const CMPIData element = CMGetArrayElementAt(array.get(), 1, nullptr);
    EXPECT_EQ(element.type, CMPI_uint32);
    EXPECT_EQ(element.state, CMPI_nullValue);
}

TEST(Array, OfNoSizeGrowsAtItsEndOnly)
{
    const auto array = own(native_new_CMPIArray(0, CMPI_sint64, nullptr));
    for (CMPISint64 i = 0; i < 20; ++i) {
        EXPECT_EQ(CMSetArrayElementAt(array.get(), static_cast<CMPICount>(i), &i, CMPI_sint64).rc,
                  CMPI_RC_OK);
    }
    const CMPISint64 number = 1;
    const Status gap(CMSetArrayElementAt(array.get(), 21, &number, CMPI_sint64));
    EXPECT_EQ(gap.code(), CMPI_RC_ERR_FAILED);
    EXPECT_EQ(CMGetArrayCount(array.get(), nullptr), 20U);
    EXPECT_EQ(CMGetArrayElementAt(array.get(), 19, nullptr).value.sint64, 19);
}

TEST(Array, OfASizeDoesNotGrow)
{
    const auto array = own(native_new_CMPIArray(1, CMPI_sint64, nullptr));
    const CMPISint64 number = 1;
    const Status beyond(CMSetArrayElementAt(array.get(), 1, &number, CMPI_sint64));
    EXPECT_EQ(beyond.code(), CMPI_RC_ERR_FAILED);
}

TEST(Array, RefusesElementsOfAnotherType)
{
    const auto array = own(native_new_CMPIArray(1, CMPI_sint64, nullptr));
    const CMPIUint64 number = 1;
    const Status wrong(CMSetArrayElementAt(array.get(), 0, &number, CMPI_uint64));
    EXPECT_EQ(wrong.code(), CMPI_RC_ERR_FAILED);
    EXPECT_TRUE(CMIsNullValue(CMGetArrayElementAt(array.get(), 0, nullptr)));
}

TEST(Array, PastTheEndIsABadValueWithoutAnError)
{
    const auto array = own(native_new_CMPIArray(1, CMPI_sint64, nullptr));
    Status status;
    const CMPIData data = CMGetArrayElementAt(array.get(), 1, status.out());
    EXPECT_EQ(status.code(), CMPI_RC_OK);
    EXPECT_EQ(data.state, CMPI_badValue);
    EXPECT_EQ(data.type, CMPI_sint64);
}

TEST(Array, TakesCharsByTheirMember)
{
    const auto array = own(native_new_CMPIArray(0, CMPI_chars, nullptr));
    char text[] = "text";
    CMPIValue value;
    value.chars = text;
    EXPECT_EQ(CMSetArrayElementAt(array.get(), 0, &value, CMPI_chars).rc, CMPI_RC_OK);
    EXPECT_EQ(CMSetArrayElementAt(array.get(), 1, nullptr, CMPI_string).rc, CMPI_RC_OK);
    EXPECT_EQ(textOf(CMGetArrayElementAt(array.get(), 0, nullptr)), "text");
    EXPECT_TRUE(CMIsNullValue(CMGetArrayElementAt(array.get(), 1, nullptr)));
    const auto clone = own(CMClone(array.get(), nullptr));
    EXPECT_EQ(textOf(CMGetArrayElementAt(clone.get(), 0, nullptr)), "text");
    EXPECT_TRUE(CMIsNullValue(CMGetArrayElementAt(clone.get(), 1, nullptr)));
}
