// The functions of what a client gives, each table in its order.
#include "InterfaceTest.h"

namespace {

Owner<CMPIEnumeration> twoFans(Program& p)
{
    const std::string name = R"(<CLASSNAME NAME="XCIM_Fan"/>)";
    p.returns("EnumerateClassNames", name + name);
    return own(p.clientTable().enumClassNames(p.client.get(), p.path.get(), 0, nullptr));
}

Owner<CMPIConstClass> fanClass(Program& p)
{
    p.returns(
        "GetClass",
        R"(<CLASS NAME="XCIM_Fan"><QUALIFIER NAME="Version" TYPE="string"><VALUE>1</VALUE></QUALIFIER>)"
        R"(<PROPERTY NAME="Id" TYPE="string"><QUALIFIER NAME="Key" TYPE="boolean"><VALUE>TRUE</VALUE>)"
        R"(</QUALIFIER></PROPERTY><METHOD NAME="Stop" TYPE="uint32"><QUALIFIER NAME="Static" TYPE="boolean">)"
        R"(<VALUE>TRUE</VALUE></QUALIFIER><PARAMETER NAME="Delay" TYPE="uint16"/></METHOD></CLASS>)");
    return own(p.clientTable().getClass(p.client.get(), p.path.get(), CMPI_FLAG_IncludeQualifiers,
                                        nullptr, nullptr));
}

const FunctionCase kEnumerationFunctions[] = {
    {"release",
     [](Program& p) {
         const auto owned = twoFans(p);
         CMPIEnumeration* fans = owned.get();
         CMPIEnumerationFT& ft = *fans->ft;
         const auto other = own(ft.clone(fans, nullptr));
         EXPECT_EQ(ft.hasNext(fans, p.status.out()), 1);
     }},
    {"clone",
     [](Program& p) {
         const auto owned = twoFans(p);
         CMPIEnumeration* fans = owned.get();
         CMPIEnumerationFT& ft = *fans->ft;
         auto copy = own(ft.clone(fans, p.status.out()));
         EXPECT_EQ(CMGetArrayCount(copy->ft->toArray(copy.get(), nullptr), nullptr), 2U);
     }},
    {"getNext",
     [](Program& p) {
         const auto owned = twoFans(p);
         CMPIEnumeration* fans = owned.get();
         CMPIEnumerationFT& ft = *fans->ft;
         EXPECT_EQ(ft.getNext(fans, p.status.out()).type, CMPI_ref);
         (void)ft.getNext(fans, p.status.out());
         EXPECT_EQ(ft.getNext(fans, p.status.out()).state, CMPI_badValue);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"hasNext",
     [](Program& p) {
         const auto owned = twoFans(p);
         CMPIEnumeration* fans = owned.get();
         CMPIEnumerationFT& ft = *fans->ft;
         EXPECT_EQ(ft.hasNext(fans, p.status.out()), 1);
         (void)ft.getNext(fans, nullptr);
         (void)ft.getNext(fans, nullptr);
         EXPECT_EQ(ft.hasNext(fans, p.status.out()), 0);
     }},
    {"toArray",
     [](Program& p) {
         const auto owned = twoFans(p);
         CMPIEnumeration* fans = owned.get();
         CMPIEnumerationFT& ft = *fans->ft;
         CMPIArray* all = ft.toArray(fans, p.status.out());
         EXPECT_EQ(CMGetArrayCount(all, nullptr), 2U);
         EXPECT_EQ(ft.toArray(fans, nullptr), all);
         EXPECT_EQ(ft.hasNext(fans, nullptr), 1);
     }},
};

class EnumerationFunction : public testing::TestWithParam<FunctionCase>
{};

TEST_P(EnumerationFunction, IsAsSfccHasIt)
{
    Program program;
    GetParam().check(program);
}

INSTANTIATE_TEST_SUITE_P(All, EnumerationFunction, testing::ValuesIn(kEnumerationFunctions),
                         caseName);

const FunctionCase kStringFunctions[] = {
    {"release",
     [](Program& p) {
         const auto owned = own(native_new_CMPIString("text", nullptr));
         CMPIString* text = owned.get();
         CMPIStringFT& ft = *text->ft;
         CMPIString* other = native_new_CMPIString("x", nullptr);
         EXPECT_EQ(other->ft->release(other).rc, CMPI_RC_OK);
         EXPECT_STREQ(ft.getCharPtr(text, p.status.out()), "text");
     }},
    {"clone",
     [](Program& p) {
         const auto owned = own(native_new_CMPIString("text", nullptr));
         CMPIString* text = owned.get();
         CMPIStringFT& ft = *text->ft;
         EXPECT_EQ(taken(ft.clone(text, p.status.out())), "text");
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"getCharPtr",
     [](Program& p) {
         const auto owned = own(native_new_CMPIString("text", nullptr));
         CMPIString* text = owned.get();
         CMPIStringFT& ft = *text->ft;
         EXPECT_STREQ(ft.getCharPtr(text, p.status.out()), "text");
         EXPECT_EQ(ft.getCharPtr(text, nullptr), text->hdl);
     }},
};

class StringFunction : public testing::TestWithParam<FunctionCase>
{};

TEST_P(StringFunction, IsAsSfccHasIt)
{
    Program program;
    GetParam().check(program);
}

INSTANTIATE_TEST_SUITE_P(All, StringFunction, testing::ValuesIn(kStringFunctions), caseName);

const FunctionCase kDateTimeFunctions[] = {
    {"release",
     [](Program& p) {
         const auto owned =
             own(native_new_CMPIDateTime_fromChars("19700101010000.000001+060", nullptr));
         CMPIDateTime* time = owned.get();
         CMPIDateTimeFT& ft = *time->ft;
         CMPIDateTime* other = native_new_CMPIDateTime(nullptr);
         EXPECT_EQ(other->ft->release(other).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.isInterval(time, p.status.out()), 0);
     }},
    {"clone",
     [](Program& p) {
         const auto owned =
             own(native_new_CMPIDateTime_fromChars("19700101010000.000001+060", nullptr));
         CMPIDateTime* time = owned.get();
         CMPIDateTimeFT& ft = *time->ft;
         const auto copy = own(ft.clone(time, p.status.out()));
         EXPECT_EQ(taken(copy->ft->getStringFormat(copy.get(), nullptr)),
                   "19700101010000.000001+060");
     }},
    {"getBinaryFormat",
     [](Program& p) {
         const auto owned =
             own(native_new_CMPIDateTime_fromChars("19700101010000.000001+060", nullptr));
         CMPIDateTime* time = owned.get();
         CMPIDateTimeFT& ft = *time->ft;
         EXPECT_EQ(ft.getBinaryFormat(time, p.status.out()), 1U);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"getStringFormat",
     [](Program& p) {
         const auto owned =
             own(native_new_CMPIDateTime_fromChars("19700101010000.000001+060", nullptr));
         CMPIDateTime* time = owned.get();
         CMPIDateTimeFT& ft = *time->ft;
         EXPECT_EQ(taken(ft.getStringFormat(time, p.status.out())), "19700101010000.000001+060");
     }},
    {"isInterval",
     [](Program& p) {
         const auto owned =
             own(native_new_CMPIDateTime_fromChars("19700101010000.000001+060", nullptr));
         CMPIDateTime* time = owned.get();
         CMPIDateTimeFT& ft = *time->ft;
         const auto interval = own(native_new_CMPIDateTime_fromBinary(5, 1, nullptr));
         EXPECT_EQ(ft.isInterval(time, p.status.out()), 0);
         EXPECT_EQ(ft.isInterval(interval.get(), p.status.out()), 1);
     }},
};

class DateTimeFunction : public testing::TestWithParam<FunctionCase>
{};

TEST_P(DateTimeFunction, IsAsSfccHasIt)
{
    Program program;
    GetParam().check(program);
}

INSTANTIATE_TEST_SUITE_P(All, DateTimeFunction, testing::ValuesIn(kDateTimeFunctions), caseName);

const FunctionCase kClassFunctions[] = {
    {"release",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         CMPIConstClass* other = ft.clone(cls, p.status.out());
         EXPECT_EQ(other->ft->release(other).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.getPropertyCount(cls, nullptr), 1U);
     }},
    {"clone",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         const auto copy = own(ft.clone(cls, p.status.out()));
         EXPECT_EQ(copy->ft->getMethodCount(copy.get(), nullptr), 1U);
     }},
    {"getClassName",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(taken(ft.getClassName(cls, p.status.out())), "XCIM_Fan");
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"getProperty",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(ft.getProperty(cls, "ID", p.status.out()).type, CMPI_string);
         Missing none;
         none.expect(ft.getProperty(cls, "None", none.status.out()), CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getPropertyAt",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         CMPIString* name = nullptr;
         EXPECT_EQ(ft.getPropertyAt(cls, 0, &name, p.status.out()).type, CMPI_string);
         EXPECT_EQ(taken(name), "Id");
         Missing none;
         none.expect(ft.getPropertyAt(cls, 1, nullptr, none.status.out()),
                     CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getPropertyCount",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(ft.getPropertyCount(cls, p.status.out()), 1U);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"getQualifier",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(textOf(ft.getQualifier(cls, "version", p.status.out())), "1");
         Missing none;
         none.expect(ft.getQualifier(cls, "None", none.status.out()), CMPI_RC_ERR_FAILED);
     }},
    {"getQualifierAt",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         CMPIString* name = nullptr;
         EXPECT_EQ(textOf(ft.getQualifierAt(cls, 0, &name, p.status.out())), "1");
         EXPECT_EQ(taken(name), "Version");
         Missing none;
         none.expect(ft.getQualifierAt(cls, 1, nullptr, none.status.out()),
                     CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getQualifierCount",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(ft.getQualifierCount(cls, p.status.out()), 1U);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"getPropertyQualifier",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(ft.getPropertyQualifier(cls, "id", "key", p.status.out()).value.boolean, 1);
         Missing none;
         none.expect(ft.getPropertyQualifier(cls, "Id", "None", none.status.out()),
                     CMPI_RC_ERR_FAILED);
     }},
    {"getPropertyQualifierAt",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         CMPIString* name = nullptr;
         EXPECT_EQ(ft.getPropertyQualifierAt(cls, "Id", 0, &name, p.status.out()).value.boolean, 1);
         EXPECT_EQ(taken(name), "Key");
     }},
    {"getPropertyQualifierCount",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(ft.getPropertyQualifierCount(cls, "Id", p.status.out()), 1U);
         EXPECT_EQ(ft.getPropertyQualifierCount(cls, "None", p.status.out()), 0U);
         EXPECT_EQ(p.status.code(), CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getMethod",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(ft.getMethod(cls, "stop", p.status.out()).type, CMPI_uint32);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
         Missing none;
         none.expect(ft.getMethod(cls, "None", none.status.out()), CMPI_RC_ERR_METHOD_NOT_FOUND);
     }},
    {"getMethodAt",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         CMPIString* name = nullptr;
         EXPECT_EQ(ft.getMethodAt(cls, 0, &name, p.status.out()).type, CMPI_uint32);
         EXPECT_EQ(taken(name), "Stop");
         Missing none;
         none.expect(ft.getMethodAt(cls, 1, nullptr, none.status.out()),
                     CMPI_RC_ERR_METHOD_NOT_FOUND);
     }},
    {"getMethodCount",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(ft.getMethodCount(cls, p.status.out()), 1U);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"getMethodParameter",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(ft.getMethodParameter(cls, "Stop", "delay", p.status.out()).type, CMPI_uint16);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"getMethodParameterAt",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         CMPIString* name = nullptr;
         EXPECT_EQ(ft.getMethodParameterAt(cls, "Stop", 0, &name, p.status.out()).type,
                   CMPI_uint16);
         EXPECT_EQ(taken(name), "Delay");
     }},
    {"getMethodParameterCount",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(ft.getMethodParameterCount(cls, "Stop", p.status.out()), 1U);
         EXPECT_EQ(ft.getMethodParameterCount(cls, "None", p.status.out()), 0U);
         EXPECT_EQ(p.status.code(), CMPI_RC_ERR_METHOD_NOT_FOUND);
     }},
    {"getMethodQualifier",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(ft.getMethodQualifier(cls, "Stop", "static", p.status.out()).value.boolean, 1);
         Missing none;
         none.expect(ft.getMethodQualifier(cls, "Stop", "None", none.status.out()),
                     CMPI_RC_ERR_FAILED);
     }},
    {"getMethodQualifierAt",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         CMPIString* name = nullptr;
         EXPECT_EQ(ft.getMethodQualifierAt(cls, "Stop", 0, &name, p.status.out()).value.boolean, 1);
         EXPECT_EQ(taken(name), "Static");
     }},
    {"getMethodQualifierCount",
     [](Program& p) {
         const auto owned = fanClass(p);
         CMPIConstClass* cls = owned.get();
         CMPIConstClassFT& ft = *cls->ft;
         EXPECT_EQ(ft.getMethodQualifierCount(cls, "Stop", p.status.out()), 1U);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
};

class ClassFunction : public testing::TestWithParam<FunctionCase>
{};

TEST_P(ClassFunction, IsAsSfccHasIt)
{
    Program program;
    GetParam().check(program);
}

INSTANTIATE_TEST_SUITE_P(All, ClassFunction, testing::ValuesIn(kClassFunctions), caseName);

TEST(AnswerFunctions, AreAllInTheTables)
{
    EXPECT_EQ(functionsOf(kEnumerationFunctions), declaredFunctions("CMPIEnumerationFT"));
    EXPECT_EQ(functionsOf(kStringFunctions), declaredFunctions("CMPIStringFT"));
    EXPECT_EQ(functionsOf(kDateTimeFunctions), declaredFunctions("CMPIDateTimeFT"));
    EXPECT_EQ(functionsOf(kClassFunctions), declaredFunctions("CMPIConstClassFT"));
}

} // namespace
