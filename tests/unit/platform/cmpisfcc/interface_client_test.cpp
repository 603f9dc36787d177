// The functions of a client, in the order of their table.
#include "InterfaceTest.h"

namespace {

using testing::HasSubstr;

constexpr const char* kFanObject =
    R"(<INSTANCE CLASSNAME="XCIM_Fan"><PROPERTY NAME="Speed" TYPE="uint8">)"
    R"(<VALUE>5</VALUE></PROPERTY></INSTANCE>)";
constexpr const char* kFanName =
    R"(<INSTANCENAME CLASSNAME="XCIM_Fan"><KEYBINDING NAME="Id">)"
    R"(<KEYVALUE VALUETYPE="string">f</KEYVALUE></KEYBINDING></INSTANCENAME>)";
constexpr const char* kFanClass =
    R"(<CLASS NAME="XCIM_Fan"><PROPERTY NAME="Speed" TYPE="uint8"/></CLASS>)";
constexpr const char* kFanFullPath =
    R"(<INSTANCEPATH><NAMESPACEPATH><HOST>h</HOST><LOCALNAMESPACEPATH><NAMESPACE NAME="root"/>)"
    R"(</LOCALNAMESPACEPATH></NAMESPACEPATH><INSTANCENAME CLASSNAME="XCIM_Fan"><KEYBINDING NAME="Id">)"
    R"(<KEYVALUE VALUETYPE="string">f</KEYVALUE></KEYBINDING></INSTANCENAME></INSTANCEPATH>)";

std::string named()
{
    return std::string("<VALUE.NAMEDINSTANCE>") + kFanName + kFanObject + "</VALUE.NAMEDINSTANCE>";
}

std::string withPath()
{
    return std::string("<VALUE.OBJECTWITHPATH>") + kFanFullPath + kFanObject +
           "</VALUE.OBJECTWITHPATH>";
}

std::string objectPath()
{
    return std::string("<OBJECTPATH>") + kFanFullPath + "</OBJECTPATH>";
}

// An enumeration of one element of this type, which no more follow.
void expectOne(Program& p, CMPIEnumeration* enumeration, CMPIType type, const char* operation)
{
    ASSERT_NE(enumeration, nullptr) << p.status.message();
    const auto owned = own(enumeration);
    EXPECT_EQ(p.status.code(), CMPI_RC_OK);
    EXPECT_TRUE(p.asked(operation));
    EXPECT_EQ(CMGetNext(enumeration, nullptr).type, type);
    EXPECT_EQ(CMHasNext(enumeration, nullptr), 0);
}

void expectDone(Program& p, const CMPIStatus& returned, const char* operation)
{
    const Status status(returned);
    EXPECT_EQ(status.code(), CMPI_RC_OK) << status.message();
    EXPECT_TRUE(p.asked(operation));
}

const FunctionCase kClientFunctions[] = {
    {"release",
     [](Program& p) {
         CMCIClient* other = cmciConnect("h", "http", nullptr, nullptr, nullptr, nullptr);
         EXPECT_EQ(other->ft->release(other).rc, CMPI_RC_OK);
         EXPECT_NE(p.client, nullptr);
     }},
    {"clone",
     [](Program& p) {
         EXPECT_EQ(p.clientTable().clone(p.client.get(), p.status.out()), nullptr);
         EXPECT_EQ(p.status.code(), CMPI_RC_ERR_NOT_SUPPORTED);
     }},
    {"getClass",
     [](Program& p) {
         p.returns("GetClass", kFanClass);
         const auto cls = own(
             p.clientTable().getClass(p.client.get(), p.path.get(), 0, nullptr, p.status.out()));
         ASSERT_NE(cls, nullptr) << p.status.message();
         EXPECT_EQ(taken(cls->ft->getClassName(cls.get(), nullptr)), "XCIM_Fan");
     }},
    {"enumClassNames",
     [](Program& p) {
         p.returns("EnumerateClassNames", R"(<CLASSNAME NAME="XCIM_Fan"/>)");
         expectOne(p,
                   p.clientTable().enumClassNames(p.client.get(), p.path.get(), 0, p.status.out()),
                   CMPI_ref, "EnumerateClassNames");
     }},
    {"enumClasses",
     [](Program& p) {
         p.returns("EnumerateClasses", kFanClass);
         expectOne(p, p.clientTable().enumClasses(p.client.get(), p.path.get(), 0, p.status.out()),
                   CMPI_class, "EnumerateClasses");
     }},
    {"getInstance",
     [](Program& p) {
         p.returns("GetInstance", kFanObject);
         const auto fan = own(
             p.clientTable().getInstance(p.client.get(), p.path.get(), 0, nullptr, p.status.out()));
         ASSERT_NE(fan, nullptr) << p.status.message();
         EXPECT_EQ(CMGetProperty(fan.get(), "Speed", nullptr).value.uint8, 5);
     }},
    {"createInstance",
     [](Program& p) {
         p.returns("CreateInstance", kFanName);
         const auto path = own(p.clientTable().createInstance(p.client.get(), p.path.get(),
                                                              p.instance.get(), p.status.out()));
         ASSERT_NE(path, nullptr) << p.status.message();
         EXPECT_EQ(textOf(CMGetKey(path.get(), "Id", nullptr)), "f");
     }},
    {"setInstance",
     [](Program& p) {
         p.done("ModifyInstance");
         expectDone(p,
                    p.clientTable().setInstance(p.client.get(), p.path.get(), p.instance.get(), 0,
                                                nullptr),
                    "ModifyInstance");
     }},
    {"deleteInstance",
     [](Program& p) {
         p.done("DeleteInstance");
         expectDone(p, p.clientTable().deleteInstance(p.client.get(), p.path.get()),
                    "DeleteInstance");
     }},
    {"execQuery",
     [](Program& p) {
         p.returns("ExecQuery", withPath());
         expectOne(p,
                   p.clientTable().execQuery(p.client.get(), p.path.get(), "SELECT", "CQL",
                                             p.status.out()),
                   CMPI_instance, "ExecQuery");
     }},
    {"enumInstanceNames",
     [](Program& p) {
         p.returns("EnumerateInstanceNames", kFanName);
         expectOne(p,
                   p.clientTable().enumInstanceNames(p.client.get(), p.path.get(), p.status.out()),
                   CMPI_ref, "EnumerateInstanceNames");
     }},
    {"enumInstances",
     [](Program& p) {
         p.returns("EnumerateInstances", named());
         expectOne(p,
                   p.clientTable().enumInstances(p.client.get(), p.path.get(), 0, nullptr,
                                                 p.status.out()),
                   CMPI_instance, "EnumerateInstances");
     }},
    {"associators",
     [](Program& p) {
         p.returns("Associators", withPath());
         expectOne(p,
                   p.clientTable().associators(p.client.get(), p.path.get(), nullptr, nullptr,
                                               nullptr, nullptr, 0, nullptr, p.status.out()),
                   CMPI_instance, "Associators");
     }},
    {"associatorNames",
     [](Program& p) {
         p.returns("AssociatorNames", objectPath());
         expectOne(p,
                   p.clientTable().associatorNames(p.client.get(), p.path.get(), nullptr, nullptr,
                                                   nullptr, nullptr, p.status.out()),
                   CMPI_ref, "AssociatorNames");
     }},
    {"references",
     [](Program& p) {
         p.returns("References", withPath());
         expectOne(p,
                   p.clientTable().references(p.client.get(), p.path.get(), nullptr, nullptr, 0,
                                              nullptr, p.status.out()),
                   CMPI_instance, "References");
     }},
    {"referenceNames",
     [](Program& p) {
         p.returns("ReferenceNames", objectPath());
         expectOne(p,
                   p.clientTable().referenceNames(p.client.get(), p.path.get(), nullptr, nullptr,
                                                  p.status.out()),
                   CMPI_ref, "ReferenceNames");
     }},
    {"invokeMethod",
     [](Program& p) {
         p.server.addXml(
             R"(<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" PROTOCOLVERSION="1.0">)"
             R"(<SIMPLERSP><METHODRESPONSE NAME="Stop"><RETURNVALUE PARAMTYPE="uint32"><VALUE>4</VALUE>)"
             R"(</RETURNVALUE></METHODRESPONSE></SIMPLERSP></MESSAGE></CIM>)");
         const CMPIData returned = p.clientTable().invokeMethod(
             p.client.get(), p.path.get(), "Stop", nullptr, nullptr, p.status.out());
         EXPECT_EQ(returned.type, CMPI_uint32);
         EXPECT_EQ(returned.state, CMPI_goodValue);
         EXPECT_EQ(returned.value.uint32, 4U);
     }},
    {"setProperty",
     [](Program& p) {
         p.done("SetProperty");
         CMPIValue value = {};
         value.uint8 = 7;
         expectDone(
             p,
             p.clientTable().setProperty(p.client.get(), p.path.get(), "Speed", &value, CMPI_uint8),
             "SetProperty");
         EXPECT_THAT(p.server.requests().back(), HasSubstr("<VALUE>7</VALUE>"));
     }},
    {"getProperty",
     [](Program& p) {
         p.returns("GetProperty", "<VALUE>5</VALUE>");
         const CMPIData value =
             p.clientTable().getProperty(p.client.get(), p.path.get(), "Speed", p.status.out());
         EXPECT_EQ(taken(value.value.string), "5");
     }},
};

class ClientFunction : public testing::TestWithParam<FunctionCase>
{};

TEST_P(ClientFunction, IsAsSfccHasIt)
{
    Program program;
    GetParam().check(program);
}

INSTANTIATE_TEST_SUITE_P(All, ClientFunction, testing::ValuesIn(kClientFunctions), caseName);

TEST(ClientFunctions, AreAllInTheTable)
{
    EXPECT_EQ(functionsOf(kClientFunctions), declaredFunctions("CMCIClientFT"));
}

// A test for the functions of each is in this group.
TEST(InterfaceTables, AreNoOthers)
{
    EXPECT_THAT(declaredTables(), testing::UnorderedElementsAre(
                                      "CMCIClientFT", "CMPIObjectPathFT", "CMPIInstanceFT",
                                      "CMPIArgsFT", "CMPIArrayFT", "CMPIEnumerationFT",
                                      "CMPIStringFT", "CMPIDateTimeFT", "CMPIConstClassFT"));
}

} // namespace
