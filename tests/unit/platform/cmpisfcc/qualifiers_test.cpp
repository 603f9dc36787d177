// The qualifiers of classes and instances.
#include "ClientOperationsTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace {

constexpr const char* kQualified =
    R"(<CLASS NAME="XCIM_Fan"><QUALIFIER NAME="Version" TYPE="string"><VALUE>1.2</VALUE></QUALIFIER>)"
    R"(<QUALIFIER NAME="Association" TYPE="boolean"><VALUE>FALSE</VALUE></QUALIFIER>)"
    R"(<PROPERTY NAME="Id" TYPE="string"><QUALIFIER NAME="Key" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER>)"
    R"(<QUALIFIER NAME="MaxLen" TYPE="uint32"><VALUE>64</VALUE></QUALIFIER></PROPERTY>)"
    R"(<PROPERTY.ARRAY NAME="States" TYPE="uint16"><QUALIFIER NAME="ValueMap" TYPE="string"><VALUE.ARRAY>)"
    R"(<VALUE>0</VALUE><VALUE>1</VALUE></VALUE.ARRAY></QUALIFIER></PROPERTY.ARRAY>)"
    R"(<PROPERTY NAME="Speed" TYPE="uint8"/>)"
    R"(<METHOD NAME="Reset" TYPE="uint32"><QUALIFIER NAME="Static" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER>)"
    R"(<PARAMETER NAME="Delay" TYPE="uint16"/></METHOD><METHOD NAME="Stop" TYPE="uint32"/></CLASS>)";

class ClassQualifiers : public ClientOperations
{
protected:
    // A clone, since what is handed out first is the answer itself.
    void SetUp() override
    {
        mServer.addXml(CannedServer::returning("GetClass", kQualified));
        const auto cls = own(ft()->getClass(mClient.get(), mPath.get(), CMPI_FLAG_IncludeQualifiers,
                                            nullptr, mStatus.out()));
        ASSERT_NE(cls, nullptr) << mStatus.message();
        mClass = own(CMClone(cls.get(), nullptr));
    }
    // As SFCC tells that there is none.
    void expectNone(const CMPIData& data, int code)
    {
        EXPECT_EQ(mStatus.code(), code);
        EXPECT_EQ(data.type, CMPI_null);
        EXPECT_EQ(data.state, CMPI_nullValue);
    }
    CMPIConstClassFT& of() { return *mClass->ft; }

    Owner<CMPIConstClass> mClass;
};

TEST_F(ClassQualifiers, AreKeptOnTheClass)
{
    EXPECT_THAT(request(), HasSubstr(R"("IncludeQualifiers"><VALUE>TRUE</VALUE>)"));
    EXPECT_EQ(textOf(of().getQualifier(mClass.get(), "VERSION", mStatus.out())), "1.2");
    EXPECT_EQ(mStatus.code(), CMPI_RC_OK);
    EXPECT_EQ(of().getQualifierCount(mClass.get(), mStatus.out()), 2U);
    CMPIString* name = nullptr;
    const CMPIData second = of().getQualifierAt(mClass.get(), 1, &name, mStatus.out());
    EXPECT_EQ(second.type, CMPI_boolean);
    EXPECT_EQ(second.state, CMPI_goodValue);
    EXPECT_EQ(second.value.boolean, 0);
    EXPECT_EQ(taken(name), "Association");
}

TEST_F(ClassQualifiers, AreKeptOnProperties)
{
    const CMPIData key = of().getPropertyQualifier(mClass.get(), "id", "key", mStatus.out());
    EXPECT_EQ(mStatus.code(), CMPI_RC_OK);
    EXPECT_EQ(key.type, CMPI_boolean);
    EXPECT_EQ(key.value.boolean, 1);
    EXPECT_EQ(of().getPropertyQualifierCount(mClass.get(), "Id", mStatus.out()), 2U);
    CMPIString* name = nullptr;
    EXPECT_EQ(of().getPropertyQualifierAt(mClass.get(), "Id", 1, &name, mStatus.out()).value.uint32,
              64U);
    EXPECT_EQ(taken(name), "MaxLen");
    const CMPIData map =
        of().getPropertyQualifier(mClass.get(), "States", "ValueMap", mStatus.out());
    ASSERT_EQ(map.type, CMPI_stringA);
    EXPECT_EQ(textOf(CMGetArrayElementAt(map.value.array, 1, nullptr)), "1");
    EXPECT_EQ(of().getPropertyQualifierCount(mClass.get(), "Speed", mStatus.out()), 0U);
    EXPECT_EQ(mStatus.code(), CMPI_RC_OK);
}

TEST_F(ClassQualifiers, AreKeptOnMethods)
{
    const CMPIData found = of().getMethodQualifier(mClass.get(), "reset", "static", mStatus.out());
    EXPECT_EQ(found.value.boolean, 1);
    EXPECT_EQ(of().getMethodQualifierCount(mClass.get(), "Reset", mStatus.out()), 1U);
    CMPIString* name = nullptr;
    (void)of().getMethodQualifierAt(mClass.get(), "Reset", 0, &name, mStatus.out());
    EXPECT_EQ(taken(name), "Static");
    EXPECT_EQ(of().getMethodQualifierCount(mClass.get(), "Stop", mStatus.out()), 0U);
}

TEST_F(ClassQualifiers, ThatAreMissingHaveTheStateOfNull)
{
    CMPIConstClass* cls = mClass.get();
    CMPIString* name = nullptr;
    expectNone(of().getQualifier(cls, "None", mStatus.out()), CMPI_RC_ERR_FAILED);
    expectNone(of().getQualifierAt(cls, 2, &name, mStatus.out()), CMPI_RC_ERR_NO_SUCH_PROPERTY);
    expectNone(of().getPropertyQualifier(cls, "Speed", "Key", mStatus.out()), CMPI_RC_ERR_FAILED);
    expectNone(of().getPropertyQualifierAt(cls, "Id", 2, &name, mStatus.out()),
               CMPI_RC_ERR_NO_SUCH_PROPERTY);
    expectNone(of().getMethodQualifier(cls, "Reset", "None", mStatus.out()), CMPI_RC_ERR_FAILED);
    expectNone(of().getMethodQualifierAt(cls, "Reset", 1, &name, mStatus.out()),
               CMPI_RC_ERR_NO_SUCH_PROPERTY);
    EXPECT_EQ(name, nullptr);
}

TEST_F(ClassQualifiers, OfMembersThatAreMissingSayWhichMember)
{
    CMPIConstClass* cls = mClass.get();
    expectNone(of().getPropertyQualifier(cls, "None", "Key", mStatus.out()),
               CMPI_RC_ERR_NO_SUCH_PROPERTY);
    expectNone(of().getPropertyQualifierAt(cls, "None", 0, nullptr, mStatus.out()),
               CMPI_RC_ERR_NO_SUCH_PROPERTY);
    EXPECT_EQ(of().getPropertyQualifierCount(cls, "None", mStatus.out()), 0U);
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_NO_SUCH_PROPERTY);
    expectNone(of().getMethodQualifier(cls, "None", "Q", mStatus.out()),
               CMPI_RC_ERR_METHOD_NOT_FOUND);
    expectNone(of().getMethodQualifierAt(cls, "None", 0, nullptr, mStatus.out()),
               CMPI_RC_ERR_METHOD_NOT_FOUND);
    EXPECT_EQ(of().getMethodQualifierCount(cls, "None", mStatus.out()), 0U);
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_METHOD_NOT_FOUND);
}

TEST_F(ClientOperations, InstancesKeepTheirQualifiersToo)
{
    mServer.addXml(CannedServer::returning(
        "GetInstance",
        R"(<INSTANCE CLASSNAME="XCIM_Fan"><QUALIFIER NAME="Q" TYPE="uint8"><VALUE>1</VALUE></QUALIFIER>)"
        R"(<PROPERTY NAME="Speed" TYPE="uint8"><QUALIFIER NAME="Units" TYPE="string"><VALUE>rpm</VALUE>)"
        R"(</QUALIFIER><VALUE>5</VALUE></PROPERTY></INSTANCE>)"));
    const auto fan = own(ft()->getInstance(mClient.get(), mPath.get(), CMPI_FLAG_IncludeQualifiers,
                                           nullptr, mStatus.out()));
    ASSERT_NE(fan, nullptr) << mStatus.message();
    const auto clone = own(CMClone(fan.get(), nullptr));
    EXPECT_EQ(clone->ft->getQualifier(clone.get(), "q", mStatus.out()).value.uint8, 1);
    EXPECT_EQ(clone->ft->getQualifierCount(clone.get(), mStatus.out()), 1U);
    CMPIString* name = nullptr;
    EXPECT_EQ(
        textOf(clone->ft->getPropertyQualifierAt(clone.get(), "Speed", 0, &name, mStatus.out())),
        "rpm");
    EXPECT_EQ(taken(name), "Units");
    EXPECT_EQ(CMGetProperty(clone.get(), "Speed", nullptr).value.uint8, 5);
}

} // namespace
