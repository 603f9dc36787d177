// A POST to an action: which CIM call it becomes, and what the host gets back.
#include "ActionTest.h"

#include <cstdlib>
#include <cstring>

namespace {

using support::CimMembers;
using support::CimValue;
using support::countLogged;
using support::IsJson;
using support::json;
using support::loggedFrom;
using support::scriptedCim;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

using Texts = std::vector<std::string>;

constexpr const char* kConnect = "connect SfcbLocal NULL 5988 root NULL";

class InvokeAction : public support::ActionTest
{};

TEST_F(InvokeAction, EmptyBodyCallsTheMethodWithoutArguments)
{
    declare("{}");
    EXPECT_EQ(post("{}"), RM_OK);
    EXPECT_THAT(scriptedCim().calls, ElementsAre(kConnect, kInvocation));
    EXPECT_THAT(scriptedCim().arguments, IsEmpty());
    EXPECT_EQ(countLogged(3, "InvokeAction", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "InvokeAction", "Leaving"), 1);
    EXPECT_THAT(support::messagesAtLevel(1), IsEmpty());
}

TEST_F(InvokeAction, MethodWithoutADeclarationTakesAnEmptyBody)
{
    declareMethod(Json::Value());
    EXPECT_EQ(post("{}"), RM_OK);
    EXPECT_TRUE(isInvoked());
    EXPECT_EQ(post(R"({"A": 1})"), RM_PROPERTY_UNKNOWN);
}

TEST_F(InvokeAction, ConnectsOnce)
{
    declare("{}");
    EXPECT_EQ(post("{}"), RM_OK);
    EXPECT_EQ(post("{}"), RM_OK);
    EXPECT_THAT(scriptedCim().calls, ElementsAre(kConnect, kInvocation, kInvocation));
}

TEST_F(InvokeAction, DeclarationIsHandedBack)
{
    const char* inputs = R"({"Name": {"redfish_type": "Edm.String", "isrequired": true}})";
    declare(inputs);
    EXPECT_EQ(post(R"({"Name": "x"})"), RM_OK);
    EXPECT_THAT(mInputs, IsJson(inputs));
    mInputs = "before";
    EXPECT_EQ(post("{}"), RM_PROPERTY_MISSING);
    EXPECT_THAT(mInputs, IsJson(inputs));
}

// ---- Arguments ----

struct BodyCase
{
    const char* inputs;
    const char* body;
    Texts arguments;
};

void PrintTo(const BodyCase& body, std::ostream* stream)
{
    *stream << body.body << " as " << body.inputs;
}

class ActionBody : public InvokeAction, public ::testing::WithParamInterface<BodyCase>
{};

TEST_P(ActionBody, BecomesArguments)
{
    mEntries["Jobs"] = json(R"({"UniqueSelector": "InstanceID", "mappings": {"XCIM_Job": {}}})");
    declare(GetParam().inputs);
    EXPECT_EQ(post(GetParam().body), RM_OK);
    EXPECT_THAT(scriptedCim().arguments, ElementsAreArray(GetParam().arguments));
    EXPECT_TRUE(isInvoked());
    EXPECT_TRUE(mErrorArgs.isNull());
}

INSTANTIATE_TEST_SUITE_P(
    Scalars, ActionBody,
    ::testing::Values(
        BodyCase{R"({"A": {"redfish_type": "Edm.String"}})",
                 R"({"A": "some text"})",
                 {R"(A chars "some text")"}},
        BodyCase{R"({"A": {"redfish_type": "Edm.String"}})", R"({"A": ""})", {R"(A chars "")"}},
        BodyCase{R"({"A": {"redfish_type": "Edm.Int64"}})",
                 R"({"A": 9223372036854775807})",
                 {R"(A chars "9223372036854775807")"}},
        BodyCase{R"({"A": {"redfish_type": "Edm.Boolean"}, "B": {"redfish_type": "Edm.Boolean"}})",
                 R"({"A": true, "B": false})",
                 {R"(A chars "true")", R"(B chars "false")"}},
        BodyCase{
            R"({"A": {"redfish_type": "Edm.DateTimeOffset"},
                     "B": {"redfish_type": "Edm.String"}})",
            R"({"A": "2024-05-01T10:20:30+02:00", "B": "2024-05-01T10:20:30+02:00"})",
            {R"(A chars "20240501102030.000000:000")", R"(B chars "2024-05-01T10:20:30+02:00")"}},
        // Whatever their order in the body, in that of their bytes.
        BodyCase{R"({"a": {"redfish_type": "Edm.Int64"}, "B": {"redfish_type": "Edm.Int64"},
                     "A1": {"redfish_type": "Edm.Int64"}, "A": {"redfish_type": "Edm.Int64"}})",
                 R"({"a": 4, "B": 3, "A1": 2, "A": 1})",
                 {R"(A chars "1")", R"(A1 chars "2")", R"(B chars "3")", R"(a chars "4")"}},
        // What the client leaves out is not sent.
        BodyCase{R"({"A": {"redfish_type": "Edm.Int64"}, "B": {"redfish_type": "Edm.Int64"}})",
                 R"({"B": 3})",
                 {R"(B chars "3")"}}));

INSTANTIATE_TEST_SUITE_P(
    Aliases, ActionBody,
    ::testing::Values(
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "alias": "Cim"}})",
                 R"({"A": "x"})",
                 {R"(Cim chars "x")"}},
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "alias": ""}})",
                 R"({"A": "x"})",
                 {R"(A chars "x")"}},
        // The type is looked for under the alias: a date-time stays as it was written.
        BodyCase{R"({"A": {"redfish_type": "Edm.DateTimeOffset", "alias": "Cim"}})",
                 R"({"A": "2024-05-01T10:20:30+02:00"})",
                 {R"(Cim chars "2024-05-01T10:20:30+02:00")"}},
        // And another parameter's type is taken where the alias is its name.
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "alias": "B"},
                     "B": {"redfish_type": "Edm.DateTimeOffset"}})",
                 R"({"A": "2024-05-01T10:20:30+02:00"})",
                 {R"(B chars "20240501102030.000000:000")"}},
        // The order is that of the body's names.
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "alias": "Z"},
                     "B": {"redfish_type": "Edm.String", "alias": "Y"}})",
                 R"({"A": "a", "B": "b"})",
                 {R"(Z chars "a")", R"(Y chars "b")"}},
        // The client library keeps the first of two arguments with one name.
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "alias": "Z"},
                     "B": {"redfish_type": "Edm.String", "alias": "Z"}})",
                 R"({"A": "a", "B": "b"})",
                 {R"(Z chars "a")"}},
        // A value map is looked for under the name of the parameter,
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "alias": "Cim",
                           "value_mapping": {"2": "On", "3": "Off"}}})",
                 R"({"A": "Off"})",
                 {R"(Cim chars "3")"}},
        // that of an array under the alias.
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "alias": "Cim", "is_arraytype": true,
                           "value_mapping": {"2": "On", "3": "Off"}}})",
                 R"({"A": ["Off", "On"]})",
                 {R"(Cim stringA ["Off", "On"])"}},
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "alias": "B", "is_arraytype": true},
                     "B": {"value_mapping": {"2": "On", "3": "Off"}}})",
                 R"({"A": ["Off", "On"]})",
                 {"B uint16A [3, 2]"}}));

INSTANTIATE_TEST_SUITE_P(
    ValueMaps, ActionBody,
    ::testing::Values(
        BodyCase{R"({"A": {"redfish_type": "Edm.String",
                           "value_mapping": {"2": "On", "3": "Off"}}})",
                 R"({"A": "On"})",
                 {R"(A chars "2")"}},
        BodyCase{R"({"A": {"redfish_type": "Edm.Int64", "value_mapping": {"x": "10"}}})",
                 R"({"A": 10})",
                 {R"(A chars "x")"}},
        BodyCase{R"({"A": {"redfish_type": "Edm.Boolean", "value_mapping": {"1": "true"}}})",
                 R"({"A": true})",
                 {R"(A chars "1")"}},
        // An empty map maps nothing.
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "value_mapping": {}}})",
                 R"({"A": "On"})",
                 {R"(A chars "On")"}},
        // A date-time is looked up as it would be sent: it is not found, and the method is called
        // without it, but with the others.
        BodyCase{R"({"A": {"redfish_type": "Edm.DateTimeOffset",
                           "value_mapping": {"1": "2024-05-01T10:20:30+02:00"}},
                     "B": {"redfish_type": "Edm.Int64"}})",
                 R"({"A": "2024-05-01T10:20:30+02:00", "B": 5})",
                 {R"(B chars "5")"}}));

INSTANTIATE_TEST_SUITE_P(
    Arrays, ActionBody,
    ::testing::Values(BodyCase{R"({"A": {"redfish_type": "Edm.Int64", "is_arraytype": true}})",
                               R"({"A": [1, 2]})",
                               {R"(A stringA ["1", "2"])"}},
                      BodyCase{R"({"A": {"redfish_type": "Edm.Boolean", "is_arraytype": true,
                           "cim_type": "boolean"}})",
                               R"({"A": [true, false]})",
                               {R"(A stringA ["true", "false"])"}},
                      // The last element vouches for all.
                      BodyCase{R"({"A": {"redfish_type": "Edm.Int64", "is_arraytype": true}})",
                               R"({"A": [1.5, null, "x", {}, 2]})",
                               {R"(A stringA ["1.5", null, "x", null, "2"])"}},
                      BodyCase{R"({"A": {"redfish_type": "Edm.String", "is_arraytype": true,
                           "cim_type": "uint16", "value_mapping": {"2": "On", "3": "Off"}}})",
                               R"({"A": ["Off", "On", "Off"]})",
                               {"A uint16A [3, 2, 3]"}},
                      BodyCase{R"({"A": {"redfish_type": "Edm.String", "is_arraytype": true,
                           "cim_type": "string", "value_mapping": {"2": "On", "3": "Off"}}})",
                               R"({"A": ["Off", "On"]})",
                               {R"(A stringA ["3", "2"])"}},
                      // Date-times in an array stay as they are.
                      BodyCase{
                          R"({"A": {"redfish_type": "Edm.DateTimeOffset", "is_arraytype": true}})",
                          R"({"A": ["2024-05-01T10:20:30+02:00"]})",
                          {R"(A stringA ["2024-05-01T10:20:30+02:00"])"}}));

INSTANTIATE_TEST_SUITE_P(
    References, ActionBody,
    ::testing::Values(
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "is_ref_type": true}})",
                 R"({"A": "/r/Jobs/J1"})",
                 {"A ref root/xcim:XCIM_Job InstanceID=J1"}},
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "is_ref_type": true, "alias": "Cim"},
                     "B": {"redfish_type": "Edm.Int64"}})",
                 R"({"A": "/r/Jobs/J1", "B": 1})",
                 {"Cim ref root/xcim:XCIM_Job InstanceID=J1", R"(B chars "1")"}},
        // A value map narrows what may be sent, but is not looked up.
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "is_ref_type": true,
                           "value_mapping": {"1": "/r/Jobs/J1"}}})",
                 R"({"A": "/r/Jobs/J1"})",
                 {"A ref root/xcim:XCIM_Job InstanceID=J1"}},
        // There are no arrays of references.
        BodyCase{R"({"A": {"redfish_type": "Edm.String", "is_ref_type": true,
                           "is_arraytype": true}})",
                 R"({"A": ["/r/Jobs/J1", "nothing"]})",
                 {R"(A stringA ["/r/Jobs/J1", "nothing"])"}}));

// ---- Outcome ----

TEST_F(InvokeAction, OutputsBecomeTheResponse)
{
    declare("{}", R"({"Status": {"value_mapping": {"0": "OK", "1": "Error"}}})");
    scriptedCim().outputs = {{"Status", CimValue::Number(CMPI_uint32, 1)},
                             {"Text", CimValue::Text("x")}};
    mResponse = json(R"({"Before": 1})");
    EXPECT_EQ(post("{}"), RM_OK);
    EXPECT_THAT(mResponse, IsJson(R"({"Before": 1, "Status": "Error", "Text": "x"})"));
    EXPECT_EQ(mRequest->Header("Location"), std::nullopt);
}

TEST_F(InvokeAction, JobIsTheLocation)
{
    declare("{}", R"({"Job": {"value_mapping": {"0": "OK"}}})");
    scriptedCim().outputs = {
        {"Job", CimValue::Reference({{"InstanceID", CimValue::Text("JID_123")}})}};
    scriptedCim().returnValue = CimValue::Number(CMPI_uint32, 4096).Data();
    EXPECT_EQ(post("{}"), RM_OK);
    EXPECT_EQ(mRequest->Header("Location"), "/redfish/v1/Managers/Tavix.Embedded.1/Jobs/JID_123");
    EXPECT_EQ(mReturnValue, 4096UL);
    EXPECT_TRUE(mResponse.isNull());
}

TEST_F(InvokeAction, ReturnValueIsA32BitWord)
{
    struct Case
    {
        CMPIType type;
        long long value;
        unsigned long returned;
    };
    for (const Case& number : {Case{CMPI_uint32, 0, 0}, Case{CMPI_uint32, 4294967295, 4294967295},
                               Case{CMPI_sint32, -1, 4294967295}, Case{CMPI_uint64, 4294967303, 7},
                               Case{CMPI_sint64, -2, 4294967294}}) {
        declare("{}");
        scriptedCim().returnValue = CimValue::Number(number.type, number.value).Data();
        EXPECT_EQ(post("{}"), RM_OK);
        EXPECT_EQ(mReturnValue, number.returned) << number.value;
    }
}

TEST_F(InvokeAction, ReturnValueThatIsAnObjectIsReleased)
{
    declare("{}");
    scriptedCim().returnValue = {CMPI_string, CMPI_goodValue, {}};
    scriptedCim().returnValue.value.string = support::newCimString("done");
    EXPECT_EQ(post("{}"), RM_OK);
    scriptedCim().returnValue = {CMPI_ref, CMPI_goodValue, {}};
    scriptedCim().returnValue.value.ref = support::newCimPath({});
    EXPECT_EQ(post("{}"), RM_OK);
    scriptedCim().returnValue = {CMPI_stringA, CMPI_goodValue, {}};
    scriptedCim().returnValue.value.array = support::newCimArray(1, CMPI_string);
    EXPECT_EQ(post("{}"), RM_OK);
}

// A copy that is made with malloc(), as the local transport hands it over.
TEST_F(InvokeAction, ReturnValueThatIsATextIsFreed)
{
    declare("{}");
    scriptedCim().returnValue = {CMPI_chars, CMPI_goodValue, {}};
    scriptedCim().returnValue.value.chars = strdup("done");
    EXPECT_EQ(post("{}"), RM_OK);
}

TEST_F(InvokeAction, ReturnValueThatIsNullHoldsNothing)
{
    declare("{}");
    scriptedCim().returnValue = {CMPI_string, CMPI_nullValue, {}};
    EXPECT_EQ(post("{}"), RM_OK);
    EXPECT_EQ(mReturnValue, 0UL);
}

// ---- Failures ----

class ActionFailure : public InvokeAction
{
protected:
    void expectUntouched() const
    {
        EXPECT_TRUE(mResponse.isNull());
        EXPECT_EQ(mReturnValue, kUnset);
        EXPECT_EQ(mRequest->Header("Location"), std::nullopt);
    }
};

// The host has connected before, and tells that failure itself.
TEST_F(ActionFailure, WithoutAConnectionNothingIsDone)
{
    declare(R"({"Name": {"redfish_type": "Edm.String", "isrequired": true}})");
    scriptedCim().connectStatus = CMPI_RC_ERR_FAILED;
    EXPECT_EQ(post(R"({"Unknown": 1})"), RM_OK);
    EXPECT_THAT(scriptedCim().calls, ElementsAre(kConnect));
    expectUntouched();
    EXPECT_TRUE(mErrorArgs.isNull());
    EXPECT_TRUE(mInputs.isNull());
}

TEST_F(ActionFailure, PathThatCannotBeMade)
{
    declare("{}");
    scriptedCim().pathStatus = CMPI_RC_ERR_FAILED;
    for (const bool isGiven : {false, true}) {
        scriptedCim().failedPathIsGiven = isGiven;
        EXPECT_EQ(post(R"({"Unknown": 1})"), RM_INTERNAL_ERROR);
    }
    EXPECT_FALSE(isInvoked());
    expectUntouched();
    EXPECT_TRUE(mErrorArgs.isNull());
}

TEST_F(ActionFailure, BodyThatIsRefused)
{
    declare("{}");
    EXPECT_EQ(post(R"({"Unknown": 1})"), RM_PROPERTY_UNKNOWN);
    EXPECT_THAT(mErrorArgs, IsJson(R"(["Unknown"])"));
    EXPECT_TRUE(loggedFrom(4, "InvokeAction", "ValidatePayload failed 12"));
    EXPECT_EQ(countLogged(3, "InvokeAction", "Leaving"), 1);
    EXPECT_FALSE(isInvoked());
    expectUntouched();
}

TEST_F(ActionFailure, ReferenceThatIsRefused)
{
    declare(R"({"A": {"redfish_type": "Edm.Int64"}, "C": {"redfish_type": "Edm.Int64"},
                "B": {"redfish_type": "Edm.String", "is_ref_type": true, "alias": "Cim"}})");
    EXPECT_EQ(post(R"({"A": 1, "B": "/r/None/1", "C": 2})"), RM_PROPERTY_VALUE_NOT_IN_LIST);
    EXPECT_THAT(mErrorArgs, IsJson(R"(["/r/None/1", "B"])"));
    EXPECT_EQ(countLogged(3, "InvokeAction", "Leaving"), 1);
    EXPECT_FALSE(isInvoked());
    expectUntouched();
}

TEST_F(ActionFailure, ReferenceThatIsNoText)
{
    declare(R"({"A": {"redfish_type": "Edm.Int64", "is_ref_type": true}})");
    EXPECT_EQ(post(R"({"A": 5})"), RM_PROPERTY_VALUE_NOT_IN_LIST);
    EXPECT_THAT(mErrorArgs, IsJson(R"(["5", "A"])"));
}

TEST_F(ActionFailure, CallThatFails)
{
    struct Case
    {
        CMPIrc status;
        unsigned int result;
        const char* errorArgs; // of the mapper
    };
    for (const Case& failure :
         {Case{CMPI_RC_ERR_FAILED, RM_INTERNAL_ERROR, "null"},
          Case{CMPI_RC_ERR_ACCESS_DENIED, RM_INSUFFICIENT_PRIVILEGE, "null"},
          Case{CMPI_RC_ERR_INVALID_NAMESPACE, RM_RESOURCE_NOT_IN_RMF, R"({"p1": "VexoBox"})"},
          Case{CMPI_RC_ERR_INVALID_PARAMETER, RM_RESOURCE_NOT_IN_RMF, R"({"p1": "VexoBox"})"},
          Case{CMPI_RC_ERR_INVALID_CLASS, RM_RESOURCE_NOT_IN_RMF, R"({"p1": "VexoBox"})"},
          Case{CMPI_RC_ERR_METHOD_NOT_AVAILABLE, RM_METHOD_NOT_ALLOWED, "null"},
          Case{CMPI_RC_ERR_METHOD_NOT_FOUND, RM_METHOD_NOT_ALLOWED, "null"}}) {
        SCOPED_TRACE(failure.status);
        declare("{}", R"({"Status": {"value_mapping": {"0": "OK"}}})");
        scriptedCim().outputs = {{"Status", CimValue::Number(CMPI_uint32, 0)}};
        scriptedCim().operationStatus = failure.status;
        mapper().mErrorArgs = Json::Value();
        EXPECT_EQ(post("{}"), failure.result);
        EXPECT_THAT(mapper().mErrorArgs, IsJson(failure.errorArgs));
        EXPECT_TRUE(mErrorArgs.isNull());
        expectUntouched();
    }
}

TEST_F(ActionFailure, CallThatFailsInAWayWithoutATranslationAborts)
{
    declare("{}");
    for (const CMPIrc status : {CMPI_RC_ERR_NOT_FOUND, CMPI_RC_ERR_NOT_SUPPORTED}) {
        scriptedCim().operationStatus = status;
        EXPECT_ABORTS("false", post("{}"));
    }
}

TEST_F(ActionFailure, MissingSessionAborts)
{
    declare("{}");
    mapper().mpSfccHandle = nullptr;
    EXPECT_ABORTS("mpSfccHandle != NULL", post("{}"));
}

TEST_F(ActionFailure, ArgumentListThatCannotBeMadeAborts)
{
    declare("{}");
    scriptedCim().argumentLists = 0;
    EXPECT_ABORTS("pInArgs != NULL", post(R"({"Unknown": 1})"));
    scriptedCim().argumentLists = 1;
    EXPECT_ABORTS("pOutArgs != NULL", post("{}"));
}

} // namespace
