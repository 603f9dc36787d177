#include "LiveTest.h"

namespace {

using support::CimValue;
using support::countLogged;
using support::IsJson;
using support::json;
using support::logged;
using support::scriptedCim;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Session : public support::LiveTest
{
protected:
    void connect() { ASSERT_EQ(mSession.Connect(), CMPI_RC_OK); }

    // The calls after connecting.
    static std::vector<std::string> calls()
    {
        const std::vector<std::string>& all = scriptedCim().calls;
        return {all.begin() + 1, all.end()};
    }

    static void release(CMPIEnumeration* enumeration)
    {
        (void)enumeration->ft->release(enumeration);
    }
};

TEST_F(Session, ConnectsToTheLocalObjectManagerAsTheUser)
{
    connect();
    EXPECT_THAT(scriptedCim().calls, ElementsAre("connect SfcbLocal NULL 5988 root NULL"));
    EXPECT_EQ(countLogged(3, "Connect", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "Connect", "Leaving"), 1);
}

TEST_F(Session, ConnectsOnce)
{
    connect();
    EXPECT_EQ(mSession.Connect(), CMPI_RC_OK);
    EXPECT_TRUE(logged(3, "Connection Handle is already available"));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Session, FailedConnectIsReportedAndTriedAgain)
{
    scriptedCim().connectStatus = CMPI_RC_ERR_FAILED;
    EXPECT_EQ(mSession.Connect(), CMPI_RC_ERR_FAILED);
    EXPECT_TRUE(logged(1, "Connect: rc(1), msg(nobody listens)"));
    scriptedCim().connectStatus = CMPI_RC_OK;
    connect();
}

TEST_F(Session, DestructorReleasesTheConnection)
{
    {
        SfccSession session("root");
        ASSERT_EQ(session.Connect(), CMPI_RC_OK);
    }
    EXPECT_TRUE(logged(1, "Releasing sfcbd connection handle"));
    EXPECT_THAT(calls(), ElementsAre("release client"));
}

TEST_F(Session, DestructorWithoutAConnectionReleasesNothing)
{
    {
        const SfccSession session("root");
    }
    EXPECT_FALSE(logged(1, "Releasing sfcbd connection handle"));
    EXPECT_THAT(scriptedCim().calls, IsEmpty());
}

TEST_F(Session, EnumeratesWithoutAQuery)
{
    connect();
    CMPIEnumeration* enumeration = nullptr;
    ASSERT_EQ(mSession.GetEnumerationHandle(&enumeration, "XCIM_Box", "root/xcim", ""), 0);
    ASSERT_NE(enumeration, nullptr);
    EXPECT_THAT(calls(), ElementsAre("enumInstances root/xcim:XCIM_Box flags 0 all"));
    EXPECT_TRUE(logged(4, "Trying ENUM operation for class(XCIM_Box), nameSpace(root/xcim)"));
    release(enumeration);
}

TEST_F(Session, QueriesInCql)
{
    connect();
    CMPIEnumeration* enumeration = nullptr;
    const std::string query = "SELECT * FROM XCIM_Box WHERE A = 'b'";
    ASSERT_EQ(mSession.GetEnumerationHandle(&enumeration, "XCIM_Box", "root/xcim", query), 0);
    EXPECT_THAT(calls(), ElementsAre("execQuery root/xcim:XCIM_Box CQL " + query));
    EXPECT_TRUE(logged(3, "Query: " + query));
    release(enumeration);
}

TEST_F(Session, QueryLanguageThatIsRefusedIsAskedForByItsOtherNamesOnce)
{
    connect();
    scriptedCim().refusedLanguages = {"CQL", "DMTF:CQL"};
    for (int i = 0; i < 2; ++i) {
        CMPIEnumeration* enumeration = nullptr;
        EXPECT_EQ(mSession.GetEnumerationHandle(&enumeration, "XCIM_Box", "root/xcim", "SELECT"),
                  0);
        ASSERT_NE(enumeration, nullptr);
        release(enumeration);
    }
    const std::string query = "execQuery root/xcim:XCIM_Box ";
    EXPECT_THAT(calls(),
                ElementsAre(query + "CQL SELECT", query + "DMTF:CQL SELECT", query + "WQL SELECT",
                            "release enumeration", query + "WQL SELECT", "release enumeration"));
    EXPECT_EQ(countLogged(1, "GetEnumerationHandle", "Error> enumInstances: rc(14), msg(CQL)"), 0);
}

TEST_F(Session, QueryLanguageThatIsRefusedByAllItsNamesIsAFailureLikeAnyOther)
{
    connect();
    scriptedCim().refusedLanguages = {"CQL", "DMTF:CQL", "WQL"};
    for (int i = 0; i < 2; ++i) {
        CMPIEnumeration* enumeration = nullptr;
        EXPECT_EQ(mSession.GetEnumerationHandle(&enumeration, "XCIM_Box", "root/xcim", "SELECT"),
                  CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED);
        EXPECT_EQ(enumeration, nullptr);
    }
    EXPECT_EQ(calls().size(), 4U);
    EXPECT_EQ(countLogged(1, "GetEnumerationHandle", "Error> enumInstances: rc(14), msg(CQL)"), 2);
}

TEST_F(Session, FailedEnumerationIsReported)
{
    connect();
    scriptedCim().operationStatus = CMPI_RC_ERR_INVALID_CLASS;
    CMPIEnumeration* enumeration = nullptr;
    EXPECT_EQ(mSession.GetEnumerationHandle(&enumeration, "C", "n", ""), CMPI_RC_ERR_INVALID_CLASS);
    EXPECT_EQ(enumeration, nullptr);
    EXPECT_TRUE(logged(1, "Error> enumInstances: rc(5), msg(it went wrong)"));
    EXPECT_EQ(countLogged(3, "GetEnumerationHandle", "Leaving"), 1);
}

TEST_F(Session, FailureWithoutAMessageIsReported)
{
    connect();
    scriptedCim().operationStatus = CMPI_RC_ERR_FAILED;
    scriptedCim().message = nullptr;
    CMPIEnumeration* enumeration = nullptr;
    EXPECT_EQ(mSession.GetEnumerationHandle(&enumeration, "C", "n", "q"), CMPI_RC_ERR_FAILED);
    EXPECT_TRUE(logged(1, "Error> enumInstances: rc(1), msg((null))"));
}

TEST_F(Session, FailedPathIsReported)
{
    connect();
    scriptedCim().pathStatus = CMPI_RC_ERR_INVALID_NAMESPACE;
    CMPIEnumeration* enumeration = nullptr;
    CMPIInstance* instance = nullptr;
    EXPECT_EQ(mSession.GetEnumerationHandle(&enumeration, "C", "n", ""), 3);
    EXPECT_EQ(mSession.GetInstance(&instance, Json::Value(), "C", "n"), 3);
    EXPECT_EQ(countLogged(1, "GetEnumerationHandle",
                          "Error> newCMPIObjectPath: rc(3) msg(it went wrong)"),
              1);
    EXPECT_EQ(countLogged(1, "GetInstance", "Error> newCMPIObjectPath: rc(3) msg(it went wrong)"),
              1);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(Session, KeysAreBoundAsStrings)
{
    connect();
    scriptedCim().instances = {{}};
    CMPIInstance* instance = nullptr;
    const Json::Value keys = json(R"({"B": "two", "A": 1, "C": true, "D": null, "E": [1]})");
    ASSERT_EQ(mSession.GetInstance(&instance, keys, "XCIM_Box", "root/xcim"), 0);
    EXPECT_THAT(calls(),
                ElementsAre("getInstance root/xcim:XCIM_Box A=1 B=two C=true D= E= flags 0 all"));
    EXPECT_TRUE(logged(4, "getInstance Class Name (XCIM_Box), NameSpace (root/xcim)"));
    EXPECT_TRUE(logged(4, " getInstance Keys Name (B), Key(two)"));
    (void)instance->ft->release(instance);
}

TEST_F(Session, InstanceWithoutKeysIsFetchedByItsClass)
{
    connect();
    scriptedCim().instances = {{}};
    for (const char* keys : {"{}", "null"}) {
        CMPIInstance* instance = nullptr;
        ASSERT_EQ(mSession.GetInstance(&instance, json(keys), "C", "n"), 0);
        EXPECT_EQ(scriptedCim().calls.back(), "getInstance n:C flags 0 all");
        (void)instance->ft->release(instance);
    }
}

TEST_F(Session, FailedFetchIsReported)
{
    connect();
    scriptedCim().operationStatus = CMPI_RC_ERR_NOT_FOUND;
    CMPIInstance* instance = nullptr;
    EXPECT_EQ(mSession.GetInstance(&instance, Json::Value(), "C", "n"), CMPI_RC_ERR_NOT_FOUND);
    EXPECT_TRUE(logged(1, "Error> getInstance rc(6), msg(it went wrong)"));
}

TEST_F(Session, EnumerationIsWalkedToItsEnd)
{
    connect();
    scriptedCim().instances = {{}, {}};
    CMPIEnumeration* enumeration = nullptr;
    ASSERT_EQ(mSession.GetEnumerationHandle(&enumeration, "C", "n", ""), 0);
    EXPECT_EQ(mSession.GetInstanceCount(enumeration), 2);
    CMPIData data = {};
    ASSERT_EQ(mSession.GetNextInstance(enumeration, data), 1);
    CMPIInstance* first = data.value.inst;
    ASSERT_EQ(mSession.GetNextInstance(enumeration, data), 1);
    CMPIInstance* second = data.value.inst;
    EXPECT_NE(first, second);
    EXPECT_EQ(mSession.GetNextInstance(enumeration, data), 0);
    EXPECT_EQ(data.value.inst, second);
    EXPECT_EQ(mSession.GetInstanceCount(enumeration), 2);
    EXPECT_TRUE(logged(3, "Entering GetNextInstance()"));
    release(enumeration);
}

TEST_F(Session, EnumerationThatFailsToTellEnds)
{
    connect();
    scriptedCim().instances = {{}};
    CMPIEnumeration* enumeration = nullptr;
    ASSERT_EQ(mSession.GetEnumerationHandle(&enumeration, "C", "n", ""), 0);
    scriptedCim().hasNextStatus = CMPI_RC_ERR_FAILED;
    CMPIData data = {CMPI_uint8, CMPI_badValue, {}};
    EXPECT_EQ(mSession.GetNextInstance(enumeration, data), 0);
    EXPECT_EQ(data.type, CMPI_uint8);
    EXPECT_TRUE(logged(1, "GetNextInstance: rc(1) msg((null))"));
    release(enumeration);
}

TEST_F(Session, EnumerationThatCannotBeCountedIsLogged)
{
    connect();
    CMPIEnumeration* enumeration = nullptr;
    ASSERT_EQ(mSession.GetEnumerationHandle(&enumeration, "C", "n", ""), 0);
    scriptedCim().countFails = true;
    EXPECT_EQ(mSession.GetInstanceCount(enumeration), 0);
    EXPECT_TRUE(logged(1, "Error> toArray: rc(1), msg(it went wrong)"));
    release(enumeration);
}

class InstanceKeys : public Session
{
protected:
    int read(const support::CimMembers& keys)
    {
        CMPIInstance* instance = support::newCimInstance({}, keys);
        const int rc = mSession.GetObjectByPath(instance, mKeys);
        (void)instance->ft->release(instance);
        return rc;
    }

    Json::Value mKeys;
};

TEST_F(InstanceKeys, AreReadBack)
{
    EXPECT_EQ(read({{"A", CimValue::Text("1")}, {"B", CimValue::Chars("2")}}), 0);
    EXPECT_THAT(mKeys, IsJson(R"({"A": "1", "B": "2"})"));
}

TEST_F(InstanceKeys, OfAnotherTypeAreEmpty)
{
    EXPECT_EQ(read({{"A", CimValue::Number(CMPI_uint32, 1)}, {"B", CimValue::Text(std::nullopt)}}),
              0);
    EXPECT_THAT(mKeys, IsJson(R"({"A": "", "B": ""})"));
    EXPECT_TRUE(logged(1, "Unexpected CMPI type 160 where a string is needed"));
}

TEST_F(InstanceKeys, WithoutAPathAreReported)
{
    EXPECT_EQ(read({{"A", CimValue::Unreadable()}}), CMPI_RC_ERR_FAILED);
    EXPECT_TRUE(logged(1, "Error in getting object path: rc(1) msg(no path)"));
    EXPECT_TRUE(mKeys.isNull());
}

TEST_F(InstanceKeys, AbortWhereThereIsNoneOrOneWithoutAName)
{
    EXPECT_ABORTS("nKeys != 0", read({}));
    EXPECT_ABORTS("pKeyName != NULL", read({{"", CimValue::Text("1")}}));
    EXPECT_ABORTS("pCI != NULL", mSession.GetObjectByPath(nullptr, mKeys));
}

TEST_F(Session, MethodsGiveTheirReturnValue)
{
    connect();
    scriptedCim().returnValue = CimValue::Number(CMPI_uint32, 4096).Data();
    CMPIStatus status = {CMPI_RC_OK, nullptr};
    CMPIObjectPath* path = newCMPIObjectPath("n", "C", &status);
    CMPIData result = {};
    EXPECT_EQ(mSession.InvokeMethod(result, "Run", path, nullptr, nullptr), 0);
    EXPECT_EQ(static_cast<uint32_t>(result.value.uint32), 4096U);
    EXPECT_THAT(calls(), ElementsAre("invokeMethod n:C Run without without"));
    EXPECT_TRUE(logged(3, "Invoke Method Name Run "));
    scriptedCim().operationStatus = CMPI_RC_ERR_METHOD_NOT_FOUND;
    EXPECT_EQ(mSession.InvokeMethod(result, "Run", path, nullptr, nullptr), 17);
    EXPECT_TRUE(logged(1, "Error> enumInstances: rc(17), msg(it went wrong)"));
    (void)path->ft->release(path);
}

TEST_F(Session, OperationsAbortWithoutAConnection)
{
    CMPIEnumeration* enumeration = nullptr;
    CMPIInstance* instance = nullptr;
    CMPIData data = {};
    EXPECT_ABORTS("cc != NULL", mSession.GetEnumerationHandle(&enumeration, "C", "n", ""));
    EXPECT_ABORTS("cc != NULL", mSession.GetInstance(&instance, Json::Value(), "C", "n"));
    EXPECT_ABORTS("cc != NULL", mSession.GetNextInstance(enumeration, data));
    EXPECT_ABORTS("cc != NULL", mSession.InvokeMethod(data, "M", nullptr, nullptr, nullptr));
}

TEST_F(Session, OperationsAbortOnMissingArguments)
{
    connect();
    CMPIEnumeration* enumeration = nullptr;
    CMPIInstance* instance = nullptr;
    CMPIData data = {};
    EXPECT_ABORTS("ppEnumHandle != NULL", mSession.GetEnumerationHandle(nullptr, "C", "n", ""));
    EXPECT_ABORTS("!ClassName.empty()", mSession.GetEnumerationHandle(&enumeration, "", "n", ""));
    EXPECT_ABORTS("pcimClass != NULL",
                  mSession.GetInstance(&instance, Json::Value(), nullptr, "n"));
    EXPECT_ABORTS("pEnumHandle != NULL", mSession.GetNextInstance(nullptr, data));
    EXPECT_ABORTS("pEnumerationHandle != NULL", mSession.GetInstanceCount(nullptr));
}

TEST_F(Session, ScalarsAreWrittenAsText)
{
    const auto text = [&](Json::Value value) {
        return mSession.JsonValtoString(value);
    };
    EXPECT_EQ(text(Json::Value()), "");
    EXPECT_EQ(text(7), "7");
    EXPECT_EQ(text(-1), "18446744073709551615");
    EXPECT_EQ(text(Json::UInt64{18446744073709551615U}), "18446744073709551615");
    EXPECT_EQ(text(true), "1");
    EXPECT_EQ(text(false), "0");
    EXPECT_EQ(text(3.14159265), "3.14159");
    EXPECT_EQ(text(1e10), "1e+10");
    EXPECT_EQ(text("a b"), "a b");
    EXPECT_FALSE(logged(1, "Default case"));
    EXPECT_EQ(text(json("[1]")), "");
    EXPECT_EQ(text(json("{}")), "");
    EXPECT_EQ(countLogged(1, "JsonValtoString", "Default case"), 2);
}

} // namespace
