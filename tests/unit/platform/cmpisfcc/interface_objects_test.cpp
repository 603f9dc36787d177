// The functions of the objects that a client takes and gives, each table in its order.
#include "InterfaceTest.h"

namespace {

const FunctionCase kPathFunctions[] = {
    {"release",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         CMPIObjectPath* other = newCMPIObjectPath("a", "B", nullptr);
         EXPECT_EQ(other->ft->release(other).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.getKeyCount(path, nullptr), 1U);
     }},
    {"clone",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         const auto copy = own(ft.clone(path, p.status.out()));
         EXPECT_EQ(taken(copy->ft->toString(copy.get(), nullptr)), R"(root/xcim:XCIM_Fan.Id="f")");
     }},
    {"setNameSpace",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         EXPECT_EQ(ft.setNameSpace(path, "root/other").rc, CMPI_RC_OK);
         EXPECT_EQ(taken(ft.getNameSpace(path, nullptr)), "root/other");
     }},
    {"getNameSpace",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         EXPECT_EQ(taken(ft.getNameSpace(path, p.status.out())), "root/xcim");
         EXPECT_EQ(ft.setNameSpace(path, nullptr).rc, CMPI_RC_OK);
         EXPECT_EQ(taken(ft.getNameSpace(path, nullptr)), "(no text)");
     }},
    {"setHostname",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         EXPECT_EQ(ft.setHostname(path, "h").rc, CMPI_RC_OK);
         EXPECT_EQ(taken(ft.toString(path, nullptr)), R"(root/xcim:XCIM_Fan.Id="f")");
     }},
    {"getHostname",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         EXPECT_EQ(ft.getHostname(path, p.status.out()), nullptr);
         (void)ft.setHostname(path, "h");
         EXPECT_EQ(taken(ft.getHostname(path, nullptr)), "h");
     }},
    {"setClassName",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         EXPECT_EQ(ft.setClassName(path, "XCIM_Pump").rc, CMPI_RC_OK);
         EXPECT_EQ(taken(ft.getClassName(path, nullptr)), "XCIM_Pump");
     }},
    {"getClassName",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         EXPECT_EQ(taken(ft.getClassName(path, p.status.out())), "XCIM_Fan");
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"addKey",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         CMPIValue value = {};
         value.uint16 = 9;
         EXPECT_EQ(ft.addKey(path, "No", &value, CMPI_uint16).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.addKey(path, "NO", &value, CMPI_uint16).rc, CMPI_RC_ERR_ALREADY_EXISTS);
         EXPECT_EQ(ft.getKey(path, "No", nullptr).value.uint16, 9);
     }},
    {"getKey",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         const CMPIData key = ft.getKey(path, "ID", p.status.out());
         EXPECT_EQ(textOf(key), "f");
         EXPECT_EQ(key.state, CMPI_keyValue);
         Missing none;
         none.expect(ft.getKey(path, "None", none.status.out()), CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getKeyAt",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         CMPIString* name = nullptr;
         EXPECT_EQ(textOf(ft.getKeyAt(path, 0, &name, p.status.out())), "f");
         EXPECT_EQ(taken(name), "Id");
         Missing none;
         none.expect(ft.getKeyAt(path, 1, nullptr, none.status.out()),
                     CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getKeyCount",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         EXPECT_EQ(ft.getKeyCount(path, p.status.out()), 1U);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"setNameSpaceFromObjectPath",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         const auto other = own(newCMPIObjectPath("a", "B", nullptr));
         EXPECT_EQ(ft.setNameSpaceFromObjectPath(path, other.get()).rc, CMPI_RC_OK);
         EXPECT_EQ(taken(ft.getNameSpace(path, nullptr)), "a");
     }},
    {"setHostAndNameSpaceFromObjectPath",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         const auto other = own(newCMPIObjectPath("a", "B", nullptr));
         (void)ft.setHostname(other.get(), "h");
         EXPECT_EQ(ft.setHostAndNameSpaceFromObjectPath(path, other.get()).rc, CMPI_RC_OK);
         EXPECT_EQ(taken(ft.getHostname(path, nullptr)), "h");
         EXPECT_EQ(taken(ft.getNameSpace(path, nullptr)), "a");
     }},
    {"getClassQualifier",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         Missing none;
         none.expect(ft.getClassQualifier(path, "Q", none.status.out()), CMPI_RC_ERR_NOT_SUPPORTED);
     }},
    {"getPropertyQualifier",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         Missing none;
         none.expect(ft.getPropertyQualifier(path, "Id", "Key", none.status.out()),
                     CMPI_RC_ERR_NOT_SUPPORTED);
     }},
    {"getMethodQualifier",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         Missing none;
         none.expect(ft.getMethodQualifier(path, "M", "Q", none.status.out()),
                     CMPI_RC_ERR_NOT_SUPPORTED);
     }},
    {"getParameterQualifier",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         Missing none;
         none.expect(ft.getParameterQualifier(path, "M", "P", "Q", none.status.out()),
                     CMPI_RC_ERR_NOT_SUPPORTED);
     }},
    {"toString",
     [](Program& p) {
         CMPIObjectPath* path = p.path.get();
         CMPIObjectPathFT& ft = p.pathTable();
         EXPECT_EQ(taken(ft.toString(path, p.status.out())), R"(root/xcim:XCIM_Fan.Id="f")");
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
};

class PathFunction : public testing::TestWithParam<FunctionCase>
{};

TEST_P(PathFunction, IsAsSfccHasIt)
{
    Program program;
    GetParam().check(program);
}

INSTANTIATE_TEST_SUITE_P(All, PathFunction, testing::ValuesIn(kPathFunctions), caseName);

const FunctionCase kInstanceFunctions[] = {
    {"release",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         CMPIInstance* other = native_new_CMPIInstance(p.path.get(), nullptr);
         EXPECT_EQ(other->ft->release(other).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.getPropertyCount(fan, nullptr), 1U);
     }},
    {"clone",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         const auto copy = own(ft.clone(fan, p.status.out()));
         EXPECT_EQ(textOf(copy->ft->getProperty(copy.get(), "Id", nullptr)), "f");
     }},
    {"getProperty",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         const CMPIData id = ft.getProperty(fan, "iD", p.status.out());
         EXPECT_EQ(textOf(id), "f");
         EXPECT_EQ(id.state, CMPI_keyValue);
         Missing none;
         none.expect(ft.getProperty(fan, "None", none.status.out()), CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getPropertyAt",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         CMPIString* name = nullptr;
         EXPECT_EQ(textOf(ft.getPropertyAt(fan, 0, &name, p.status.out())), "f");
         EXPECT_EQ(taken(name), "Id");
         Missing none;
         none.expect(ft.getPropertyAt(fan, 1, nullptr, none.status.out()),
                     CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getPropertyCount",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         EXPECT_EQ(ft.getPropertyCount(fan, p.status.out()), 1U);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"setProperty",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         CMPIValue value = {};
         value.uint8 = 5;
         EXPECT_EQ(ft.setProperty(fan, "Speed", &value, CMPI_uint8).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.getProperty(fan, "Speed", nullptr).value.uint8, 5);
         EXPECT_EQ(ft.setProperty(fan, "Speed", nullptr, CMPI_uint8).rc, CMPI_RC_OK);
         EXPECT_TRUE(CMIsNullValue(ft.getProperty(fan, "Speed", nullptr)));
     }},
    {"getObjectPath",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         const auto path = own(ft.getObjectPath(fan, p.status.out()));
         EXPECT_EQ(taken(CMObjectPathToString(path.get(), nullptr)),
                   R"(root/xcim:XCIM_Fan.Id="f")");
     }},
    {"setPropertyFilter",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         char name[] = "Name";
         char* names[] = {name, nullptr};
         EXPECT_EQ(ft.setPropertyFilter(fan, names, nullptr).rc, CMPI_RC_OK);
         CMPIValue value = {};
         EXPECT_EQ(ft.setProperty(fan, "Speed", &value, CMPI_uint8).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.getPropertyCount(fan, nullptr), 1U);
     }},
    {"getQualifier",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         Missing none;
         none.expect(ft.getQualifier(fan, "Q", none.status.out()), CMPI_RC_ERR_FAILED);
     }},
    {"getQualifierAt",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         Missing none;
         none.expect(ft.getQualifierAt(fan, 0, nullptr, none.status.out()),
                     CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getQualifierCount",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         EXPECT_EQ(ft.getQualifierCount(fan, p.status.out()), 0U);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"getPropertyQualifier",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         Missing none;
         none.expect(ft.getPropertyQualifier(fan, "Id", "Q", none.status.out()),
                     CMPI_RC_ERR_FAILED);
         none.expect(ft.getPropertyQualifier(fan, "None", "Q", none.status.out()),
                     CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getPropertyQualifierAt",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         Missing none;
         none.expect(ft.getPropertyQualifierAt(fan, "Id", 0, nullptr, none.status.out()),
                     CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getPropertyQualifierCount",
     [](Program& p) {
         CMPIInstance* fan = p.instance.get();
         CMPIInstanceFT& ft = p.instanceTable();
         EXPECT_EQ(ft.getPropertyQualifierCount(fan, "Id", p.status.out()), 0U);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
};

class InstanceFunction : public testing::TestWithParam<FunctionCase>
{};

TEST_P(InstanceFunction, IsAsSfccHasIt)
{
    Program program;
    GetParam().check(program);
}

INSTANTIATE_TEST_SUITE_P(All, InstanceFunction, testing::ValuesIn(kInstanceFunctions), caseName);

const FunctionCase kArgsFunctions[] = {
    {"release",
     [](Program& p) {
         const auto owned = own(native_new_CMPIArgs(nullptr));
         CMPIArgs* args = owned.get();
         CMPIArgsFT& ft = *args->ft;
         CMPIValue value = {};
         value.uint16 = 9;
         EXPECT_EQ(ft.addArg(args, "Delay", &value, CMPI_uint16).rc, CMPI_RC_OK);
         CMPIArgs* other = native_new_CMPIArgs(nullptr);
         EXPECT_EQ(other->ft->release(other).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.getArgCount(args, p.status.out()), 1U);
     }},
    {"clone",
     [](Program& p) {
         const auto owned = own(native_new_CMPIArgs(nullptr));
         CMPIArgs* args = owned.get();
         CMPIArgsFT& ft = *args->ft;
         CMPIValue value = {};
         value.uint16 = 9;
         EXPECT_EQ(ft.addArg(args, "Delay", &value, CMPI_uint16).rc, CMPI_RC_OK);
         const auto copy = own(ft.clone(args, p.status.out()));
         EXPECT_EQ(copy->ft->getArg(copy.get(), "Delay", nullptr).value.uint16, 9);
     }},
    {"addArg",
     [](Program& p) {
         const auto owned = own(native_new_CMPIArgs(nullptr));
         CMPIArgs* args = owned.get();
         CMPIArgsFT& ft = *args->ft;
         CMPIValue value = {};
         value.uint16 = 9;
         EXPECT_EQ(ft.addArg(args, "Delay", &value, CMPI_uint16).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.addArg(args, "DELAY", &value, CMPI_uint16).rc, CMPI_RC_ERR_ALREADY_EXISTS);
         EXPECT_EQ(ft.getArgCount(args, p.status.out()), 1U);
     }},
    {"getArg",
     [](Program& p) {
         const auto owned = own(native_new_CMPIArgs(nullptr));
         CMPIArgs* args = owned.get();
         CMPIArgsFT& ft = *args->ft;
         CMPIValue value = {};
         value.uint16 = 9;
         EXPECT_EQ(ft.addArg(args, "Delay", &value, CMPI_uint16).rc, CMPI_RC_OK);
         const CMPIData found = ft.getArg(args, "delay", p.status.out());
         EXPECT_EQ(found.type, CMPI_uint16);
         EXPECT_EQ(found.state, CMPI_goodValue);
         Missing none;
         none.expect(ft.getArg(args, "None", none.status.out()), CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getArgAt",
     [](Program& p) {
         const auto owned = own(native_new_CMPIArgs(nullptr));
         CMPIArgs* args = owned.get();
         CMPIArgsFT& ft = *args->ft;
         CMPIValue value = {};
         value.uint16 = 9;
         EXPECT_EQ(ft.addArg(args, "Delay", &value, CMPI_uint16).rc, CMPI_RC_OK);
         CMPIString* name = nullptr;
         EXPECT_EQ(ft.getArgAt(args, 0, &name, p.status.out()).value.uint16, 9);
         EXPECT_EQ(taken(name), "Delay");
         Missing none;
         none.expect(ft.getArgAt(args, 1, nullptr, none.status.out()),
                     CMPI_RC_ERR_NO_SUCH_PROPERTY);
     }},
    {"getArgCount",
     [](Program& p) {
         const auto owned = own(native_new_CMPIArgs(nullptr));
         CMPIArgs* args = owned.get();
         CMPIArgsFT& ft = *args->ft;
         CMPIValue value = {};
         value.uint16 = 9;
         EXPECT_EQ(ft.addArg(args, "Delay", &value, CMPI_uint16).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.getArgCount(args, p.status.out()), 1U);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
};

class ArgsFunction : public testing::TestWithParam<FunctionCase>
{};

TEST_P(ArgsFunction, IsAsSfccHasIt)
{
    Program program;
    GetParam().check(program);
}

INSTANTIATE_TEST_SUITE_P(All, ArgsFunction, testing::ValuesIn(kArgsFunctions), caseName);

const FunctionCase kArrayFunctions[] = {
    {"release",
     [](Program& p) {
         const auto owned = own(native_new_CMPIArray(2, CMPI_uint8, nullptr));
         CMPIArray* array = owned.get();
         CMPIArrayFT& ft = *array->ft;
         CMPIValue value = {};
         value.uint8 = 7;
         EXPECT_EQ(ft.setElementAt(array, 1, &value, CMPI_uint8).rc, CMPI_RC_OK);
         CMPIArray* other = native_new_CMPIArray(0, CMPI_uint8, nullptr);
         EXPECT_EQ(other->ft->release(other).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.getSize(array, p.status.out()), 2U);
     }},
    {"clone",
     [](Program& p) {
         const auto owned = own(native_new_CMPIArray(2, CMPI_uint8, nullptr));
         CMPIArray* array = owned.get();
         CMPIArrayFT& ft = *array->ft;
         CMPIValue value = {};
         value.uint8 = 7;
         EXPECT_EQ(ft.setElementAt(array, 1, &value, CMPI_uint8).rc, CMPI_RC_OK);
         const auto copy = own(ft.clone(array, p.status.out()));
         EXPECT_EQ(copy->ft->getElementAt(copy.get(), 1, nullptr).value.uint8, 7);
     }},
    {"getSize",
     [](Program& p) {
         const auto owned = own(native_new_CMPIArray(2, CMPI_uint8, nullptr));
         CMPIArray* array = owned.get();
         CMPIArrayFT& ft = *array->ft;
         CMPIValue value = {};
         value.uint8 = 7;
         EXPECT_EQ(ft.setElementAt(array, 1, &value, CMPI_uint8).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.getSize(array, p.status.out()), 2U);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"getSimpleType",
     [](Program& p) {
         const auto owned = own(native_new_CMPIArray(2, CMPI_uint8, nullptr));
         CMPIArray* array = owned.get();
         CMPIArrayFT& ft = *array->ft;
         CMPIValue value = {};
         value.uint8 = 7;
         EXPECT_EQ(ft.setElementAt(array, 1, &value, CMPI_uint8).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.getSimpleType(array, p.status.out()), CMPI_uint8);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"getElementAt",
     [](Program& p) {
         const auto owned = own(native_new_CMPIArray(2, CMPI_uint8, nullptr));
         CMPIArray* array = owned.get();
         CMPIArrayFT& ft = *array->ft;
         CMPIValue value = {};
         value.uint8 = 7;
         EXPECT_EQ(ft.setElementAt(array, 1, &value, CMPI_uint8).rc, CMPI_RC_OK);
         EXPECT_EQ(ft.getElementAt(array, 0, p.status.out()).state, CMPI_nullValue);
         EXPECT_EQ(ft.getElementAt(array, 2, p.status.out()).state, CMPI_badValue);
         EXPECT_EQ(p.status.code(), CMPI_RC_OK);
     }},
    {"setElementAt",
     [](Program& /*program*/) {
         const auto owned = own(native_new_CMPIArray(2, CMPI_uint8, nullptr));
         CMPIArray* array = owned.get();
         CMPIArrayFT& ft = *array->ft;
         CMPIValue value = {};
         value.uint8 = 7;
         EXPECT_EQ(ft.setElementAt(array, 1, &value, CMPI_uint8).rc, CMPI_RC_OK);
         const Status beyond(ft.setElementAt(array, 2, &value, CMPI_uint8));
         EXPECT_EQ(beyond.code(), CMPI_RC_ERR_FAILED);
         const Status odd(ft.setElementAt(array, 0, &value, CMPI_uint16));
         EXPECT_EQ(odd.code(), CMPI_RC_ERR_FAILED);
     }},
};

class ArrayFunction : public testing::TestWithParam<FunctionCase>
{};

TEST_P(ArrayFunction, IsAsSfccHasIt)
{
    Program program;
    GetParam().check(program);
}

INSTANTIATE_TEST_SUITE_P(All, ArrayFunction, testing::ValuesIn(kArrayFunctions), caseName);

TEST(ObjectFunctions, AreAllInTheTables)
{
    EXPECT_EQ(functionsOf(kPathFunctions), declaredFunctions("CMPIObjectPathFT"));
    EXPECT_EQ(functionsOf(kInstanceFunctions), declaredFunctions("CMPIInstanceFT"));
    EXPECT_EQ(functionsOf(kArgsFunctions), declaredFunctions("CMPIArgsFT"));
    EXPECT_EQ(functionsOf(kArrayFunctions), declaredFunctions("CMPIArrayFT"));
}

} // namespace
