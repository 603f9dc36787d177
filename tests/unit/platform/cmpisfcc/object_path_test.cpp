#include "Owner.h"

#include <gtest/gtest.h>

#include <cstdlib>

extern "C" char* value2Chars(CMPIType type, CMPIValue* value);

namespace {

Owner<CMPIObjectPath> makePath()
{
    return own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr));
}

CMPIStatus addChars(CMPIObjectPath* path, const char* name, const char* text)
{
    return CMAddKey(path, name, const_cast<char*>(text), CMPI_chars);
}

TEST(ObjectPath, HasTheNamesItWasMadeWith)
{
    Status status;
    const auto path = own(newCMPIObjectPath("root/xcim", "XCIM_Fan", status.out()));
    EXPECT_EQ(status.code(), CMPI_RC_OK);
    EXPECT_EQ(taken(CMGetNameSpace(path.get(), status.out())), "root/xcim");
    EXPECT_EQ(taken(CMGetClassName(path.get(), status.out())), "XCIM_Fan");
    EXPECT_EQ(CMGetHostname(path.get(), status.out()), nullptr);
    EXPECT_EQ(CMGetKeyCount(path.get(), nullptr), 0U);
    EXPECT_FALSE(CMIsNullObject(path.get()));
}

TEST(ObjectPath, TakesNullNamesAndANullStatus)
{
    const auto path = own(newCMPIObjectPath(nullptr, nullptr, nullptr));
    ASSERT_NE(path, nullptr);
    EXPECT_EQ(taken(CMGetNameSpace(path.get(), nullptr)), "(no text)");
    EXPECT_EQ(taken(CMGetClassName(path.get(), nullptr)), "(no text)");
}

TEST(ObjectPath, NamesCanBeSetAndTakenFromAnother)
{
    const auto path = makePath();
    const auto other = makePath();
    EXPECT_EQ(CMSetNameSpace(other.get(), "root/other").rc, CMPI_RC_OK);
    EXPECT_EQ(CMSetHostname(other.get(), "far").rc, CMPI_RC_OK);
    EXPECT_EQ(CMSetClassName(path.get(), "XCIM_Pump").rc, CMPI_RC_OK);
    EXPECT_EQ(CMSetNameSpaceFromObjectPath(path.get(), other.get()).rc, CMPI_RC_OK);
    EXPECT_EQ(CMGetHostname(path.get(), nullptr), nullptr);
    EXPECT_EQ(CMSetHostAndNameSpaceFromObjectPath(path.get(), other.get()).rc, CMPI_RC_OK);
    EXPECT_EQ(taken(CMGetNameSpace(path.get(), nullptr)), "root/other");
    EXPECT_EQ(taken(CMGetHostname(path.get(), nullptr)), "far");
    EXPECT_EQ(taken(CMGetClassName(path.get(), nullptr)), "XCIM_Pump");
}

TEST(ObjectPath, CharsBecomeAStringKeyOfItsOwn)
{
    const auto path = makePath();
    char text[] = "fan 1";
    EXPECT_EQ(CMAddKey(path.get(), "Id", text, CMPI_chars).rc, CMPI_RC_OK);
    text[0] = 'X';
    Status status;
    const CMPIData key = CMGetKey(path.get(), "id", status.out());
    EXPECT_EQ(status.code(), CMPI_RC_OK);
    EXPECT_EQ(textOf(key), "fan 1");
    EXPECT_TRUE(CMIsKeyValue(key));
}

TEST(ObjectPath, StringKeysAreCopies)
{
    const auto path = makePath();
    {
        const auto text = own(native_new_CMPIString("short-lived", nullptr));
        CMPIValue value;
        value.string = text.get();
        EXPECT_EQ(CMAddKey(path.get(), "Id", &value, CMPI_string).rc, CMPI_RC_OK);
    }
    EXPECT_EQ(textOf(CMGetKey(path.get(), "Id", nullptr)), "short-lived");
}

TEST(ObjectPath, NumbersAreTakenFromVariablesOfTheirSize)
{
    const auto path = makePath();
    const CMPIBoolean truth = 1;
    const CMPIUint8 byte = 200;
    const CMPISint32 negative = -1000;
    EXPECT_EQ(CMAddKey(path.get(), "B", &truth, CMPI_boolean).rc, CMPI_RC_OK);
    EXPECT_EQ(CMAddKey(path.get(), "U", &byte, CMPI_uint8).rc, CMPI_RC_OK);
    EXPECT_EQ(CMAddKey(path.get(), "S", &negative, CMPI_sint32).rc, CMPI_RC_OK);
    EXPECT_EQ(CMGetKey(path.get(), "B", nullptr).value.boolean, 1);
    EXPECT_EQ(CMGetKey(path.get(), "U", nullptr).value.uint8, 200);
    EXPECT_EQ(CMGetKey(path.get(), "S", nullptr).value.sint32, -1000);
}

TEST(ObjectPath, TheSecondKeyOfANameIsRefusedAndTheFirstStays)
{
    const auto path = makePath();
    EXPECT_EQ(addChars(path.get(), "Id", "first").rc, CMPI_RC_OK);
    EXPECT_EQ(addChars(path.get(), "ID", "second").rc, CMPI_RC_ERR_ALREADY_EXISTS);
    EXPECT_EQ(CMGetKeyCount(path.get(), nullptr), 1U);
    EXPECT_EQ(textOf(CMGetKey(path.get(), "Id", nullptr)), "first");
}

TEST(ObjectPath, RefusesAKeyWithoutANameAndTypesThatCannotBeKept)
{
    const auto path = makePath();
    CMPIValue value = {};
    const Status nameless(CMAddKey(path.get(), nullptr, &value, CMPI_uint32));
    EXPECT_EQ(nameless.code(), CMPI_RC_ERR_INVALID_PARAMETER);
    const Status odd(CMAddKey(path.get(), "K", &value, CMPI_filter));
    EXPECT_EQ(odd.code(), CMPI_RC_ERR_INVALID_PARAMETER);
    EXPECT_EQ(CMGetKeyCount(path.get(), nullptr), 0U);
}

TEST(ObjectPath, AnUnknownKeyIsNoSuchProperty)
{
    const auto path = makePath();
    Status status;
    const CMPIData key = CMGetKey(path.get(), "Nothing", status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_NO_SUCH_PROPERTY);
    EXPECT_EQ(key.type, CMPI_null);
    EXPECT_EQ(key.state, CMPI_nullValue);
    CMPIString* name = nullptr;
    (void)CMGetKeyAt(path.get(), 0, &name, status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_NO_SUCH_PROPERTY);
    EXPECT_EQ(name, nullptr);
}

TEST(ObjectPath, KeysByNumberComeInTheirOrderWithTheirNames)
{
    const auto path = makePath();
    for (const char* name : {"A", "B", "C", "D", "E", "F"}) {
        (void)addChars(path.get(), name, name);
    }
    std::string names;
    for (unsigned i = 0; i < CMGetKeyCount(path.get(), nullptr); ++i) {
        CMPIString* name = nullptr;
        const CMPIData key = CMGetKeyAt(path.get(), i, &name, nullptr);
        names += taken(name) + "=" + textOf(key) + " ";
    }
    EXPECT_EQ(names, "A=A B=B C=C D=D E=E F=F ");
    EXPECT_EQ(textOf(CMGetKeyAt(path.get(), 2, nullptr, nullptr)), "C");
}

TEST(ObjectPath, ACloneOutlivesItsModelAndIsNotChangedWithIt)
{
    auto path = makePath();
    CMPIValue value;
    const auto inner = makePath();
    (void)addChars(inner.get(), "Id", "inner");
    value.ref = inner.get();
    (void)CMAddKey(path.get(), "Ref", &value, CMPI_ref);
    Status status;
    const auto clone = own(CMClone(path.get(), status.out()));
    (void)CMSetClassName(path.get(), "Other");
    path.reset();
    EXPECT_EQ(taken(CMGetClassName(clone.get(), nullptr)), "XCIM_Fan");
    CMPIObjectPath* cloned = CMGetKey(clone.get(), "Ref", nullptr).value.ref;
    EXPECT_EQ(textOf(CMGetKey(cloned, "Id", nullptr)), "inner");
}

TEST(ObjectPath, IsWrittenWithTextsInQuotes)
{
    const auto path = makePath();
    const CMPIUint32 number = 7;
    (void)addChars(path.get(), "Id", R"(a"b\c)");
    (void)CMAddKey(path.get(), "Port", &number, CMPI_uint32);
    EXPECT_EQ(taken(CMObjectPathToString(path.get(), nullptr)),
              R"(root/xcim:XCIM_Fan.Id="a\"b\\c",Port=7)");
    (void)CMSetHostname(path.get(), "host"); // which is not told
    EXPECT_EQ(taken(CMObjectPathToString(path.get(), nullptr)),
              R"(root/xcim:XCIM_Fan.Id="a\"b\\c",Port=7)");
}

TEST(ObjectPath, HasNoQualifiers)
{
    const auto path = makePath();
    Status status;
    (void)path->ft->getClassQualifier(path.get(), "Q", status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_NOT_SUPPORTED);
    (void)path->ft->getPropertyQualifier(path.get(), "P", "Q", status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_NOT_SUPPORTED);
    (void)path->ft->getMethodQualifier(path.get(), "M", "Q", status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_NOT_SUPPORTED);
    const CMPIData none = path->ft->getParameterQualifier(path.get(), "M", "P", "Q", status.out());
    EXPECT_EQ(status.code(), CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_NE(none.state & CMPI_nullValue, 0);
}

TEST(String, HoldsACopyOrNothing)
{
    Status status;
    char text[] = "text";
    const auto string = own(native_new_CMPIString(text, status.out()));
    text[0] = 'n';
    EXPECT_EQ(status.code(), CMPI_RC_OK);
    EXPECT_STREQ(CMGetCharPtr(string.get()), "text");
    EXPECT_STREQ(CMGetCharsPtr(string.get(), status.out()), "text");
    EXPECT_EQ(taken(CMClone(string.get(), status.out())), "text");
    const auto none = own(native_new_CMPIString(nullptr, nullptr));
    EXPECT_EQ(CMGetCharPtr(none.get()), nullptr);
    EXPECT_TRUE(CMIsNullObject(none.get()));
}

TEST(Value, IsWrittenAsText)
{
    const auto written = [](CMPIType type, CMPIValue value) {
        const std::unique_ptr<char, decltype(&std::free)> text(value2Chars(type, &value),
                                                               &std::free);
        return std::string(text.get());
    };
    CMPIValue value = {};
    value.sint64 = -5;
    EXPECT_EQ(written(CMPI_sint64, value), "-5");
    value.uint64 = 18446744073709551615ULL;
    EXPECT_EQ(written(CMPI_uint64, value), "18446744073709551615");
    value.boolean = 1;
    EXPECT_EQ(written(CMPI_boolean, value), "true");
    value.boolean = 0;
    EXPECT_EQ(written(CMPI_boolean, value), "false");
    value.real64 = 0.1;
    EXPECT_EQ(written(CMPI_real64, value), "0.1");
    value.char16 = 0xe9;
    EXPECT_EQ(written(CMPI_char16, value), "\xc3\xa9");
    EXPECT_EQ(value2Chars(CMPI_uint8, nullptr), nullptr);
}

} // namespace
