#include "Owner.h"

#include <gtest/gtest.h>

namespace {

Owner<CMPIInstance> makeInstance()
{
    const auto path = own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr));
    (void)CMAddKey(path.get(), "Id", const_cast<char*>("fan1"), CMPI_chars);
    return own(native_new_CMPIInstance(path.get(), nullptr));
}

CMPIStatus setChars(CMPIInstance* instance, const char* name, const char* text)
{
    return CMSetProperty(instance, name, const_cast<char*>(text), CMPI_chars);
}

TEST(Instance, BeginsWithTheKeysOfItsPath)
{
    const auto instance = makeInstance();
    EXPECT_EQ(CMGetPropertyCount(instance.get(), nullptr), 1U);
    const CMPIData key = CMGetProperty(instance.get(), "ID", nullptr);
    EXPECT_EQ(textOf(key), "fan1");
    EXPECT_TRUE(CMIsKeyValue(key));
}

TEST(Instance, NeedsAPath)
{
    Status status;
    EXPECT_EQ(native_new_CMPIInstance(nullptr, status.out()), nullptr);
    EXPECT_EQ(status.code(), CMPI_RC_ERR_INVALID_PARAMETER);
}

TEST(Instance, PropertiesAreFoundWithoutCaseAndByNumber)
{
    const auto instance = makeInstance();
    (void)setChars(instance.get(), "Name", "left");
    EXPECT_EQ(textOf(CMGetProperty(instance.get(), "nAmE", nullptr)), "left");
    CMPIString* name = nullptr;
    Status status;
    EXPECT_EQ(textOf(CMGetPropertyAt(instance.get(), 1, &name, status.out())), "left");
    EXPECT_EQ(taken(name), "Name");
    EXPECT_EQ(status.code(), CMPI_RC_OK);
    EXPECT_EQ(textOf(CMGetPropertyAt(instance.get(), 1, nullptr, nullptr)), "left");
}

TEST(Instance, UnknownPropertiesAreNoSuchProperty)
{
    const auto instance = makeInstance();
    Status status;
    CMPIData none = CMGetProperty(instance.get(), "Nothing", status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_NO_SUCH_PROPERTY);
    EXPECT_EQ(none.type, CMPI_null);
    EXPECT_EQ(none.state, CMPI_nullValue);
    none = CMGetProperty(instance.get(), nullptr, status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_NO_SUCH_PROPERTY);
    CMPIString* name = nullptr;
    none = CMGetPropertyAt(instance.get(), 1, &name, status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_NO_SUCH_PROPERTY);
    EXPECT_EQ(name, nullptr);
}

TEST(Instance, ANullPropertyThatIsSetIsNullNoLonger)
{
    const auto instance = makeInstance();
    EXPECT_EQ(CMSetProperty(instance.get(), "Name", nullptr, CMPI_string).rc, CMPI_RC_OK);
    CMPIData name = CMGetProperty(instance.get(), "Name", nullptr);
    EXPECT_EQ(name.type, CMPI_string);
    EXPECT_TRUE(CMIsNullValue(name));
    (void)setChars(instance.get(), "Name", "set");
    name = CMGetProperty(instance.get(), "Name", nullptr);
    EXPECT_EQ(textOf(name), "set");
    EXPECT_EQ(CMGetPropertyCount(instance.get(), nullptr), 2U);
}

TEST(Instance, UnsetHalvesOfA32BitNumberDoNotCount)
{
    const auto instance = makeInstance();
    CMPIValue value;
    value.uint64 = 0xdeadbeef00000005ULL;
    (void)CMSetProperty(instance.get(), "Number", &value, CMPI_uint32);
    EXPECT_EQ(CMGetProperty(instance.get(), "Number", nullptr).value.uint32, 5U);
}

TEST(Instance, ObjectPathFollowsTheKeys)
{
    const auto instance = makeInstance();
    (void)setChars(instance.get(), "id", "fan2");
    (void)setChars(instance.get(), "Name", "no key");
    Status status;
    const auto path = own(CMGetObjectPath(instance.get(), status.out()));
    EXPECT_EQ(status.code(), CMPI_RC_OK);
    EXPECT_EQ(taken(CMObjectPathToString(path.get(), nullptr)), "root/xcim:XCIM_Fan.Id=\"fan2\"");
}

TEST(Instance, AFilterLetsOnlyListedPropertiesBeSet)
{
    const auto instance = makeInstance();
    char name[] = "Name";
    char key[] = "Id";
    char* properties[] = {name, nullptr};
    char* keys[] = {key, nullptr};
    EXPECT_EQ(CMSetPropertyFilter(instance.get(), properties, keys).rc, CMPI_RC_OK);
    EXPECT_EQ(setChars(instance.get(), "Speed", "1").rc, CMPI_RC_OK);
    (void)setChars(instance.get(), "NAME", "n");
    (void)setChars(instance.get(), "Id", "fan3");
    EXPECT_EQ(CMGetPropertyCount(instance.get(), nullptr), 2U);
    EXPECT_EQ(textOf(CMGetProperty(instance.get(), "Id", nullptr)), "fan3");
    (void)CMSetPropertyFilter(instance.get(), nullptr, nullptr);
    (void)setChars(instance.get(), "Speed", "1");
    EXPECT_EQ(CMGetPropertyCount(instance.get(), nullptr), 3U);
}

TEST(Instance, ACloneHoldsAllValuesByItself)
{
    auto instance = makeInstance();
    CMPIValue value;
    const auto array = own(native_new_CMPIArray(0, CMPI_string, nullptr));
    const auto text = own(native_new_CMPIString("element", nullptr));
    value.string = text.get();
    (void)CMSetArrayElementAt(array.get(), 0, &value, CMPI_string);
    value.array = array.get();
    (void)CMSetProperty(instance.get(), "List", &value, CMPI_stringA);
    const auto time = own(native_new_CMPIDateTime_fromChars("20260102030405.000006+060", nullptr));
    value.dateTime = time.get();
    (void)CMSetProperty(instance.get(), "Time", &value, CMPI_dateTime);
    const auto inner = makeInstance();
    value.inst = inner.get();
    (void)CMSetProperty(instance.get(), "Inner", &value, CMPI_instance);
    const auto clone = own(CMClone(instance.get(), nullptr));
    instance.reset();
    CMPIArray* list = CMGetProperty(clone.get(), "List", nullptr).value.array;
    EXPECT_EQ(textOf(CMGetArrayElementAt(list, 0, nullptr)), "element");
    CMPIDateTime* cloned = CMGetProperty(clone.get(), "Time", nullptr).value.dateTime;
    EXPECT_EQ(taken(CMGetStringFormat(cloned, nullptr)), "20260102030405.000006+060");
    CMPIInstance* held = CMGetProperty(clone.get(), "Inner", nullptr).value.inst;
    EXPECT_EQ(textOf(CMGetProperty(held, "Id", nullptr)), "fan1");
    // Releasing what belongs to another changes nothing.
    EXPECT_EQ(CMRelease(held).rc, CMPI_RC_OK);
    EXPECT_EQ(textOf(CMGetProperty(held, "Id", nullptr)), "fan1");
}

TEST(Instance, HasNoQualifiers)
{
    const auto instance = makeInstance();
    Status status;
    CMPIString* name = nullptr;
    EXPECT_EQ(instance->ft->getQualifierCount(instance.get(), status.out()), 0U);
    EXPECT_EQ(status.code(), CMPI_RC_OK);
    EXPECT_EQ(instance->ft->getPropertyQualifierCount(instance.get(), "Id", status.out()), 0U);
    (void)instance->ft->getQualifier(instance.get(), "Q", status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_FAILED);
    (void)instance->ft->getQualifierAt(instance.get(), 0, &name, status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_NO_SUCH_PROPERTY);
    (void)instance->ft->getPropertyQualifier(instance.get(), "Id", "Q", status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_FAILED);
    (void)instance->ft->getPropertyQualifierAt(instance.get(), "Id", 0, nullptr, status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_NO_SUCH_PROPERTY);
}

TEST(Args, KeepTheirOrderAndRefuseASecondOfAName)
{
    Status status;
    const auto args = own(native_new_CMPIArgs(status.out()));
    EXPECT_EQ(status.code(), CMPI_RC_OK);
    EXPECT_EQ(CMAddArg(args.get(), "Text", const_cast<char*>("t"), CMPI_chars).rc, CMPI_RC_OK);
    const CMPIUint16 number = 9;
    EXPECT_EQ(CMAddArg(args.get(), "Number", &number, CMPI_uint16).rc, CMPI_RC_OK);
    EXPECT_EQ(CMAddArg(args.get(), "TEXT", &number, CMPI_uint16).rc, CMPI_RC_ERR_ALREADY_EXISTS);
    EXPECT_EQ(CMGetArgCount(args.get(), nullptr), 2U);
    EXPECT_EQ(textOf(CMGetArg(args.get(), "text", nullptr)), "t");
    CMPIString* name = nullptr;
    EXPECT_EQ(CMGetArgAt(args.get(), 1, &name, nullptr).value.uint16, 9);
    EXPECT_EQ(taken(name), "Number");
    const auto clone = own(CMClone(args.get(), nullptr));
    EXPECT_EQ(textOf(CMGetArg(clone.get(), "Text", nullptr)), "t");
}

} // namespace
