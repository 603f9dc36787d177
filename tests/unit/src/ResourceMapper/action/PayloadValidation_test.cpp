// Whether the body of an action is what its method declares, and what the client is told.
#include "ActionTest.h"
#include "IsoTime.h"

namespace {

using support::countLogged;
using support::IsJson;
using support::json;
using support::LogCapture;
using support::logged;
using support::Request;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Validation : public support::LiveTest
{
protected:
    unsigned int validate(const std::string& inputs, const std::string& body)
    {
        Json::Value payload = json(body);
        Json::Value declared = json(inputs);
        const unsigned int rc = mapper().ValidatePayload(payload, declared, mErrorArgs);
        EXPECT_THAT(payload, IsJson(body)) << "the body was changed";
        EXPECT_THAT(declared, IsJson(inputs)) << "the declaration was changed";
        return rc;
    }

    int validateType(const std::string& text, const char* type)
    {
        Json::Value value = json(text);
        return mapper().ValidateValueType(value, type);
    }

    ResourceMapper& mapper() { return mRequest.mapper; }

    Request mRequest{"/r"};
    Json::Value mErrorArgs;
};

// ---- The passes ----

struct PayloadCase
{
    const char* inputs;
    const char* body;
    unsigned int result;
    const char* errorArgs;
};

void PrintTo(const PayloadCase& body, std::ostream* stream)
{
    *stream << body.body << " as " << body.inputs;
}

class ValidatedBody : public Validation, public ::testing::WithParamInterface<PayloadCase>
{};

TEST_P(ValidatedBody, HasAVerdict)
{
    EXPECT_EQ(validate(GetParam().inputs, GetParam().body), GetParam().result);
    EXPECT_THAT(mErrorArgs, IsJson(GetParam().errorArgs));
    EXPECT_EQ(countLogged(3, "ValidatePayload", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "ValidatePayload", "Leaving"), 1);
    EXPECT_THAT(support::messagesAtLevel(1), IsEmpty());
}

constexpr const char* kText = R"({"A": {"redfish_type": "Edm.String"}})";
constexpr const char* kNumber = R"({"A": {"redfish_type": "Edm.Int64"}})";
constexpr const char* kTextArray = R"({"A": {"redfish_type": "Edm.String", "is_arraytype": true}})";
constexpr const char* kNumberArray =
    R"({"A": {"redfish_type": "Edm.Int64", "is_arraytype": true}})";
constexpr const char* kMapped =
    R"({"A": {"redfish_type": "Edm.String", "value_mapping": {"2": "On", "3": "Off"}}})";
constexpr const char* kMappedTexts = R"({"A": {"redfish_type": "Edm.String", "is_arraytype": true,
                                               "value_mapping": {"2": "On", "3": "Off"}}})";

INSTANTIATE_TEST_SUITE_P(
    Unknown, ValidatedBody,
    ::testing::Values(
        PayloadCase{kText, R"({"B": "x"})", RM_PROPERTY_UNKNOWN, R"(["B"])"},
        PayloadCase{kText, R"({"a": "x"})", RM_PROPERTY_UNKNOWN, R"(["a"])"},
        PayloadCase{kText, R"({"": "x"})", RM_PROPERTY_UNKNOWN, R"([""])"},
        PayloadCase{"null", R"({"A": null})", RM_PROPERTY_UNKNOWN, R"(["A"])"},
        PayloadCase{"{}", R"({"A": 1, "B": 1})", RM_PROPERTY_UNKNOWN, R"(["A"])"},
        PayloadCase{kText, R"({"C": 1, "B": 1, "A": "x"})", RM_PROPERTY_UNKNOWN, R"(["B"])"},
        PayloadCase{R"({"A": {}})", "{}", RM_OK, "null"}, PayloadCase{"null", "{}", RM_OK, "null"},
        PayloadCase{"{}", "{}", RM_OK, "null"}, PayloadCase{"{}", "null", RM_OK, "null"}));

INSTANTIATE_TEST_SUITE_P(
    Type, ValidatedBody,
    ::testing::Values(
        PayloadCase{kText, R"({"A": "x"})", RM_OK, "null"},
        PayloadCase{kText, R"({"A": 5})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["5", "A"])"},
        PayloadCase{kText, R"({"A": true})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["true", "A"])"},
        PayloadCase{kText, R"({"A": null})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["", "A"])"},
        PayloadCase{kText, R"({"A": {"x": 1}})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["", "A"])"},
        PayloadCase{kNumber, R"({"A": "x"})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["x", "A"])"},
        PayloadCase{kNumber, R"({"A": 2.5})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["2.5", "A"])"},
        PayloadCase{kNumber, R"({"A": 1234567.0})", RM_PROPERTY_VALUE_TYPE_ERROR,
                    R"(["1.23457e+06", "A"])"},
        PayloadCase{kNumber, R"({"A": -5})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["-5", "A"])"},
        PayloadCase{kNumber, R"({"A": 0})", RM_OK, "null"},
        // The text is not converted as it would be for an argument.
        PayloadCase{R"({"A": {"redfish_type": "Edm.Boolean"}})",
                    R"({"A": "2024-05-01T10:20:30+02:00"})", RM_PROPERTY_VALUE_TYPE_ERROR,
                    R"(["2024-05-01T10:20:30+02:00", "A"])"},
        // Arrays where one is declared, and only there.
        PayloadCase{kTextArray, R"({"A": "x"})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["x", "A"])"},
        PayloadCase{kText, R"({"A": ["x", "y"]})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["x,y", "A"])"},
        PayloadCase{R"({"A": {"redfish_type": "Edm.String", "is_arraytype": false}})",
                    R"({"A": ["x"]})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["x", "A"])"},
        PayloadCase{kTextArray, R"({"A": ["x"]})", RM_OK, "null"},
        PayloadCase{kTextArray, R"({"A": []})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["", "A"])"},
        PayloadCase{kNumberArray, R"({"A": [1, "x", 2]})", RM_OK, "null"},
        PayloadCase{kNumberArray, R"({"A": [1, 2, "x"]})", RM_PROPERTY_VALUE_TYPE_ERROR,
                    R"(["1,2,x", "A"])"},
        PayloadCase{kNumberArray, R"({"A": [2, -5]})", RM_PROPERTY_VALUE_TYPE_ERROR,
                    R"(["2,-5", "A"])"},
        // Without a type nothing fits.
        PayloadCase{R"({"A": {}})", R"({"A": "x"})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["x", "A"])"},
        PayloadCase{R"({"A": {"redfish_type": ""}})", R"({"A": "x"})", RM_PROPERTY_VALUE_TYPE_ERROR,
                    R"(["x", "A"])"},
        PayloadCase{R"({"A": null})", R"({"A": "x"})", RM_PROPERTY_VALUE_TYPE_ERROR,
                    R"(["x", "A"])"}));

INSTANTIATE_TEST_SUITE_P(
    ValueList, ValidatedBody,
    ::testing::Values(
        PayloadCase{kMapped, R"({"A": "Off"})", RM_OK, "null"},
        PayloadCase{kMapped, R"({"A": "3"})", RM_PROPERTY_VALUE_NOT_IN_LIST, R"(["3", "A"])"},
        PayloadCase{kMapped, R"({"A": "off"})", RM_PROPERTY_VALUE_NOT_IN_LIST, R"(["off", "A"])"},
        PayloadCase{kMapped, R"({"A": "Of"})", RM_PROPERTY_VALUE_NOT_IN_LIST, R"(["Of", "A"])"},
        PayloadCase{kMapped, R"({"A": "Off "})", RM_PROPERTY_VALUE_NOT_IN_LIST, R"(["Off ", "A"])"},
        PayloadCase{kMapped, R"({"A": ""})", RM_PROPERTY_VALUE_NOT_IN_LIST, R"(["", "A"])"},
        PayloadCase{kMappedTexts, R"({"A": ["On", "Off", "On"]})", RM_OK, "null"},
        PayloadCase{kMappedTexts, R"({"A": ["On", "Up", "Down"]})", RM_PROPERTY_VALUE_NOT_IN_LIST,
                    R"(["Up", "A"])"},
        PayloadCase{kMappedTexts, R"({"A": [null, "On"]})", RM_PROPERTY_VALUE_NOT_IN_LIST,
                    R"(["", "A"])"},
        PayloadCase{kMappedTexts, R"({"A": [["On", "Off"], "On"]})", RM_PROPERTY_VALUE_NOT_IN_LIST,
                    R"(["On,Off", "A"])"},
        PayloadCase{R"({"A": {"redfish_type": "Edm.Int64", "value_mapping": {"x": "5"}}})",
                    R"({"A": 5})", RM_OK, "null"},
        PayloadCase{R"({"A": {"redfish_type": "Edm.Int64", "value_mapping": {"x": "5"}}})",
                    R"({"A": 6})", RM_PROPERTY_VALUE_NOT_IN_LIST, R"(["6", "A"])"},
        PayloadCase{R"({"A": {"redfish_type": "Edm.Boolean", "value_mapping": {"1": "true"}}})",
                    R"({"A": false})", RM_PROPERTY_VALUE_NOT_IN_LIST, R"(["false", "A"])"},
        // The text is not converted as it would be for an argument.
        PayloadCase{R"({"A": {"redfish_type": "Edm.DateTimeOffset", "value_mapping": {"1": "x"}}})",
                    R"({"A": "2024-05-01T10:20:30+02:00"})", RM_PROPERTY_VALUE_NOT_IN_LIST,
                    R"(["2024-05-01T10:20:30+02:00", "A"])"},
        // Numbers in the map are compared as text.
        PayloadCase{R"({"A": {"redfish_type": "Edm.Int64", "value_mapping": {"x": 5}}})",
                    R"({"A": 5})", RM_OK, "null"},
        // An empty map lists nothing, and refuses nothing.
        PayloadCase{R"({"A": {"redfish_type": "Edm.String", "value_mapping": {}}})",
                    R"({"A": "x"})", RM_OK, "null"}));

INSTANTIATE_TEST_SUITE_P(
    Required, ValidatedBody,
    ::testing::Values(
        PayloadCase{R"({"A": {"isrequired": true}})", "{}", RM_PROPERTY_MISSING, R"(["A"])"},
        PayloadCase{R"({"B": {"isrequired": true}, "A": {"isrequired": true}})", "{}",
                    RM_PROPERTY_MISSING, R"(["A"])"},
        PayloadCase{R"({"A": {"isrequired": false}, "B": {"isrequired": true}})", "{}",
                    RM_PROPERTY_MISSING, R"(["B"])"},
        PayloadCase{R"({"A": {"redfish_type": "Edm.String", "isrequired": true}})", R"({"A": "x"})",
                    RM_OK, "null"},
        PayloadCase{R"({"A": {"redfish_type": "Edm.String", "isrequired": true},
                     "AB": {"redfish_type": "Edm.String"}})",
                    R"({"AB": "x"})", RM_PROPERTY_MISSING, R"(["A"])"},
        PayloadCase{R"({"A": {"redfish_type": "Edm.String", "isrequired": true, "alias": "B"},
                     "B": {"redfish_type": "Edm.String"}})",
                    R"({"B": "x"})", RM_PROPERTY_MISSING, R"(["A"])"},
        PayloadCase{R"({"A": {"isrequired": false}, "B": {}})", "{}", RM_OK, "null"}));

// One fault is found at a time: first unknown names, then types, value lists, missing parameters.
constexpr const char* kAll = R"({
    "A": {"redfish_type": "Edm.String", "value_mapping": {"1": "On"}},
    "B": {"redfish_type": "Edm.Int64"}, "C": {"redfish_type": "Edm.Int64"},
    "D": {"isrequired": true}, "E": {"redfish_type": "Edm.String", "value_mapping": {"1": "On"}}})";

INSTANTIATE_TEST_SUITE_P(
    Order, ValidatedBody,
    ::testing::Values(
        PayloadCase{kAll, R"({"A": "x", "B": "x", "X": 1})", RM_PROPERTY_UNKNOWN, R"(["X"])"},
        PayloadCase{kAll, R"({"A": "x", "B": "x"})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["x", "B"])"},
        PayloadCase{kAll, R"({"C": "y", "B": "x"})", RM_PROPERTY_VALUE_TYPE_ERROR, R"(["x", "B"])"},
        PayloadCase{kAll, R"({"E": "y", "A": "x", "B": 1})", RM_PROPERTY_VALUE_NOT_IN_LIST,
                    R"(["x", "A"])"},
        PayloadCase{kAll, R"({"E": "y", "A": "On"})", RM_PROPERTY_VALUE_NOT_IN_LIST,
                    R"(["y", "E"])"},
        PayloadCase{kAll, R"({"A": "On", "B": 1})", RM_PROPERTY_MISSING, R"(["D"])"}));

TEST_F(Validation, MessageArgumentsAreReplacedFromTheFirst)
{
    mErrorArgs = json(R"(["a", "b", "c"])");
    EXPECT_EQ(validate("{}", R"({"X": 1})"), RM_PROPERTY_UNKNOWN);
    EXPECT_THAT(mErrorArgs, IsJson(R"(["X", "b", "c"])"));
    EXPECT_EQ(validate(kText, R"({"A": 1})"), RM_PROPERTY_VALUE_TYPE_ERROR);
    EXPECT_THAT(mErrorArgs, IsJson(R"(["1", "A", "c"])"));
}

// ---- Types ----

constexpr const char* kTypes[] = {
    "Edm.String", "Edm.Int64",      "Edm.Boolean",  "Edm.DateTimeOffset", "Edm.Double",
    "Edm.Int32",  "edm.string",     "edm.int64",    "EDM.BOOLEAN",        "Collection(Edm.String)",
    "collection", "MyCollection()", "Edm.String()", "xEdm.Int64",         ""};

struct TypeCase
{
    const char* value;
    std::vector<std::string> accepted; // by these types, and by no other
};

void PrintTo(const TypeCase& type, std::ostream* stream)
{
    *stream << type.value;
}

class ValidatedType : public Validation, public ::testing::WithParamInterface<TypeCase>
{};

TEST_P(ValidatedType, FitsSome)
{
    std::vector<std::string> accepted;
    for (const char* type : kTypes) {
        const int result = validateType(GetParam().value, type);
        if (result == RM_OK) {
            accepted.emplace_back(type);
        } else {
            EXPECT_EQ(result, RM_PROPERTY_VALUE_TYPE_ERROR) << type;
        }
    }
    EXPECT_EQ(accepted, GetParam().accepted);
    const int entered = countLogged(3, "ValidateValueType", "Entering");
    EXPECT_GE(entered, static_cast<int>(std::size(kTypes)));
    EXPECT_EQ(countLogged(3, "ValidateValueType", "Leaving"), entered);
}

const std::vector<std::string> kTextTypes = {"Edm.String", "Collection(Edm.String)",
                                             "MyCollection()"};

INSTANTIATE_TEST_SUITE_P(
    , ValidatedType,
    ::testing::Values(
        TypeCase{"null", {}}, TypeCase{"3.0", {}}, TypeCase{"2.5", {}}, TypeCase{"1e3", {}},
        TypeCase{"-1", {}}, TypeCase{"18446744073709551616", {}}, TypeCase{R"({"a": 1})", {}},
        TypeCase{"{}", {}}, TypeCase{"[]", {}}, TypeCase{"3", {"Edm.Int64"}},
        TypeCase{"0", {"Edm.Int64"}}, TypeCase{"9223372036854775807", {"Edm.Int64"}},
        // Arguments are written as unsigned numbers.
        TypeCase{"18446744073709551615", {"Edm.Int64"}}, TypeCase{"true", {"Edm.Boolean"}},
        TypeCase{"false", {"Edm.Boolean"}}, TypeCase{R"("x")", kTextTypes},
        TypeCase{R"("")", kTextTypes}, TypeCase{R"("true")", kTextTypes},
        TypeCase{R"("2024-05-01T10:20:30+05:30")",
                 {"Edm.String", "Edm.DateTimeOffset", "Collection(Edm.String)", "MyCollection()"}},
        // The last element speaks for an array.
        TypeCase{R"([1, "x", 2])", {"Edm.Int64"}}, TypeCase{R"([1, 2, "x"])", kTextTypes},
        TypeCase{R"(["x", true])", {"Edm.Boolean"}}, TypeCase{R"(["x", null])", {}},
        TypeCase{R"([[], ["x"]])", kTextTypes}, TypeCase{R"([["x"], []])", {}}));

TEST_F(Validation, EveryElementIsLookedAt)
{
    EXPECT_EQ(validateType(R"(["x", "y", 1])", "Edm.String"), RM_PROPERTY_VALUE_TYPE_ERROR);
    EXPECT_EQ(countLogged(3, "ValidateValueType", "Entering"), 4);
}

TEST_F(Validation, DateTimesNeedAnOffset)
{
    for (const char* time :
         {"2024-05-01T10:20:30+05:30", "2024-05-01T10:20:30.123-01:00", "2024-05-01T10:20:30Z00:00",
          "2024-05-01T10:20:30.000Z00:00", "0000-99-99T99:99:99+99:99"}) {
        for (const char* type : {"Edm.DateTimeOffset", "edm.datetimeoffset"}) {
            EXPECT_EQ(validateType('"' + std::string(time) + '"', type), RM_OK) << time;
        }
    }
    EXPECT_FALSE(logged(4, "DateTime parameter value specified is incorrect"));
}

TEST_F(Validation, OtherDateTimesAreRefused)
{
    for (const char* time :
         {"2024-05-01T10:20:30Z", "2024-05-01T10:20:30", "2024-05-01T10:20:30+0530",
          "2024-05-01T10:20:30.12+05:30", "2024-05-01T10:20:30.1234+05:30",
          "2024-05-01T10:20:30x123+05:30", "2024-05-01 10:20:30+05:30", "2024-05-01t10:20:30+05:30",
          "24-05-01T10:20:30+05:30", "x2024-05-01T10:20:30+05:30", "2024-05-01T10:20:30+05:30x",
          "2024-05-01T10:20:30+05:30\\n", "20240501102030.000000+000", ""}) {
        LogCapture::Reset();
        EXPECT_EQ(validateType('"' + std::string(time) + '"', "EDM.DateTimeOffset"),
                  RM_PROPERTY_VALUE_TYPE_ERROR)
            << time;
        EXPECT_TRUE(logged(4, "DateTime parameter value specified is incorrect"));
    }
}

TEST_F(Validation, MissingTypeAborts)
{
    EXPECT_ABORTS("type != NULL", validateType("1", nullptr));
}

TEST_F(Validation, ExpressionThatDidNotCompileAborts)
{
    EXPECT_ABORTS("0 == reg_comp", {
        reg_comp = 1;
        validateType(R"("2024-05-01T10:20:30+02:00")", "Edm.DateTimeOffset");
    });
    EXPECT_EQ(time_pattern, "^([0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}"
                            "(\\.[0-9]{3})?(Z|(\\+|-))[0-9]{2}:[0-9]{2})$");
}

// ---- Value lists, required parameters ----

TEST_F(Validation, ValueIsListedUnderItsRedfishText)
{
    const Json::Value map = json(R"({"2": "On", "3": "Off", "4": ""})");
    EXPECT_EQ(mapper().ValidateEnumTypeInPayload(map, "On"), RM_OK);
    EXPECT_EQ(mapper().ValidateEnumTypeInPayload(map, "Off"), RM_OK);
    EXPECT_EQ(mapper().ValidateEnumTypeInPayload(map, ""), RM_OK);
    for (const char* other : {"2", "on", "O", "Onn", " On"}) {
        EXPECT_EQ(mapper().ValidateEnumTypeInPayload(map, other), RM_PROPERTY_VALUE_NOT_IN_LIST);
    }
    EXPECT_EQ(mapper().ValidateEnumTypeInPayload(map, std::string("On\0", 3)),
              RM_PROPERTY_VALUE_NOT_IN_LIST);
    EXPECT_EQ(countLogged(3, "ValidateEnumTypeInPayload", "Entering"), 9);
    EXPECT_EQ(countLogged(3, "ValidateEnumTypeInPayload", "Leaving"), 9);
}

TEST_F(Validation, NothingIsListedInAnEmptyMap)
{
    for (const char* map : {"{}", "null"}) {
        EXPECT_EQ(mapper().ValidateEnumTypeInPayload(json(map), ""), RM_PROPERTY_VALUE_NOT_IN_LIST);
    }
}

TEST_F(Validation, RequiredParametersAreListed)
{
    Json::Value inputs = json(R"({"C": {"isrequired": true}, "A": {"isrequired": true},
                                  "B": {"isrequired": false}, "D": {}})");
    Json::Value mandatory;
    EXPECT_EQ(mapper().GetMandatoryArgList(inputs, mandatory), RM_OK);
    EXPECT_THAT(mandatory, IsJson(R"(["A", "C"])"));
    EXPECT_THAT(support::messagesAtLevel(4),
                ElementsAre("GetMandatoryArgList  A", "GetMandatoryArgList  C"));
    EXPECT_EQ(countLogged(3, "GetMandatoryArgList", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "GetMandatoryArgList", "Leaving"), 1);
}

TEST_F(Validation, WithoutParametersNoneIsRequired)
{
    for (const char* text : {"{}", "null"}) {
        LogCapture::Reset();
        Json::Value inputs = json(text);
        Json::Value mandatory;
        EXPECT_EQ(mapper().GetMandatoryArgList(inputs, mandatory), RM_OK);
        EXPECT_TRUE(mandatory.isNull());
        EXPECT_EQ(countLogged(3, "GetMandatoryArgList", "Entering"), 1);
        EXPECT_EQ(countLogged(3, "GetMandatoryArgList", "Leaving"), 1);
    }
}

} // namespace
