// Methods do what is described: which case counts, what is returned, what changes.
#include "DescribedModel.h"
#include "described_values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <sstream>
#include <utility>

namespace {

using sample::DescribedModel;
using testing::HasSubstr;
using testing::StartsWith;

class MethodsTest : public testing::Test
{
protected:
    void describe(const std::string& cases) { ASSERT_EQ(mModel.describe(cases), ""); }

    // The outputs of Fan.Report, described so.
    DescribedModel::Outcome report(const std::string& outputs)
    {
        EXPECT_EQ(
            mModel.load(R"({"namespace": "root/xcim", "methods": {"Fan.Report": [{"outputs": )" +
                        outputs + "}]}}"),
            "");
        return mModel.call("Report", "f");
    }

    DescribedModel mModel;
};

TEST_F(MethodsTest, MethodThatIsNotDescribedIsNotAvailable)
{
    EXPECT_THAT(mModel.call("Stop", "f").returned(), StartsWith("error 16: "));
    describe("{}");
    EXPECT_EQ(mModel.call("Stop", "f").returned(), "nothing");
    EXPECT_THAT(mModel.call("Forget", "f").returned(), StartsWith("error 16: "));
    EXPECT_THAT(mModel.call("Fly", "f").returned(), StartsWith("error 17: "));
}

TEST_F(MethodsTest, DescriptionOfAClassHoldsForItsSubclassesAndForTheClassItself)
{
    describe(R"({"return": 7})");
    EXPECT_EQ(mModel.call("Stop", "big").returned(), "7");
    EXPECT_EQ(mModel.call("stop", "").returned(), "7");
}

TEST_F(MethodsTest, DescriptionOfASubclassGoesFirst)
{
    ASSERT_EQ(mModel.load(R"({"namespace": "ROOT/xcim", "methods": {
                              "fan.stop": [{"return": 1}], "BigFan.Stop": [{"return": 2}]}})"),
              "");
    EXPECT_EQ(mModel.call("Stop", "f").returned(), "1");
    EXPECT_EQ(mModel.call("Stop", "big").returned(), "2");
}

TEST_F(MethodsTest, OutputOfEveryTypeHasItsDeclaredType)
{
    const std::vector<std::pair<std::string, std::string>> outputs{
        {"boolean", "true"},
        {"char16", "\"x\""},
        {"uint8", "255"},
        {"sint8", "-128"},
        {"uint16", "65535"},
        {"sint16", "-32768"},
        {"uint32", "4294967295"},
        {"sint32", "-2147483648"},
        {"sint64", "-9223372036854775808"},
        {"uint64", "18446744073709551615"},
        {"real32", "0.1"},
        {"real64", "-1.5e300"},
        {"string", "\"a <b> ü\""},
        {"datetime", "\"20240501102030.000000+120\""},
        {"reference", R"("BigFan.Id=big")"}};
    std::ostringstream described;
    for (const auto& [type, json] : outputs) {
        described << (described.tellp() == 0 ? "{" : ", ") << '"' << type << "\": " << json
                  << ", \"" << type << "s\": [" << json << ", null]";
    }
    const DescribedModel::Outcome outcome = report(described.str() + "}");
    ASSERT_EQ(outcome.result.outputs.size(), 2 * outputs.size());
    for (const cimxml::MethodParameter& output : outcome.result.outputs) {
        EXPECT_EQ(output.name, std::string(cimxml::typeName(output.value.type)) +
                                   (output.value.isArray ? "s" : ""));
    }
    EXPECT_EQ(outcome.output("boolean"), "TRUE");
    EXPECT_EQ(outcome.output("uint64s"), "[18446744073709551615,null]");
    EXPECT_EQ(outcome.output("sint64"), "-9223372036854775808");
    EXPECT_EQ(outcome.output("sint8s"), "[-128,null]");
    EXPECT_EQ(outcome.output("real32"), "0.1");
    EXPECT_EQ(outcome.output("real64"), "-1.5e+300");
    EXPECT_EQ(outcome.output("string"), "a <b> ü");
    EXPECT_EQ(outcome.output("char16s"), "[x,null]");
    EXPECT_EQ(outcome.output("datetime"), "20240501102030.000000+120");
    EXPECT_EQ(outcome.output("references"), "[BigFan.Id=\"big\",null]");
}

TEST_F(MethodsTest, OutputsCanBeNullOrEmpty)
{
    const DescribedModel::Outcome outcome =
        report(R"({"uint8": null, "uint16s": null, "strings": [], "references": [null]})");
    ASSERT_EQ(outcome.result.outputs.size(), 4U);
    EXPECT_EQ(outcome.output("uint8"), "null");
    EXPECT_EQ(outcome.output("uint16s"), "null");
    EXPECT_EQ(outcome.output("strings"), "[]");
    EXPECT_EQ(outcome.output("references"), "[null]");
    EXPECT_EQ(outcome.output("string"), "no such output");
    EXPECT_EQ(outcome.result.outputs[0].name, "uint8") << "outputs come as they are declared";
    EXPECT_EQ(outcome.result.outputs[1].name, "uint16s");
    EXPECT_TRUE(outcome.result.outputs[1].value.isArray);
}

TEST_F(MethodsTest, FirstCaseWhoseConditionsAllHoldCounts)
{
    describe(
        R"({"when": [{"input": "Seconds", "is": 5}, {"input": "force", "is": true}], "return": 1},
                {"when": [{"input": "Seconds", "isOneOf": [5, 6]}], "return": 2},
                {"when": [{"input": "Names", "is": ["a", null]}], "return": 3},
                {"when": [{"input": "Seconds", "is": null}], "return": 4},
                {"when": [{"input": "At", "isNot": null}], "return": 5})");
    EXPECT_EQ(mModel.call("Stop", "f", {{"Seconds", "5"}, {"Force", "TRUE"}}).returned(), "1");
    EXPECT_EQ(mModel.call("Stop", "f", {{"Seconds", "0x5"}}).returned(), "2");
    EXPECT_EQ(mModel.call("Stop", "f", {{"Seconds", "6"}, {"Force", "TRUE"}}).returned(), "2");
    EXPECT_EQ(mModel.call("Stop", "f").returned(), "4");
    EXPECT_EQ(mModel.call("Stop", "f", {{"Seconds", "7"}, {"At", "20240501102030.000000+000"}})
                  .returned(),
              "5");
    cimxml::MethodParameter names;
    names.name = "Names";
    names.value = cimxml::Value::array(cimxml::Type::String, {std::string("a"), {}});
    EXPECT_EQ(mModel.callWith("Stop", "f", {names}).returned(), "3");
    names.value.elements.pop_back();
    EXPECT_EQ(mModel.callWith("Stop", "f", {names}).returned(), "4");
}

TEST_F(MethodsTest, CallThatFitsNoCaseIsAnInvalidParameter)
{
    describe(R"({"when": [{"input": "Seconds", "is": 5}]})");
    EXPECT_THAT(mModel.call("Stop", "f", {{"Seconds", "6"}}).returned(), StartsWith("error 4: "));
}

TEST_F(MethodsTest, ConditionsLookAtInstances)
{
    describe(R"({"when": [{"object": "this", "property": "Speed", "is": 100}], "return": 1,
                 "set": [{"object": "this", "properties": {"Speed": 0}}]},
                {"when": [{"object": "Fan.Id=g", "property": "Speed", "isNot": 100}], "return": 2},
                {"when": [{"object": {"input": "Other"}, "property": "Speed", "is": 100}], "return": 3},
                {"return": 4})");
    EXPECT_EQ(mModel.call("Stop", "f").returned(), "1");
    EXPECT_EQ(mModel.call("Stop", "f", {{"Other", "Fan.Id=g"}}).returned(), "3");
    EXPECT_EQ(mModel.call("Stop", "f", {{"Other", "Fan.Id=f"}}).returned(), "4");
    EXPECT_EQ(mModel.call("Stop", "f", {{"Other", "Fan.Id=gone"}}).returned(), "4");
    EXPECT_EQ(mModel.call("Stop", "").returned(), "4") << "there is no object";
    EXPECT_EQ(mModel.call("Stop", "g").returned(), "1");
    EXPECT_EQ(mModel.call("Stop", "g").returned(), "2");
}

TEST_F(MethodsTest, ReferencesAreToldByTheInstanceTheyMean)
{
    describe(R"({"when": [{"input": "Other", "is": "Fan.Id=g"}], "return": 1},
                {"when": [{"input": "Other", "exists": false}, {"input": "Other", "key": "Id", "is": "z"}],
                 "return": 2, "outputs": {"Text": {"input": "Other", "key": "Id"}}},
                {"when": [{"input": "Other", "exists": false}], "return": 3},
                {"when": [{"input": "Other", "exists": true}], "return": 4},
                {"return": 5})");
    EXPECT_EQ(mModel.call("Stop", "f", {{"Other", "root/xcim:FAN.ID=\"g\""}}).returned(), "1");
    const DescribedModel::Outcome missing = mModel.call("Stop", "f", {{"Other", "Fan.Id=z"}});
    EXPECT_EQ(missing.returned(), "2");
    EXPECT_EQ(missing.output("Text"), "z");
    EXPECT_EQ(mModel.call("Stop", "f", {{"Other", "Nothing.Id=y"}}).returned(), "3");
    EXPECT_EQ(mModel.call("Stop", "f", {{"Other", "Fan.Id=f"}}).returned(), "4");
    EXPECT_EQ(mModel.call("Stop", "f").returned(), "5");
}

TEST_F(MethodsTest, PropertiesTakeConstantsInputsAndTheTime)
{
    describe(
        R"({"set": [{"object": "this", "properties": {"speed": {"input": "Seconds"}, "Since": {"now": true},
                          "Ok": false, "Names": ["x", {"input": "Text"}, {"input": "Seconds"}, null]}}]})");
    EXPECT_EQ(mModel.call("Stop", "f", {{"Seconds", "9"}, {"Text", "t"}}).returned(), "nothing");
    EXPECT_EQ(mModel.fan("f", "Speed"), "9");
    EXPECT_EQ(mModel.fan("f", "Since"), "20240501102030.000000+000");
    EXPECT_EQ(mModel.fan("f", "Ok"), "FALSE");
    EXPECT_EQ(mModel.fan("f", "Names"), "[x,t,9,null]");
    EXPECT_EQ(mModel.fan("g", "Speed"), "100");
}

TEST_F(MethodsTest, WhatDoesNotFitTheClassesIsAnErrorOfTheCall)
{
    const std::pair<const char*, const char*> descriptions[] = {
        {R"({"return": -1})", "what is described for the return value is not of type uint32"},
        {R"({"outputs": {"Names": "one"}})", "what is described for Names is not of type string[]"},
        {R"({"set": [{"object": "this", "properties": {"Colour": 1}}]})",
         "Fan has no property Colour"},
        {R"({"set": [{"object": "this", "properties": {"id": "g"}}]})",
         "the key Id cannot be changed"},
        {R"({"set": [{"object": "Van.Id=f", "properties": {"Ok": true}}]})",
         "there is no class Van in root/xcim"},
        {R"({"set": [{"object": "Van", "properties": {"Ok": true}}]})",
         "there is no class Van in root/xcim"},
        {R"({"job": {"class": "Van"}})", "there is no class Van in root/xcim"},
        {R"({"job": {"class": "Job", "properties": {"State": "x"}}})",
         "what is described for State is not of type uint16"},
        {R"({"job": {"class": "Job", "steps": [{"percent": 1, "properties": {"Speed": 1}}]}})",
         "Job has no property Speed"}};
    for (const auto& [described, problem] : descriptions) {
        DescribedModel model;
        ASSERT_EQ(model.describe(described), "");
        EXPECT_THAT(model.call("Stop", "f").returned(), HasSubstr(problem));
        EXPECT_EQ(model.property("Job", "InstanceID", "JID_000000000001", "State"),
                  "no such instance");
    }
}

// Around the end of a time_t of 32 bits, and where the clock's own nanoseconds end.
TEST(DescribedTime, GoesOnUntilTheClockEnds)
{
    const std::pair<int64_t, const char*> times[] = {{0, "19700101000000.000000+000"},
                                                     {2147483647, "20380119031407.000000+000"},
                                                     {2147483648, "20380119031408.000000+000"},
                                                     {4294967296, "21060207062816.000000+000"},
                                                     {9223372036, "22620411234716.000000+000"}};
    for (const auto& [elapsed, text] : times) {
        EXPECT_EQ(cimomd::dateTimeText(cimomd::TimePoint(std::chrono::seconds(elapsed))), text);
    }
}

TEST_F(MethodsTest, ChangesReachTheInstanceThatIsNamedAndAllOfAClass)
{
    describe(R"({"when": [{"input": "Other", "isNot": null}],
                 "set": [{"object": {"input": "Other"}, "properties": {"Speed": 1}}]},
                {"set": [{"object": "Fan", "properties": {"Speed": 2}},
                         {"object": "Fan.Id=\"g\"", "properties": {"Speed": 3}}]})");
    EXPECT_EQ(mModel.call("Stop", "", {{"Other", "Fan.Id=g"}}).returned(), "nothing");
    EXPECT_EQ(mModel.fan("g", "Speed"), "1");
    EXPECT_EQ(mModel.fan("f", "Speed"), "100");
    EXPECT_EQ(mModel.call("Stop", "").returned(), "nothing");
    EXPECT_EQ(mModel.fan("f", "Speed"), "2");
    EXPECT_EQ(mModel.fan("g", "Speed"), "3");
    EXPECT_EQ(mModel.property("BigFan", "Id", "big", "Speed"), "2");
}

TEST_F(MethodsTest, CallThatFailsLeavesNoTraces)
{
    describe(R"({"when": [{"input": "Other", "isNot": null}], "job": {"class": "Job", "seconds": 1},
                 "set": [{"object": "this", "properties": {"Speed": 1}},
                         {"object": {"input": "Other"}, "properties": {"Speed": 1}}]},
                {"set": [{"object": "this", "properties": {"Speed": {"input": "Text"}}}],
                 "job": {"class": "Job", "seconds": 1}})");
    EXPECT_THAT(mModel.call("Stop", "f", {{"Other", "Fan.Id=gone"}}).returned(),
                StartsWith("error 6: "));
    EXPECT_THAT(mModel.call("Stop", "f", {{"Text", "fast"}}).returned(),
                HasSubstr("error 1: what is described for Speed is not of type uint32"));
    EXPECT_THAT(mModel.call("Stop", "").returned(), StartsWith("error 4: "));
    EXPECT_EQ(mModel.fan("f", "Speed"), "100");
    EXPECT_EQ(mModel.property("Job", "InstanceID", "JID_000000000001", "State"),
              "no such instance");
}

TEST_F(MethodsTest, DescribedErrorsAndDelaysAreHandedOn)
{
    describe(R"({"when": [{"input": "Force", "is": true}], "delay": 0.25,
                 "error": {"code": 2, "description": "not <now>"}},
                {"delay": 20, "return": 0})");
    const DescribedModel::Outcome refused = mModel.call("Stop", "f", {{"Force", "true"}});
    EXPECT_EQ(refused.returned(), "error 2: not <now>");
    EXPECT_EQ(refused.result.delay, std::chrono::milliseconds(250));
    EXPECT_EQ(mModel.call("Stop", "f").result.delay, std::chrono::seconds(20));
}

TEST_F(MethodsTest, InputThatIsGivenTwiceIsRefused)
{
    describe(R"({"return": 0})");
    const auto outcome = mModel.call("Stop", "f", {{"Seconds", "1"}, {"SECONDS", "2"}});
    EXPECT_FALSE(outcome.isDone);
    EXPECT_EQ(outcome.error.code, 4U);
    EXPECT_EQ(outcome.error.description, "the parameter Seconds is given twice");
}

TEST_F(MethodsTest, PointInTimeWithTheSuffixOfAnIntervalIsTakenForOne)
{
    describe(R"({"set": [{"object": "this", "properties": {"Since": {"input": "At"}}}]})");
    const auto arrivesAs = [this](const std::string& text) {
        EXPECT_EQ(mModel.call("Stop", "f", {{"At", text}}).returned(), "nothing");
        return mModel.fan("f", "Since");
    };
    EXPECT_EQ(arrivesAs("20240501102030.000000:000"), "20240501102030.000000+000");
    EXPECT_EQ(arrivesAs("00000000000500.000000:000"), "00000000000500.000000:000");
    EXPECT_EQ(arrivesAs("20241301102030.000000:000"), "20241301102030.000000:000");
    EXPECT_EQ(arrivesAs("20240501102030.000000-120"), "20240501102030.000000-120");
    EXPECT_EQ(arrivesAs("99991231235959.999999+000"), "99991231235959.999999+000");
}

} // namespace
