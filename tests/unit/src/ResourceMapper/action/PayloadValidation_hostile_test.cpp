// Bodies that no honest client sends: each is refused or becomes a correct call.
#include "ActionTest.h"

#include <limits>
#include <utility>

namespace {

using support::IsJson;
using support::json;
using support::scriptedCim;
using ::testing::ElementsAre;

constexpr const char* kInputs = R"({
    "Text": {"redfish_type": "Edm.String"}, "Time": {"redfish_type": "Edm.DateTimeOffset"},
    "Link": {"redfish_type": "Edm.String", "is_ref_type": true},
    "Mode": {"redfish_type": "Edm.String", "value_mapping": {"1": "On"}},
    "Size": {"redfish_type": "Edm.Int64"},
    "Set": {"redfish_type": "StringCollection"},
    "List": {"redfish_type": "Edm.String", "is_arraytype": true}})";

class HostilePayload : public support::ActionTest
{
protected:
    HostilePayload() { declare(kInputs); }

    unsigned int invoke(Json::Value payload)
    {
        unsigned int rc = kUnset;
        EXPECT_NO_THROW(
            rc = mapper().InvokeAction(mResponse, payload, &mReturnValue, mErrorArgs, mInputs));
        return rc;
    }

    unsigned int invokeWith(const std::string& name, const Json::Value& value)
    {
        Json::Value payload;
        payload[name] = value;
        return invoke(payload);
    }

    // Expects that a value is refused as one of the wrong type, under its text.
    void expectMistyped(const std::string& name, const Json::Value& value, const std::string& text)
    {
        EXPECT_EQ(invokeWith(name, value), RM_PROPERTY_VALUE_TYPE_ERROR);
        EXPECT_FALSE(isInvoked());
        ASSERT_EQ(mErrorArgs.size(), 2U);
        EXPECT_EQ(mErrorArgs[0].asString(), text);
        EXPECT_EQ(mErrorArgs[1].asString(), name);
    }

    void expectUnknown(const std::string& name)
    {
        EXPECT_EQ(invokeWith(name, "x"), RM_PROPERTY_UNKNOWN);
        EXPECT_FALSE(isInvoked());
        ASSERT_EQ(mErrorArgs.size(), 1U);
        EXPECT_EQ(mErrorArgs[0].asString(), name);
    }
};

TEST_F(HostilePayload, ThatIsNoObjectHasNoMembers)
{
    for (const char* payload : {"5", "2.5", "true", R"("Text")", "[]", R"(["Text"])", "null"}) {
        SCOPED_TRACE(payload);
        declare(R"({"Text": {"redfish_type": "Edm.String", "isrequired": true}})");
        EXPECT_EQ(invoke(json(payload)), RM_PROPERTY_MISSING);
        EXPECT_THAT(mErrorArgs, IsJson(R"(["Text"])"));
    }
    EXPECT_FALSE(isInvoked());
}

TEST_F(HostilePayload, NumbersThatAreNoSizes)
{
    expectMistyped("Size", -5, "-5");
    expectMistyped("Size", Json::Value::minLargestInt, "-9223372036854775808");
    expectMistyped("Size", json("18446744073709551616"), "1.84467e+19");
    expectMistyped("Size", std::numeric_limits<double>::infinity(), "inf");
    expectMistyped("Size", -0.0, "-0");
    expectMistyped("Text", -5, "-5");
}

TEST_F(HostilePayload, NegativeNumberAmongElementsIsSentAsItIs)
{
    declare(R"({"List": {"redfish_type": "Edm.Int64", "is_arraytype": true}})");
    EXPECT_EQ(post(R"({"List": [-5, 2]})"), RM_OK);
    EXPECT_THAT(scriptedCim().arguments, ElementsAre(R"(List stringA ["-5", "2"])"));
}

TEST_F(HostilePayload, NamesThatAreNotDeclared)
{
    expectUnknown("");
    expectUnknown(std::string("Text\0", 5));
    expectUnknown(std::string("\0Text", 5));
    expectUnknown("\xff\xfe");
    expectUnknown("text");
    expectUnknown(std::string(100000, 'T'));
}

TEST_F(HostilePayload, NameThatIsEmptyMayBeDeclared)
{
    declare(R"({"": {"redfish_type": "Edm.String"}})");
    EXPECT_EQ(post(R"({"": "x"})"), RM_OK);
    EXPECT_THAT(scriptedCim().arguments, ElementsAre(R"( chars "x")"));
}

// CIM has no such text, and a part of it would be another one.
TEST_F(HostilePayload, TextWithANul)
{
    for (const std::string& text : {std::string("a\0b", 3), std::string("\0", 1),
                                    std::string("2024-05-01T10:20:30+02:00\0", 26)}) {
        for (const char* name : {"Text", "Time", "Link", "Mode", "Set"}) {
            SCOPED_TRACE(name);
            expectMistyped(name, text, text);
        }
        Json::Value list(Json::arrayValue);
        list.append(text);
        expectMistyped("List", list, text);
    }
}

TEST_F(HostilePayload, TextThatIsNotUtf8)
{
    for (const char* text : {"\xff", "a\x80", "\xc3", "\xc0\xaf", "\xed\xa0\x80", "\xe2\x82",
                             "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80"}) {
        for (const char* name : {"Text", "Time", "Link", "Mode", "Set"}) {
            SCOPED_TRACE(name);
            expectMistyped(name, text, text);
        }
    }
}

// The last element vouches for the type of the others, not for this.
TEST_F(HostilePayload, TextThatCimCannotCarryAmongElements)
{
    for (const std::string& text : {std::string("a\0b", 3), std::string("\xff")}) {
        Json::Value list = json(R"(["x"])");
        list.append(text);
        list.append("y");
        expectMistyped("List", list, "x," + text + ",y");
        Json::Value outer(Json::arrayValue);
        outer.append(list);
        outer.append("z");
        expectMistyped("List", outer, "x," + text + ",y,z");
    }
}

TEST_F(HostilePayload, TextOfCharactersThatXmlLacks)
{
    for (const char* text : {"a\x01", "\x1b[0m", "\x0b", "\xef\xbf\xbe", "a\xef\xbf\xbf"}) {
        expectMistyped("Text", text, text);
    }
    EXPECT_EQ(invokeWith("Text", "\t\r\n\x7f\xc2\x80\xef\xbf\xbd"), RM_OK);
}

TEST_F(HostilePayload, TextOfAnyPlaneIsSent)
{
    EXPECT_EQ(invokeWith("Text", "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80 <&\"'>\n"), RM_OK);
    EXPECT_THAT(scriptedCim().arguments,
                ElementsAre("Text chars \"\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80 <&\"'>\n\""));
}

TEST_F(HostilePayload, HugeTextIsSentWhole)
{
    const std::string huge(1 << 20, '7');
    EXPECT_EQ(invokeWith("Text", huge), RM_OK);
    EXPECT_THAT(scriptedCim().arguments, ElementsAre("Text chars \"" + huge + "\""));
}

TEST_F(HostilePayload, HugeTextThatIsNoDateTimeModeOrLinkIsRefused)
{
    const std::string huge(1 << 20, '7');
    expectMistyped("Time", huge, huge);
    expectMistyped("Time", "2024-05-01T10:20:30+02:00" + huge, "2024-05-01T10:20:30+02:00" + huge);
    EXPECT_EQ(invokeWith("Mode", huge), RM_PROPERTY_VALUE_NOT_IN_LIST);
    EXPECT_EQ(mErrorArgs[0].asString(), huge);
    for (const std::string& uri : {huge, huge + "/1", "/" + huge + "/1", std::string(1000, '/')}) {
        EXPECT_EQ(invokeWith("Link", uri), RM_PROPERTY_VALUE_NOT_IN_LIST);
        EXPECT_EQ(mErrorArgs[0].asString(), uri);
    }
    EXPECT_FALSE(isInvoked());
}

constexpr int kDepth = 900; // a little less than the JSON library reads

Json::Value nested(Json::Value value, bool isArray)
{
    for (int depth = 0; depth < kDepth; ++depth) {
        Json::Value outer(isArray ? Json::arrayValue : Json::objectValue);
        if (isArray) {
            outer.append(std::move(value));
        } else {
            outer["x"] = std::move(value);
        }
        value = std::move(outer);
    }
    return value;
}

TEST_F(HostilePayload, NestedArraysAreJudgedByTheInnermost)
{
    support::LogCapture::SetThreshold(0);
    EXPECT_EQ(invokeWith("List", nested("x", true)), RM_OK);
    EXPECT_THAT(scriptedCim().arguments, ElementsAre(R"(List stringA ["x"])"));
    scriptedCim().calls.clear();
    expectMistyped("List", nested(5, true), "5");
    expectMistyped("List", nested(Json::Value(Json::arrayValue), true), "");
    expectMistyped("Text", nested("x", true), "x");
}

TEST_F(HostilePayload, NestedObjectsAreRefused)
{
    for (const char* name : {"Text", "Time", "Link", "Mode", "Size", "Set"}) {
        expectMistyped(name, nested(1, false), "");
    }
    Json::Value list(Json::arrayValue);
    list.append(nested(1, false));
    expectMistyped("List", list, "");
}

TEST_F(HostilePayload, MessageArgumentsOfAnotherTypeAreReplaced)
{
    for (const char* before : {R"({"p1": "x"})", R"("x")", "5", "true"}) {
        mErrorArgs = json(before);
        expectMistyped("Size", "x", "x");
    }
}

// Whatever JSON the public operations are handed, none throws.
TEST_F(HostilePayload, AnyJsonCanBeHandedToThePublicOperations)
{
    const char* const values[] = {
        "null",
        "true",
        "-5",
        "1.5",
        R"("text")",
        "[]",
        "{}",
        R"([1, "x", {}, [], null])",
        R"({"A": 5, "S": [1], "mappings": 5, "isrequired": {"x": 1}, "value_mapping": "x"})",
        R"({"A": {"redfish_type": [1], "is_arraytype": "x", "isrequired": [], "alias": {"x": 1},
                  "value_mapping": {"1": {"x": 1}, "2": [2]}, "cim_type": {"x": 1}}})"};
    char name[] = "A";
    for (const char* first : values) {
        for (const char* second : values) {
            SCOPED_TRACE(std::string(first) + " and " + second);
            Json::Value value = json(first);
            Json::Value other = json(second);
            CMPIArgs* args = support::newCimArgs();
            Json::Value errorArgs = other;
            EXPECT_NO_THROW((void)mapper().ValidatePayload(value, other, errorArgs));
            EXPECT_NO_THROW((void)mapper().ValidateValueType(value, "Edm.String"));
            EXPECT_NO_THROW((void)mapper().ValidateEnumTypeInPayload(value, "text"));
            EXPECT_NO_THROW((void)mapper().JsonValtoString(value, nullptr));
            EXPECT_NO_THROW(mapper().addArrayValsToArg(value, "A", args, other));
            EXPECT_NO_THROW((void)mapper().PopulateMappedValues(args, "A", name, "text", other));
            Json::Value mandatory;
            EXPECT_NO_THROW((void)mapper().GetMandatoryArgList(value, mandatory));
            CMPIData returnValue = {};
            EXPECT_NO_THROW(mapper().AddValueMapToOutparam(value, returnValue));
            (void)args->ft->release(args);
        }
    }
}

} // namespace
