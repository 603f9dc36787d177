// Each operation: what is sent, and what becomes of the answer.
#include "ClientOperationsTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* kFan =
    R"(<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME="XCIM_Fan">)"
    R"(<KEYBINDING NAME="id"><KEYVALUE VALUETYPE="string">fan 1</KEYVALUE></KEYBINDING>)"
    R"(</INSTANCENAME><INSTANCE CLASSNAME="XCIM_Fan">)"
    R"(<PROPERTY NAME="Name" TYPE="string"><VALUE>a &lt;b&gt; &amp; c</VALUE></PROPERTY>)"
    R"(<PROPERTY NAME="Id" TYPE="string"><VALUE>fan 1</VALUE></PROPERTY>)"
    R"(<PROPERTY NAME="Speed" TYPE="sint32"><VALUE>-1000</VALUE></PROPERTY>)"
    R"(<PROPERTY NAME="Total" TYPE="uint64"><VALUE>18446744073709551615</VALUE></PROPERTY>)"
    R"(<PROPERTY NAME="Mask" TYPE="uint8"><VALUE>0x1F</VALUE></PROPERTY>)"
    R"(<PROPERTY NAME="On" TYPE="boolean"><VALUE>TRUE</VALUE></PROPERTY>)"
    R"(<PROPERTY NAME="Load" TYPE="real32"><VALUE>0.5</VALUE></PROPERTY>)"
    R"(<PROPERTY NAME="Unit" TYPE="char16"><VALUE>é</VALUE></PROPERTY>)"
    R"(<PROPERTY NAME="Nothing" TYPE="uint16"/>)"
    R"(<PROPERTY NAME="Since" TYPE="datetime"><VALUE>20260102030405.000000+060</VALUE></PROPERTY>)"
    R"(<PROPERTY.ARRAY NAME="List" TYPE="string"><VALUE.ARRAY><VALUE>x</VALUE><VALUE.NULL/>)"
    R"(<VALUE></VALUE></VALUE.ARRAY></PROPERTY.ARRAY>)"
    R"(<PROPERTY.ARRAY NAME="NoList" TYPE="uint32"/>)"
    R"(<PROPERTY.REFERENCE NAME="Slot" REFERENCECLASS="XCIM_Slot"><VALUE.REFERENCE>)"
    R"(<INSTANCENAME CLASSNAME="XCIM_Slot"><KEYBINDING NAME="No">)"
    R"(<KEYVALUE VALUETYPE="numeric">3</KEYVALUE></KEYBINDING></INSTANCENAME>)"
    R"(</VALUE.REFERENCE></PROPERTY.REFERENCE></INSTANCE></VALUE.NAMEDINSTANCE>)";

constexpr const char* kNothingReturned =
    R"(<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="4711" PROTOCOLVERSION="1.0"><SIMPLERSP>)"
    R"(<METHODRESPONSE NAME="Reset"></METHODRESPONSE></SIMPLERSP></MESSAGE></CIM>)";

TEST_F(ClientOperations, RequestsCarryTheHeadersOfCimOperations)
{
    mServer.addXml(CannedServer::returning("EnumerateInstances", ""));
    const auto none =
        own(ft()->enumInstances(mClient.get(), mPath.get(), 0, nullptr, mStatus.out()));
    ASSERT_NE(none, nullptr) << mStatus.message();
    const std::string head = request().substr(0, request().find("\r\n\r\n") + 2);
    EXPECT_THAT(head, HasSubstr("POST /cimom HTTP/1.1\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nContent-type: application/xml; charset=\"utf-8\"\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nCIMProtocolVersion: 1.0\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nCIMOperation: MethodCall\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nCIMMethod: EnumerateInstances\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nCIMObject: root%2Fxcim\r\n"));
    EXPECT_THAT(head, HasSubstr("\r\nAuthorization: Basic cm9vdDo=\r\n")); // root, no password
    EXPECT_THAT(head, Not(HasSubstr("Accept:")));
    EXPECT_THAT(head, Not(HasSubstr("Expect:")));
    EXPECT_THAT(request(), HasSubstr("<MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\">"));
}

TEST_F(ClientOperations, EnumeratedInstancesHaveTheirValuesAndTheirPath)
{
    mServer.addXml(CannedServer::returning("EnumerateInstances", std::string(kFan) + kFan));
    const auto fans = own(ft()->enumInstances(mClient.get(), mPath.get(), CMPI_FLAG_DeepInheritance,
                                              nullptr, mStatus.out()));
    ASSERT_NE(fans, nullptr) << mStatus.message();
    EXPECT_EQ(parameters(),
              "ClassName DeepInheritance LocalOnly IncludeQualifiers IncludeClassOrigin ");
    EXPECT_EQ(CMGetArrayCount(CMToArray(fans.get(), nullptr), nullptr), 2U);
    EXPECT_EQ(CMGetArrayType(CMToArray(fans.get(), nullptr), nullptr), CMPI_instance);
    (void)CMGetNext(fans.get(), nullptr);
    CMPIInstance* fan = CMGetNext(fans.get(), nullptr).value.inst;
    const auto value = [fan](const char* name) {
        return CMGetProperty(fan, name, nullptr);
    };
    EXPECT_EQ(textOf(value("Name")), "a <b> & c");
    EXPECT_TRUE(CMIsKeyValue(value("ID")));
    EXPECT_EQ(value("Speed").value.sint32, -1000);
    EXPECT_EQ(value("Total").value.uint64, ~0ULL);
    EXPECT_EQ(value("Mask").value.uint8, 0x1f);
    EXPECT_EQ(value("On").value.boolean, 1);
    EXPECT_EQ(value("Load").value.real32, 0.5F);
    EXPECT_EQ(value("Unit").value.char16, 0xe9);
    EXPECT_EQ(value("Nothing").type, CMPI_uint16);
    EXPECT_TRUE(CMIsNullValue(value("Nothing")));
    EXPECT_EQ(taken(CMGetStringFormat(value("Since").value.dateTime, nullptr)),
              "20260102030405.000000+060");
    EXPECT_EQ(value("NoList").type, CMPI_uint32A);
    EXPECT_TRUE(CMIsNullValue(value("NoList")));
    EXPECT_EQ(taken(CMObjectPathToString(value("Slot").value.ref, nullptr)),
              "root/xcim:XCIM_Slot.No=3");
    EXPECT_EQ(CMGetPropertyCount(fan, nullptr), 13U);
    const auto path = own(CMGetObjectPath(fan, nullptr));
    EXPECT_EQ(taken(CMObjectPathToString(path.get(), nullptr)), "root/xcim:XCIM_Fan.id=\"fan 1\"");
}

TEST_F(ClientOperations, ArraysKeepTheirNullElements)
{
    mServer.addXml(CannedServer::returning("EnumerateInstances", kFan));
    const auto fans =
        own(ft()->enumInstances(mClient.get(), mPath.get(), 0, nullptr, mStatus.out()));
    ASSERT_NE(fans, nullptr) << mStatus.message();
    CMPIInstance* fan = CMGetNext(fans.get(), nullptr).value.inst;
    const CMPIData list = CMGetProperty(fan, "List", nullptr);
    EXPECT_EQ(list.type, CMPI_stringA);
    EXPECT_EQ(CMGetArrayCount(list.value.array, nullptr), 3U);
    EXPECT_EQ(textOf(CMGetArrayElementAt(list.value.array, 0, nullptr)), "x");
    EXPECT_TRUE(CMIsNullValue(CMGetArrayElementAt(list.value.array, 1, nullptr)));
    EXPECT_EQ(textOf(CMGetArrayElementAt(list.value.array, 2, nullptr)), "");
}

TEST_F(ClientOperations, ElementsOutliveTheirClientAndClonesTheirEnumeration)
{
    mServer.addXml(CannedServer::returning("EnumerateInstances", kFan));
    auto fans = own(ft()->enumInstances(mClient.get(), mPath.get(), 0, nullptr, mStatus.out()));
    ASSERT_NE(fans, nullptr) << mStatus.message();
    mClient.reset();
    CMPIInstance* fan = CMGetNext(fans.get(), nullptr).value.inst;
    const auto clone = own(CMClone(fan, nullptr));
    fans.reset();
    EXPECT_EQ(textOf(CMGetProperty(clone.get(), "Name", nullptr)), "a <b> & c");
}

TEST_F(ClientOperations, AnInstanceIsAskedForByItsPathAndHasItsKeys)
{
    mServer.addXml(CannedServer::returning(
        "GetInstance", R"(<INSTANCE CLASSNAME="XCIM_Fan"><PROPERTY NAME="Speed" TYPE="uint32">)"
                       R"(<VALUE>5</VALUE></PROPERTY></INSTANCE>)"));
    char name[] = "Speed";
    char* list[] = {name, nullptr};
    const auto fan = own(ft()->getInstance(mClient.get(), mPath.get(), 0, list, mStatus.out()));
    ASSERT_NE(fan, nullptr) << mStatus.message();
    EXPECT_EQ(parameters(),
              "InstanceName LocalOnly IncludeQualifiers IncludeClassOrigin PropertyList ");
    EXPECT_THAT(request(), HasSubstr("<VALUE.ARRAY><VALUE>Speed</VALUE></VALUE.ARRAY>"));
    EXPECT_THAT(request(), HasSubstr(">fan 1</KEYVALUE>"));
    EXPECT_EQ(CMGetProperty(fan.get(), "Speed", nullptr).value.uint32, 5U);
    const auto path = own(CMGetObjectPath(fan.get(), nullptr));
    EXPECT_EQ(taken(CMObjectPathToString(path.get(), nullptr)), "root/xcim:XCIM_Fan.Id=\"fan 1\"");
}

TEST_F(ClientOperations, AnAnswerWithoutTheInstanceIsAFailure)
{
    mServer.addXml(CannedServer::returning("GetInstance", ""));
    EXPECT_EQ(ft()->getInstance(mClient.get(), mPath.get(), 0, nullptr, mStatus.out()), nullptr);
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_FAILED);
}

TEST_F(ClientOperations, QueriesAreEscaped)
{
    mServer.addXml(CannedServer::returning("ExecQuery", ""));
    const auto none = own(ft()->execQuery(mClient.get(), mPath.get(),
                                          "SELECT * FROM XCIM_Fan WHERE Speed < 5 AND Id = \"a&b\"",
                                          "CQL", mStatus.out()));
    ASSERT_NE(none, nullptr) << mStatus.message();
    EXPECT_EQ(parameters(), "QueryLanguage Query ");
    EXPECT_THAT(request(), HasSubstr("Speed &lt; 5"));
    EXPECT_THAT(request(), HasSubstr("a&amp;b"));
    EXPECT_EQ(CMHasNext(none.get(), nullptr), 0);
    EXPECT_EQ(CMGetArrayType(CMToArray(none.get(), nullptr), nullptr), CMPI_null);
}

TEST_F(ClientOperations, InstanceNamesAreInTheNameSpaceThatWasAsked)
{
    mServer.addXml(CannedServer::returning(
        "EnumerateInstanceNames",
        R"(<INSTANCENAME CLASSNAME="XCIM_Fan"><KEYBINDING NAME="Id">)"
        R"(<KEYVALUE VALUETYPE="string">fan 1</KEYVALUE></KEYBINDING></INSTANCENAME>)"));
    const auto names = own(ft()->enumInstanceNames(mClient.get(), mPath.get(), mStatus.out()));
    ASSERT_NE(names, nullptr) << mStatus.message();
    const CMPIData name = CMGetNext(names.get(), nullptr);
    EXPECT_EQ(name.type, CMPI_ref);
    EXPECT_EQ(taken(CMObjectPathToString(name.value.ref, nullptr)),
              "root/xcim:XCIM_Fan.Id=\"fan 1\"");
}

TEST_F(ClientOperations, AnInstanceIsCreatedAndItsPathOwned)
{
    mServer.addXml(CannedServer::returning(
        "CreateInstance",
        R"(<INSTANCENAME CLASSNAME="XCIM_Fan"><KEYBINDING NAME="Id">)"
        R"(<KEYVALUE VALUETYPE="string">new</KEYVALUE></KEYBINDING></INSTANCENAME>)"));
    const auto fan = own(native_new_CMPIInstance(mPath.get(), nullptr));
    const CMPIUint8 speed = 7;
    (void)CMSetProperty(fan.get(), "Speed", &speed, CMPI_uint8);
    const auto path =
        own(ft()->createInstance(mClient.get(), mPath.get(), fan.get(), mStatus.out()));
    ASSERT_NE(path, nullptr) << mStatus.message();
    EXPECT_EQ(parameters(), "NewInstance ");
    EXPECT_THAT(request(), HasSubstr("<VALUE>7</VALUE>"));
    EXPECT_EQ(taken(CMObjectPathToString(path.get(), nullptr)), "root/xcim:XCIM_Fan.Id=\"new\"");
}

TEST_F(ClientOperations, ChangesReturnNothingButTheirStatus)
{
    for (const char* name : {"ModifyInstance", "DeleteInstance", "SetProperty"}) {
        mServer.addXml(CannedServer::message(name, ""));
    }
    const auto fan = own(native_new_CMPIInstance(mPath.get(), nullptr));
    const Status modified(ft()->setInstance(mClient.get(), mPath.get(), fan.get(), 0, nullptr));
    EXPECT_EQ(modified.code(), CMPI_RC_OK) << modified.message();
    EXPECT_EQ(parameters(), "ModifiedInstance IncludeQualifiers ");
    const Status deleted(ft()->deleteInstance(mClient.get(), mPath.get()));
    EXPECT_EQ(deleted.code(), CMPI_RC_OK) << deleted.message();
    CMPIValue value;
    value.uint16 = 80;
    const Status set(ft()->setProperty(mClient.get(), mPath.get(), "Speed", &value, CMPI_uint16));
    EXPECT_EQ(set.code(), CMPI_RC_OK) << set.message();
    EXPECT_THAT(mServer.requests().at(2), HasSubstr("<VALUE>80</VALUE>"));
}

TEST_F(ClientOperations, APropertyComesAsTextThatTheCallerOwns)
{
    mServer.addXml(CannedServer::returning("GetProperty", "<VALUE>80</VALUE>"));
    const CMPIData value = ft()->getProperty(mClient.get(), mPath.get(), "Speed", mStatus.out());
    EXPECT_EQ(mStatus.code(), CMPI_RC_OK) << mStatus.message();
    EXPECT_EQ(taken(value.value.string), "80");
    EXPECT_EQ(parameters(), "InstanceName PropertyName ");
}

TEST_F(ClientOperations, AssociationsAreNarrowedByWhatIsGiven)
{
    mServer.addXml(CannedServer::returning("AssociatorNames", ""));
    const auto none = own(ft()->associatorNames(mClient.get(), mPath.get(), "XCIM_In", nullptr,
                                                "Part", nullptr, mStatus.out()));
    ASSERT_NE(none, nullptr) << mStatus.message();
    EXPECT_EQ(parameters(), "ObjectName AssocClass Role ");
}

TEST_F(ClientOperations, AssociatedInstancesHaveHostAndNameSpace)
{
    mServer.addXml(CannedServer::returning(
        "Associators",
        R"(<VALUE.OBJECTWITHPATH><INSTANCEPATH><NAMESPACEPATH><HOST>far</HOST><LOCALNAMESPACEPATH>)"
        R"(<NAMESPACE NAME="root"/><NAMESPACE NAME="other"/></LOCALNAMESPACEPATH></NAMESPACEPATH>)"
        R"(<INSTANCENAME CLASSNAME="XCIM_Slot"><KEYBINDING NAME="No">)"
        R"(<KEYVALUE VALUETYPE="numeric">3</KEYVALUE></KEYBINDING></INSTANCENAME></INSTANCEPATH>)"
        R"(<INSTANCE CLASSNAME="XCIM_Slot"><PROPERTY NAME="No" TYPE="uint16"><VALUE>3</VALUE>)"
        R"(</PROPERTY></INSTANCE></VALUE.OBJECTWITHPATH>)"));
    const auto slots = own(ft()->associators(mClient.get(), mPath.get(), nullptr, nullptr, nullptr,
                                             nullptr, 0, nullptr, mStatus.out()));
    ASSERT_NE(slots, nullptr) << mStatus.message();
    CMPIInstance* slot = CMGetNext(slots.get(), nullptr).value.inst;
    EXPECT_EQ(CMGetProperty(slot, "No", nullptr).type, CMPI_uint16);
    const auto path = own(CMGetObjectPath(slot, nullptr));
    EXPECT_EQ(taken(CMGetHostname(path.get(), nullptr)), "far");
    EXPECT_EQ(taken(CMObjectPathToString(path.get(), nullptr)), "root/other:XCIM_Slot.No=3");
}

TEST_F(ClientOperations, MethodsTakeInputsAndGiveOutputs)
{
    mServer.addXml(
        R"(<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="4711" PROTOCOLVERSION="1.0">)"
        R"(<SIMPLERSP><METHODRESPONSE NAME="Reset"><RETURNVALUE PARAMTYPE="uint32">)"
        R"(<VALUE>4096</VALUE></RETURNVALUE><PARAMVALUE NAME="Text" PARAMTYPE="string">)"
        R"(<VALUE>a&lt;b</VALUE></PARAMVALUE></METHODRESPONSE></SIMPLERSP></MESSAGE></CIM>)");
    const auto in = own(native_new_CMPIArgs(nullptr));
    const auto out = own(native_new_CMPIArgs(nullptr));
    const CMPIUint16 delay = 5;
    (void)CMAddArg(in.get(), "Delay", &delay, CMPI_uint16);
    const CMPIData result =
        ft()->invokeMethod(mClient.get(), mPath.get(), "Reset", in.get(), out.get(), mStatus.out());
    EXPECT_EQ(mStatus.code(), CMPI_RC_OK) << mStatus.message();
    EXPECT_EQ(result.type, CMPI_uint32);
    EXPECT_EQ(result.value.uint32, 4096U);
    EXPECT_EQ(textOf(CMGetArg(out.get(), "Text", nullptr)), "a<b");
    EXPECT_THAT(request(), HasSubstr("CIMMethod: Reset\r\n"));
    EXPECT_THAT(request(), HasSubstr("CIMObject: root%2Fxcim%3AXCIM_Fan.Id%3D%22fan%201%22\r\n"));
    EXPECT_THAT(request(), HasSubstr("PARAMTYPE=\"uint16\""));
}

TEST_F(ClientOperations, OutputsKeepTheirOrderAndWhatIsThereStays)
{
    mServer.addXml(
        R"(<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="4711" PROTOCOLVERSION="1.0"><SIMPLERSP>)"
        R"(<METHODRESPONSE NAME="Reset"><PARAMVALUE NAME="Z" PARAMTYPE="string"><VALUE>1</VALUE></PARAMVALUE>)"
        R"(<PARAMVALUE NAME="Mine" PARAMTYPE="string"><VALUE>theirs</VALUE></PARAMVALUE>)"
        R"(<PARAMVALUE NAME="A" PARAMTYPE="string"><VALUE>2</VALUE></PARAMVALUE>)"
        R"(<PARAMVALUE NAME="z" PARAMTYPE="string"><VALUE>again</VALUE></PARAMVALUE>)"
        R"(</METHODRESPONSE></SIMPLERSP></MESSAGE></CIM>)");
    const auto out = own(native_new_CMPIArgs(nullptr));
    (void)CMAddArg(out.get(), "MINE", const_cast<char*>("mine"), CMPI_chars);
    (void)ft()->invokeMethod(mClient.get(), mPath.get(), "Reset", nullptr, out.get(),
                             mStatus.out());
    EXPECT_EQ(mStatus.code(), CMPI_RC_OK) << mStatus.message();
    std::string outputs;
    for (unsigned int i = 0; i < CMGetArgCount(out.get(), nullptr); ++i) {
        CMPIString* name = nullptr;
        const CMPIData output = CMGetArgAt(out.get(), i, &name, nullptr);
        outputs += taken(name) + "=" + textOf(output) + " ";
    }
    EXPECT_EQ(outputs, "MINE=mine Z=1 A=2 ");
}

TEST_F(ClientOperations, TextsGoWithoutATypeAndAllElseWithIts)
{
    mServer.addXml(kNothingReturned);
    const auto in = own(native_new_CMPIArgs(nullptr));
    (void)CMAddArg(in.get(), "Chars", const_cast<char*>("1"), CMPI_chars);
    CMPIValue value = {};
    const auto text = own(native_new_CMPIString("a<b", nullptr));
    value.string = text.get();
    (void)CMAddArg(in.get(), "String", &value, CMPI_string);
    (void)CMAddArg(in.get(), "Null", nullptr, CMPI_string);
    const auto texts = own(native_new_CMPIArray(2, CMPI_string, nullptr));
    (void)CMSetArrayElementAt(texts.get(), 0, &value, CMPI_string);
    value.array = texts.get();
    (void)CMAddArg(in.get(), "Strings", &value, CMPI_stringA);
    const CMPIUint16 number = 5;
    (void)CMAddArg(in.get(), "Number", &number, CMPI_uint16);
    const CMPIBoolean truth = 1;
    (void)CMAddArg(in.get(), "Flag", &truth, CMPI_boolean);
    value.ref = mPath.get();
    (void)CMAddArg(in.get(), "Fan", &value, CMPI_ref);
    (void)ft()->invokeMethod(mClient.get(), mPath.get(), "Reset", in.get(), nullptr, mStatus.out());
    EXPECT_EQ(mStatus.code(), CMPI_RC_OK) << mStatus.message();
    const std::string sent = request();
    const std::size_t begin = sent.find("<PARAMVALUE");
    EXPECT_EQ(
        sent.substr(begin, sent.find("</METHODCALL>") - begin),
        R"(<PARAMVALUE NAME="Chars"><VALUE>1</VALUE></PARAMVALUE>)"
        R"(<PARAMVALUE NAME="String"><VALUE>a&lt;b</VALUE></PARAMVALUE>)"
        R"(<PARAMVALUE NAME="Null"></PARAMVALUE>)"
        R"(<PARAMVALUE NAME="Strings"><VALUE.ARRAY><VALUE>a&lt;b</VALUE><VALUE.NULL/></VALUE.ARRAY>)"
        R"(</PARAMVALUE>)"
        R"(<PARAMVALUE NAME="Number" PARAMTYPE="uint16"><VALUE>5</VALUE></PARAMVALUE>)"
        R"(<PARAMVALUE NAME="Flag" PARAMTYPE="boolean"><VALUE>TRUE</VALUE></PARAMVALUE>)"
        R"(<PARAMVALUE NAME="Fan" PARAMTYPE="reference"><VALUE.REFERENCE><LOCALINSTANCEPATH>)"
        R"(<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="xcim"/></LOCALNAMESPACEPATH>)"
        R"(<INSTANCENAME CLASSNAME="XCIM_Fan"><KEYBINDING NAME="Id"><KEYVALUE VALUETYPE="string">fan 1)"
        R"(</KEYVALUE></KEYBINDING></INSTANCENAME></LOCALINSTANCEPATH></VALUE.REFERENCE></PARAMVALUE>)");
}

constexpr const char* kNumberedFan =
    R"(<CLASS NAME="XCIM_Fan"><PROPERTY NAME="No" TYPE="uint32"/>)"
    R"(<PROPERTY NAME="On" TYPE="boolean"/><PROPERTY NAME="Name" TYPE="string"/></CLASS>)";
constexpr const char* kFoundFan =
    R"(<INSTANCE CLASSNAME="XCIM_Fan"><PROPERTY NAME="No" TYPE="uint32">)"
    R"(<VALUE>2</VALUE></PROPERTY></INSTANCE>)";

Owner<CMPIObjectPath> numberedFan()
{
    auto path = own(newCMPIObjectPath("root/xcim", "XCIM_Fan", nullptr));
    (void)CMAddKey(path.get(), "No", const_cast<char*>("2"), CMPI_chars);
    (void)CMAddKey(path.get(), "On", const_cast<char*>("true"), CMPI_chars);
    (void)CMAddKey(path.get(), "Name", const_cast<char*>("3"), CMPI_chars);
    return path;
}

constexpr const char* kTypedKeys =
    R"(<INSTANCENAME CLASSNAME="XCIM_Fan">)"
    R"(<KEYBINDING NAME="No"><KEYVALUE VALUETYPE="numeric">2</KEYVALUE></KEYBINDING>)"
    R"(<KEYBINDING NAME="On"><KEYVALUE VALUETYPE="boolean">TRUE</KEYVALUE></KEYBINDING>)"
    R"(<KEYBINDING NAME="Name"><KEYVALUE VALUETYPE="string">3</KEYVALUE></KEYBINDING></INSTANCENAME>)";
constexpr const char* kTextKeys =
    R"(<INSTANCENAME CLASSNAME="XCIM_Fan">)"
    R"(<KEYBINDING NAME="No"><KEYVALUE VALUETYPE="string">2</KEYVALUE></KEYBINDING>)"
    R"(<KEYBINDING NAME="On"><KEYVALUE VALUETYPE="string">true</KEYVALUE></KEYBINDING>)"
    R"(<KEYBINDING NAME="Name"><KEYVALUE VALUETYPE="string">3</KEYVALUE></KEYBINDING></INSTANCENAME>)";

TEST_F(ClientOperations, KeysGoWithTheTypesOfTheirClassWhichIsAskedForOnce)
{
    mServer.addXml(CannedServer::returning("GetClass", kNumberedFan));
    mServer.addXml(CannedServer::returning("GetInstance", kFoundFan));
    mServer.addXml(CannedServer::returning("GetInstance", kFoundFan));
    const auto path = numberedFan();
    for (int i = 0; i < 2; ++i) {
        const auto fan =
            own(ft()->getInstance(mClient.get(), path.get(), 0, nullptr, mStatus.out()));
        ASSERT_NE(fan, nullptr) << mStatus.message();
        EXPECT_EQ(CMGetProperty(fan.get(), "No", nullptr).type, CMPI_uint32);
    }
    ASSERT_EQ(mServer.requests().size(), 3U);
    EXPECT_THAT(request(),
                HasSubstr(R"(<IMETHODCALL NAME="GetClass"><LOCALNAMESPACEPATH><NAMESPACE )"
                          R"(NAME="root"/><NAMESPACE NAME="xcim"/></LOCALNAMESPACEPATH>)"
                          R"(<IPARAMVALUE NAME="ClassName"><CLASSNAME NAME="XCIM_Fan"/>)"
                          R"(</IPARAMVALUE><IPARAMVALUE NAME="LocalOnly"><VALUE>FALSE)"));
    EXPECT_THAT(mServer.requests().at(1), HasSubstr(kTypedKeys));
    EXPECT_THAT(mServer.requests().at(2), HasSubstr(kTypedKeys));
}

TEST_F(ClientOperations, MethodsAndTheirReferencesGoWithTypedKeysToo)
{
    mServer.addXml(CannedServer::returning("GetClass", kNumberedFan));
    mServer.addXml(kNothingReturned);
    const auto path = numberedFan();
    const auto in = own(native_new_CMPIArgs(nullptr));
    CMPIValue value = {};
    value.ref = path.get();
    (void)CMAddArg(in.get(), "Fan", &value, CMPI_ref);
    (void)ft()->invokeMethod(mClient.get(), mPath.get(), "Reset", in.get(), nullptr, mStatus.out());
    EXPECT_EQ(mStatus.code(), CMPI_RC_OK) << mStatus.message();
    ASSERT_EQ(mServer.requests().size(), 2U);
    EXPECT_THAT(mServer.requests().at(1), HasSubstr(kTypedKeys));
}

TEST_F(ClientOperations, WithoutTheClassKeysAreTexts)
{
    mServer.addXml(CannedServer::message("GetClass", "<ERROR CODE=\"6\"/>"));
    for (int i = 0; i < 2; ++i) {
        mServer.addXml(CannedServer::returning("GetInstance", kFoundFan));
        const auto fan =
            own(ft()->getInstance(mClient.get(), numberedFan().get(), 0, nullptr, mStatus.out()));
        ASSERT_NE(fan, nullptr) << mStatus.message();
        EXPECT_THAT(mServer.requests().back(), HasSubstr(kTextKeys));
    }
    EXPECT_EQ(mServer.requests().size(), 3U);
}

TEST_F(ClientOperations, WhereTheClassGetsNoAnswerNothingElseIsSent)
{
    mServer.add({"", CannedServer::Reply::Then::Close});
    (void)ft()->invokeMethod(mClient.get(), numberedFan().get(), "Reset", nullptr, nullptr,
                             mStatus.out());
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_FAILED);
    EXPECT_NE(mStatus.message(), "(none)");
    EXPECT_EQ(mServer.requests().size(), 1U);
}

TEST_F(ClientOperations, ClassesHavePropertiesAndMethods)
{
    mServer.addXml(CannedServer::returning(
        "GetClass",
        R"(<CLASS NAME="XCIM_Fan"><PROPERTY NAME="Id" TYPE="string"/>)"
        R"(<PROPERTY NAME="Speed" TYPE="uint8"><VALUE>1</VALUE></PROPERTY>)"
        R"(<METHOD NAME="Reset" TYPE="uint32"><PARAMETER NAME="Delay" TYPE="uint16"/></METHOD></CLASS>)"));
    const auto cls = own(ft()->getClass(mClient.get(), mPath.get(), 0, nullptr, mStatus.out()));
    ASSERT_NE(cls, nullptr) << mStatus.message();
    const auto clone = own(CMClone(cls.get(), nullptr));
    EXPECT_EQ(taken(clone->ft->getClassName(clone.get(), nullptr)), "XCIM_Fan");
    EXPECT_EQ(clone->ft->getPropertyCount(clone.get(), nullptr), 2U);
    EXPECT_EQ(clone->ft->getProperty(clone.get(), "speed", nullptr).value.uint8, 1);
    EXPECT_EQ(clone->ft->getMethodCount(clone.get(), nullptr), 1U);
    EXPECT_EQ(clone->ft->getMethod(clone.get(), "reset", nullptr).type, CMPI_uint32);
    CMPIString* name = nullptr;
    EXPECT_EQ(clone->ft->getMethodParameterAt(clone.get(), "Reset", 0, &name, mStatus.out()).type,
              CMPI_uint16);
    EXPECT_EQ(taken(name), "Delay");
    (void)clone->ft->getMethod(clone.get(), "None", mStatus.out());
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_METHOD_NOT_FOUND);
}

TEST_F(ClientOperations, ClassNamesAreReferences)
{
    mServer.addXml(
        CannedServer::returning("EnumerateClassNames", "<CLASSNAME NAME=\"XCIM_Fan\"/>"));
    const auto names = own(ft()->enumClassNames(mClient.get(), mPath.get(), 0, mStatus.out()));
    ASSERT_NE(names, nullptr) << mStatus.message();
    CMPIObjectPath* name = CMGetNext(names.get(), nullptr).value.ref;
    EXPECT_EQ(taken(CMGetClassName(name, nullptr)), "XCIM_Fan");
}

TEST_F(ClientOperations, AClientCannotBeCloned)
{
    EXPECT_EQ(CMClone(mClient.get(), mStatus.out()), nullptr);
    EXPECT_EQ(mStatus.code(), CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_EQ(mStatus.message(), "Clone function not supported");
}

} // namespace
