// Instances and classes as values.
#include "ClientOperationsTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace {

constexpr const char* kEmbeddedFan =
    R"(<VALUE>&lt;INSTANCE CLASSNAME="XCIM_Fan"&gt;&lt;PROPERTY NAME="Speed" TYPE="uint8"&gt;)"
    R"(&lt;VALUE&gt;5&lt;/VALUE&gt;&lt;/PROPERTY&gt;&lt;/INSTANCE&gt;</VALUE>)";
constexpr const char* kEmbeddedClass =
    R"(<VALUE><![CDATA[<CLASS NAME="XCIM_Fan"><PROPERTY NAME="Speed" TYPE="uint8"/></CLASS>]]></VALUE>)";

TEST_F(ClientOperations, EmbeddedObjectsOfPropertiesAreInstancesAndClasses)
{
    mServer.addXml(CannedServer::returning(
        "GetInstance",
        std::string(R"(<INSTANCE CLASSNAME="XCIM_Event">)") +
            R"(<PROPERTY NAME="Source" TYPE="string" EmbeddedObject="instance">)" + kEmbeddedFan +
            R"(</PROPERTY><PROPERTY NAME="Kind" TYPE="string" EMBEDDEDOBJECT="object">)" +
            kEmbeddedClass +
            R"(</PROPERTY><PROPERTY.ARRAY NAME="All" TYPE="string" EmbeddedObject="object"><VALUE.ARRAY>)" +
            kEmbeddedFan + "<VALUE.NULL/>" +
            R"(</VALUE.ARRAY></PROPERTY.ARRAY><PROPERTY NAME="None" TYPE="string" EmbeddedObject="object"/>)"
            R"(<PROPERTY NAME="Text" TYPE="string">)" +
            kEmbeddedFan +
            R"(</PROPERTY><PROPERTY NAME="Odd" TYPE="string" EmbeddedObject="instance"><VALUE>odd</VALUE>)"
            R"(</PROPERTY></INSTANCE>)"));
    const auto event =
        own(ft()->getInstance(mClient.get(), mPath.get(), 0, nullptr, mStatus.out()));
    ASSERT_NE(event, nullptr) << mStatus.message();
    const auto clone = own(CMClone(event.get(), nullptr));
    const auto value = [&clone](const char* name) {
        return CMGetProperty(clone.get(), name, nullptr);
    };
    ASSERT_EQ(value("Source").type, CMPI_instance);
    EXPECT_EQ(value("Source").state, CMPI_goodValue);
    EXPECT_EQ(CMGetProperty(value("Source").value.inst, "Speed", nullptr).value.uint8, 5);
    ASSERT_EQ(value("Kind").type, CMPI_class);
    EXPECT_EQ(taken(value("Kind").value.cls->ft->getClassName(value("Kind").value.cls, nullptr)),
              "XCIM_Fan");
    ASSERT_EQ(value("All").type, CMPI_instanceA);
    EXPECT_EQ(CMGetArrayType(value("All").value.array, nullptr), CMPI_instance);
    const CMPIData first = CMGetArrayElementAt(value("All").value.array, 0, nullptr);
    EXPECT_EQ(CMGetProperty(first.value.inst, "Speed", nullptr).value.uint8, 5);
    EXPECT_TRUE(CMIsNullValue(CMGetArrayElementAt(value("All").value.array, 1, nullptr)));
    EXPECT_TRUE(CMIsNullValue(value("None")));
    EXPECT_THAT(textOf(value("Text")), HasSubstr("<INSTANCE CLASSNAME=")); // nobody says it is one
    EXPECT_EQ(textOf(value("Odd")), "odd");

    mServer.addXml(CannedServer::message("ModifyInstance", ""));
    const Status changed(ft()->setInstance(mClient.get(), mPath.get(), event.get(), 0, nullptr));
    EXPECT_EQ(changed.code(), CMPI_RC_OK);
    EXPECT_THAT(
        mServer.requests().back(),
        HasSubstr(R"(<PROPERTY NAME="Source" TYPE="string" EmbeddedObject="instance"><VALUE>)"
                  R"(&lt;INSTANCE CLASSNAME=&quot;XCIM_Fan&quot;&gt;)"));
    EXPECT_THAT(mServer.requests().back(),
                HasSubstr(R"(<PROPERTY NAME="Kind" TYPE="string" EmbeddedObject="object"><VALUE>)"
                          R"(&lt;CLASS NAME=&quot;XCIM_Fan&quot;&gt;)"));
}

TEST_F(ClientOperations, EmbeddedObjectsOfMethodsAreInstances)
{
    mServer.addXml(
        std::string(
            R"(<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="4711" PROTOCOLVERSION="1.0"><SIMPLERSP>)"
            R"(<METHODRESPONSE NAME="Ask"><RETURNVALUE PARAMTYPE="string" EmbeddedObject="instance">)") +
        kEmbeddedFan + R"(</RETURNVALUE><PARAMVALUE NAME="One" PARAMTYPE="instance">)" +
        kEmbeddedFan +
        R"(</PARAMVALUE><PARAMVALUE NAME="All" PARAMTYPE="string" EmbeddedObject="instance"><VALUE.ARRAY>)" +
        kEmbeddedFan + "</VALUE.ARRAY></PARAMVALUE></METHODRESPONSE></SIMPLERSP></MESSAGE></CIM>");
    const auto out = own(native_new_CMPIArgs(nullptr));
    const CMPIData returned =
        ft()->invokeMethod(mClient.get(), mPath.get(), "Ask", nullptr, out.get(), mStatus.out());
    EXPECT_EQ(mStatus.code(), CMPI_RC_OK) << mStatus.message();
    ASSERT_EQ(returned.type, CMPI_instance);
    const auto fan = own(returned.value.inst);
    EXPECT_EQ(CMGetProperty(fan.get(), "Speed", nullptr).value.uint8, 5);
    ASSERT_EQ(CMGetArg(out.get(), "One", nullptr).type, CMPI_instance);
    EXPECT_EQ(
        CMGetProperty(CMGetArg(out.get(), "One", nullptr).value.inst, "Speed", nullptr).value.uint8,
        5);
    const CMPIData all = CMGetArg(out.get(), "All", nullptr);
    ASSERT_EQ(all.type, CMPI_instanceA);
    EXPECT_EQ(CMGetArrayCount(all.value.array, nullptr), 1U);
}

} // namespace
