// From JSON values to the arguments of a method, and the path of what it is called on.
#include "LiveTest.h"

namespace {

using support::countLogged;
using support::json;
using support::logged;
using support::Request;
using support::scriptedCim;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Arguments : public support::LiveTest
{
protected:
    ResourceMapper& mapper() { return mRequest.mapper; }

    Request mRequest{"/r"};
};

// ---- The object path ----

class TargetPath : public Arguments
{
protected:
    // The path as text.
    std::string path(const std::string& selectors)
    {
        mapper().mCimClass = "XCIM_Box";
        mapper().mSelectorSet = json(selectors);
        CMPIObjectPath* made = nullptr;
        EXPECT_EQ(mapper().AddSelectorSet(&made), RM_OK);
        CMPIString* text = made->ft->toString(made, nullptr);
        std::string copy = static_cast<const char*>(text->hdl);
        (void)text->ft->release(text);
        (void)made->ft->release(made);
        return copy;
    }
};

TEST_F(TargetPath, HasTheSelectorsAsKeys)
{
    EXPECT_EQ(path(R"({"Name": "Foo", "InstanceID": "Sys.1", "a": ""})"),
              "root/xcim:XCIM_Box InstanceID=Sys.1 Name=Foo a=");
    EXPECT_TRUE(logged(3, "KeyName(InstanceID) Value(Sys.1)"));
    EXPECT_TRUE(logged(3, "KeyName(Name) Value(Foo)"));
    EXPECT_EQ(countLogged(3, "AddSelectorSet", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "AddSelectorSet", "Leaving"), 1);
}

TEST_F(TargetPath, WithoutSelectorsHasNoKeys)
{
    EXPECT_EQ(path("null"), "root/xcim:XCIM_Box");
    EXPECT_EQ(path("{}"), "root/xcim:XCIM_Box");
}

TEST_F(TargetPath, KeysAreTexts)
{
    EXPECT_EQ(path(R"({"A": 1, "B": true, "C": null, "D": [1], "E": {"x": 1}})"),
              "root/xcim:XCIM_Box A=1 B=true C= D= E=");
}

TEST_F(TargetPath, ThatCannotBeMadeIsAnInternalError)
{
    scriptedCim().pathStatus = CMPI_RC_ERR_INVALID_CLASS;
    CMPIObjectPath* made = nullptr;
    EXPECT_EQ(mapper().AddSelectorSet(&made), RM_INTERNAL_ERROR);
    EXPECT_EQ(made, nullptr);
    EXPECT_TRUE(mapper().mErrorArgs.isNull());
    EXPECT_EQ(countLogged(3, "AddSelectorSet", "Leaving"), 1);
}

TEST_F(TargetPath, ThatIsGivenDespiteAFailureIsTheCallers)
{
    scriptedCim().pathStatus = CMPI_RC_ERR_FAILED;
    scriptedCim().failedPathIsGiven = true;
    CMPIObjectPath* made = nullptr;
    EXPECT_EQ(mapper().AddSelectorSet(&made), RM_INTERNAL_ERROR);
    ASSERT_NE(made, nullptr);
    (void)made->ft->release(made);
}

// ---- Values as text ----

struct TextCase
{
    const char* value;
    const char* text;
};

void PrintTo(const TextCase& text, std::ostream* stream)
{
    *stream << text.value;
}

class ArgumentText : public Arguments, public ::testing::WithParamInterface<TextCase>
{};

TEST_P(ArgumentText, IsWritten)
{
    for (const char* type :
         {static_cast<const char*>(nullptr), "", "Edm.String", "Edm.Int64", "Edm.DateTimeOffset"}) {
        Json::Value value = json(GetParam().value);
        EXPECT_EQ(mapper().JsonValtoString(value, type), GetParam().text);
        EXPECT_EQ(value, json(GetParam().value));
    }
    const int entered = countLogged(3, "JsonValtoString", "Entering");
    EXPECT_EQ(entered == 0, json(GetParam().value).empty());
    EXPECT_EQ(countLogged(3, "JsonValtoString", "Leaving"), entered);
    EXPECT_FALSE(logged(3, "default case"));
}

INSTANTIATE_TEST_SUITE_P(
    , ArgumentText,
    ::testing::Values(
        TextCase{"null", ""}, TextCase{"[]", ""}, TextCase{"{}", ""}, TextCase{R"("")", ""},
        TextCase{R"("a b")", "a b"}, TextCase{R"("2024-05-01")", "2024-05-01"}, TextCase{"0", "0"},
        TextCase{"7", "7"}, TextCase{"9223372036854775807", "9223372036854775807"},
        TextCase{"18446744073709551615", "18446744073709551615"}, TextCase{"-5", "-5"},
        TextCase{"-9223372036854775808", "-9223372036854775808"}, TextCase{"2.5", "2.5"},
        TextCase{"3.0", "3"}, TextCase{"-0.5", "-0.5"}, TextCase{"1234567.0", "1.23457e+06"},
        TextCase{"1e100", "1e+100"}, TextCase{"0.00001", "1e-05"}, TextCase{"true", "true"},
        TextCase{"false", "false"}, TextCase{R"([1, "a", true])", "1,a,true"},
        TextCase{R"(["a"])", "a"}, TextCase{R"([""])", ""}, TextCase{"[null]", ""},
        TextCase{R"(["a", null, "b", ""])", "a,,b,"}, TextCase{R"([[1, 2], [], [[3]]])", "1,2,,3"},
        // Date-times in an array stay as they are.
        TextCase{R"(["2024-05-01T10:20:30+02:00"])", "2024-05-01T10:20:30+02:00"}));

TEST_F(Arguments, ObjectsHaveNoText)
{
    Json::Value object = json(R"({"x": 1})");
    EXPECT_EQ(mapper().JsonValtoString(object, "Edm.String"), "");
    EXPECT_EQ(countLogged(3, "JsonValtoString", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "JsonValtoString", "Leaving"), 1);
    EXPECT_TRUE(logged(3, "default case"));
    Json::Value array = json(R"(["a", {"x": 1}])");
    EXPECT_EQ(mapper().JsonValtoString(array, nullptr), "a,");
}

TEST_F(Arguments, DateTimesAreWrittenAsCimHasThem)
{
    const auto text = [this](const char* time, const char* type) {
        Json::Value value(time);
        return mapper().JsonValtoString(value, type);
    };
    // Neither the fraction nor the offset counts.
    for (const char* time :
         {"2024-05-01T10:20:30+02:00", "2024-05-01T10:20:30-11:30", "2024-05-01T10:20:30Z00:00",
          "2024-05-01T10:20:30.123Z00:00", "2024-05-01T10:20:30.999+02:00"}) {
        for (const char* type :
             {"Edm.DateTimeOffset", "edm.datetimeoffset", "EDM.DATETIMEOFFSET"}) {
            EXPECT_EQ(text(time, type), "20240501102030.000000:000") << time;
        }
        for (const char* type :
             {static_cast<const char*>(nullptr), "", "Edm.String", "Edm.DateTimeOffse",
              "Edm.DateTimeOffsets", "Collection(Edm.DateTimeOffset)"}) {
            EXPECT_EQ(text(time, type), time);
        }
    }
    for (const char* other : {"2024-05-01T10:20:30Z", "2024-05-01T10:20:30", "now", " "}) {
        EXPECT_EQ(text(other, "Edm.DateTimeOffset"), other);
    }
}

// ---- Value maps ----

class MappedArgument : public Arguments
{
protected:
    // What is added for a text under these inputs.
    std::vector<std::string> add(const std::string& text, const std::string& inputs)
    {
        CMPIArgs* args = support::newCimArgs();
        char argName[] = "Cim";
        EXPECT_EQ(mapper().PopulateMappedValues(args, "A", argName, text, json(inputs)), RM_OK);
        std::vector<std::string> added = support::addedArguments(args);
        (void)args->ft->release(args);
        return added;
    }
};

TEST_F(MappedArgument, IsTheCimValueAsText)
{
    const char* inputs = R"({"A": {"value_mapping": {"2": "Enabled", "3": "Disabled"}}})";
    EXPECT_THAT(add("Disabled", inputs), ElementsAre(R"(Cim chars "3")"));
    EXPECT_TRUE(logged(4, "Mapped Value for Disabled : 3"));
    EXPECT_EQ(countLogged(3, "PopulateMappedValues", "Entering"), 1);
    EXPECT_EQ(countLogged(3, "PopulateMappedValues", "Leaving"), 1);
}

TEST_F(MappedArgument, IsTheFirstOfSeveral)
{
    EXPECT_THAT(add("On", R"({"A": {"value_mapping": {"3": "On", "2": "On", "10": "Off"}}})"),
                ElementsAre(R"(Cim chars "2")"));
    EXPECT_THAT(support::messagesAtLevel(4), ElementsAre("Mapped Value for On : 2"));
}

TEST_F(MappedArgument, IsLeftOutWhereNoneMatches)
{
    const char* inputs = R"({"A": {"value_mapping": {"2": "On"}}, "Cim": {"value_mapping":
                                                                           {"3": "Off"}}})";
    for (const char* text : {"2", "on", "O", "Onn", "", "Off"}) {
        EXPECT_THAT(add(text, inputs), IsEmpty()) << text;
    }
    EXPECT_THAT(add(std::string("On\0", 3), inputs), IsEmpty());
    for (const char* none : {"null", "{}", R"({"A": {}})", R"({"A": {"value_mapping": {}}})"}) {
        EXPECT_THAT(add("On", none), IsEmpty()) << none;
    }
    EXPECT_THAT(support::messagesAtLevel(4), IsEmpty());
}

// ---- Arrays ----

class ArrayArgument : public Arguments
{
protected:
    // The argument that an array becomes.
    std::string add(const std::string& text, const std::string& inputs = "null")
    {
        CMPIArgs* args = support::newCimArgs();
        Json::Value value = json(text);
        mapper().addArrayValsToArg(value, "A", args, json(inputs));
        EXPECT_THAT(support::addedArguments(args), ::testing::SizeIs(1));
        std::string added = support::addedArguments(args).at(0);
        (void)args->ft->release(args);
        return added;
    }
};

constexpr const char* kNumbers =
    R"({"A": {"value_mapping": {"2": "Enabled", "3": "Disabled"}, "cim_type": "uint16"}})";
constexpr const char* kTexts =
    R"({"A": {"value_mapping": {"2": "Enabled", "3": "Disabled"}, "cim_type": "string"}})";

TEST_F(ArrayArgument, WithoutAValueMapIsOneOfStrings)
{
    EXPECT_EQ(add("[1, 2]"), R"(A stringA ["1", "2"])");
    EXPECT_EQ(add(R"(["a", "b c"])"), R"(A stringA ["a", "b c"])");
    EXPECT_EQ(add(R"([true, 2.5, -3])"), R"(A stringA ["true", "2.5", "-3"])");
    EXPECT_EQ(add("[1]", R"({"A": {"cim_type": "uint32", "value_mapping": {}}})"),
              R"(A stringA ["1"])");
    EXPECT_EQ(add(R"([["a", "b"], ["2024-05-01T10:20:30+02:00"]])"),
              R"(A stringA ["a,b", "2024-05-01T10:20:30+02:00"])");
    EXPECT_EQ(add("[]"), "A stringA []");
    EXPECT_FALSE(logged(4, "CMPI Array of Strings required"));
    EXPECT_EQ(countLogged(3, "addArrayValsToArg", "Entering"), 6);
    EXPECT_EQ(countLogged(3, "addArrayValsToArg", "Leaving"), 6);
}

TEST_F(ArrayArgument, ElementsWithoutTextStayUnset)
{
    EXPECT_EQ(add(R"(["", "a", null, {}, {"x": 1}, []])"),
              R"(A stringA [null, "a", null, null, null, null])");
}

TEST_F(ArrayArgument, MappedToNumbers)
{
    EXPECT_EQ(add(R"(["Disabled", "Other", "Enabled"])", kNumbers), "A uint16A [3, null, 2]");
    EXPECT_EQ(add(R"(["Enabled", "Enabled"])", kNumbers), "A uint16A [2, 2]");
    EXPECT_EQ(add(R"(["2", "enabled", null])", kNumbers), "A uint16A [null, null, null]");
    EXPECT_EQ(add("[]", kNumbers), "A uint16A []");
    EXPECT_FALSE(logged(4, "CMPI Array of Strings required"));
}

TEST_F(ArrayArgument, MappedToStrings)
{
    EXPECT_EQ(add(R"(["Disabled", "Other", "Enabled"])", kTexts), R"(A stringA ["3", null, "2"])");
    EXPECT_TRUE(logged(4, "CMPI Array of Strings required"));
    EXPECT_TRUE(logged(4, "Disabled mapped to 3"));
    EXPECT_TRUE(logged(4, "Enabled mapped to 2"));
}

TEST_F(ArrayArgument, OnlyTheTypeStringIsOneOfStrings)
{
    for (const char* type : {R"("String")", R"("strings")", R"("")", "null", "5"}) {
        const std::string inputs = std::string(R"({"A": {"value_mapping": {"2": "On"}, )") +
                                   R"("cim_type": )" + type + "}}";
        EXPECT_EQ(add(R"(["On"])", inputs), "A uint16A [2]");
    }
    EXPECT_EQ(add(R"(["On"])", R"({"A": {"value_mapping": {"2": "On"}}})"), "A uint16A [2]");
    EXPECT_EQ(add("[1]", R"({"A": {"cim_type": "string"}})"), R"(A stringA ["1"])");
    EXPECT_TRUE(logged(4, "CMPI Array of Strings required"));
}

TEST_F(ArrayArgument, TakesTheLastOfSeveralCimValues)
{
    EXPECT_EQ(add(R"(["On"])", R"({"A": {"value_mapping": {"2": "On", "3": "On"}}})"),
              "A uint16A [3]");
}

TEST_F(ArrayArgument, CimValueIsReadAsADecimalNumber)
{
    EXPECT_EQ(add(R"(["a", "b", "c", "d", "e"])",
                  R"({"A": {"value_mapping": {"65535": "a", "0x10": "b", "x": "c", "12x": "d",
                                              "": "e"}}})"),
              "A uint16A [65535, 0, 0, 12, 0]");
}

TEST_F(ArrayArgument, ElementsAreLookedUpAsText)
{
    EXPECT_EQ(
        add("[10, true, 2.5]", R"({"A": {"value_mapping": {"1": "10", "2": "true", "3": 2.5}}})"),
        "A uint16A [1, 2, 3]");
}

TEST_F(ArrayArgument, ThatCannotBeMadeAborts)
{
    scriptedCim().arraysFail = true;
    EXPECT_ABORTS("pArray != NULL", add("[1]"));
    EXPECT_ABORTS("pArray != NULL", add(R"(["Enabled"])", kNumbers));
    EXPECT_ABORTS("pArray != NULL", add(R"(["Enabled"])", kTexts));
}

TEST_F(ArrayArgument, StringThatCannotBeMadeAborts)
{
    scriptedCim().stringsFail = true;
    EXPECT_ABORTS("value.string", add("[1]"));
    EXPECT_ABORTS("value.string", add(R"(["Enabled"])", kTexts));
    EXPECT_EQ(add(R"(["Enabled"])", kNumbers), "A uint16A [2]");
}

} // namespace
