// Mapping files that are no JSON, lines and columns in those that are, and how faults are shown.
#include "check/SampleFiles.h"
#include "check/duplicate_names.h"
#include "check/mapping_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using host::check::duplicateNames;
using host::check::Fault;
using host::check::firstBehind;
using host::check::firstNotUtf8;
using host::check::MappingText;
using testing::ElementsAre;
using testing::HasSubstr;

struct Broken
{
    const char* text;
    size_t line;
    size_t column;
    const char* problem;
};

TEST(MappingTexts, ThatAreNoJsonAreToldWithLineAndColumn)
{
    const std::vector<Broken> texts = {
        {"", 1, 1, "value, object or array expected"},
        {"{\n  \"A\": {}\n  \"B\": {}\n}", 3, 3, "Missing ',' or '}'"},
        {"{\n  \"A\": {},\n}", 3, 1, "Missing '}' or object member name"},
        {"{\n  \"A\": {\n", 3, 1, "Missing '}' or object member name"},
        {"{\"A\": 'x'}", 1, 7, "value, object or array expected"},
        {"{\n\"Größe\": x}", 2, 10, "value, object or array expected"},
        {"{\"A\" {}}", 1, 6, "Missing ':'"},
        {"[]", 1, 1, "no object"},
        {"\n 5", 2, 2, "no object"},
        {"\xEF\xBB\xBF{}", 1, 1, "byte order mark"},
    };
    for (const Broken& broken : texts) {
        SCOPED_TRACE(broken.text);
        SampleFiles files;
        files.mapping = broken.text;
        const host::check::Report report = files.check();
        EXPECT_FALSE(report.isMappingUsable);
        ASSERT_EQ(report.faults.size(), 1U);
        const Fault& fault = report.faults.front();
        EXPECT_EQ(fault.position.line, broken.line);
        EXPECT_EQ(fault.position.column, broken.column);
        EXPECT_THAT(fault.finding.wrong, HasSubstr(broken.problem));
        EXPECT_THAT(fault.finding.effect, HasSubstr("does not start"));
    }
}

TEST(MappingTexts, ThatAreNestedTooDeeplyHaveNoPosition)
{
    SampleFiles files;
    files.mapping = std::string(5000, '[');
    const host::check::Report report = files.check();
    ASSERT_EQ(report.faults.size(), 1U);
    EXPECT_EQ(report.faults[0].position.line, 0U);
    EXPECT_THAT(report.faults[0].finding.wrong, HasSubstr("too deeply"));
    EXPECT_EQ(host::check::jsonProblemOf(files.mappingPath()), "it is nested too deeply");
}

TEST(MappingTexts, ThatCannotBeRead)
{
    const host::check::Report report =
        host::check::checkFiles("data", "", "data/none", host::check::Depth::Rows);
    EXPECT_FALSE(report.isMappingUsable);
    ASSERT_EQ(report.faults.size(), 1U);
    EXPECT_THAT(report.faults[0].finding.wrong, HasSubstr("cannot be read: Is a directory"));
    EXPECT_EQ(host::check::jsonProblemOf("data"), "");
    EXPECT_EQ(host::check::jsonProblemOf("data/resourcemapping.json"), "");
}

TEST(MappingTexts, LineOfAMemberIsThatOfItsName)
{
    const MappingText text("{\n\"A\":\n  1, \"B\"\n :\n{\"C\": [\n2]}}");
    Json::Value root;
    ASSERT_FALSE(text.parse(root).has_value());
    EXPECT_EQ(text.lineOf(root["A"]), 2U);
    EXPECT_EQ(text.lineOf(root["B"]), 3U);
    EXPECT_EQ(text.lineOf(root["B"]["C"]), 5U);
    EXPECT_EQ(text.lineOf(root["B"]["C"][0]), 6U);
    EXPECT_EQ(text.lineOf(root), 1U);
}

TEST(MappingTexts, DuplicateNames)
{
    const std::string text = R"({"A": {"x": 1, "y": [{"x": 1}, {"x": 1, "x": 2}], "x": 3},
        /* "A": 1 */ "B": "\"A\": 1", // "B": 1
        "\u0041": {}, "C": [], "C": null})";
    std::vector<std::string> found;
    for (const auto& duplicate : duplicateNames(text)) {
        std::string path;
        for (const std::string& name : duplicate.path) {
            path += name + "/";
        }
        found.push_back(path + duplicate.name);
        EXPECT_LT(duplicate.firstOffset, duplicate.offset);
    }
    EXPECT_THAT(found, ElementsAre("A/y/x", "A/x", "A", "C"));
}

TEST(MappingTexts, FirstByteThatIsNotUtf8)
{
    EXPECT_FALSE(firstNotUtf8("abc \xC3\xBC \xE2\x96\x91 \xF0\x9F\x98\x80").has_value());
    EXPECT_EQ(firstNotUtf8("ab\xFC"), 2U);
    EXPECT_EQ(firstNotUtf8("a\x80"), 1U);
    EXPECT_EQ(firstNotUtf8("\xC3("), 0U);
    EXPECT_EQ(firstNotUtf8("abc\xE2\x96"), 3U);
}

TEST(MappingTexts, WhatStandsBehindTheEnd)
{
    EXPECT_FALSE(firstBehind("{} \n // and\n /* so on */\t", 2).has_value());
    EXPECT_EQ(firstBehind("{} /* x */ }", 2), 11U);
    EXPECT_EQ(firstBehind("{}, \"A\": 1", 2), 2U);
    EXPECT_EQ(firstBehind("{} /", 2), 3U);
}

TEST(Faults, AreOneLineOfTheLog)
{
    const Fault fault{
        "/etc/m.json", {12, 0}, "VexoBox, property Size", {"wrong", "effect", "remedy"}};
    EXPECT_EQ(logLine(fault), "/etc/m.json:12: VexoBox, property Size: wrong; effect; remedy");
    const Fault ofFile{"/c.db", {}, "", {"wrong", "effect", "remedy"}};
    EXPECT_EQ(logLine(ofFile), "/c.db: wrong; effect; remedy");
    const Fault ofText{"/etc/m.json", {3, 7}, "", {"wrong", "effect", "remedy"}};
    EXPECT_EQ(logLine(ofText), "/etc/m.json:3:7: wrong; effect; remedy");
}

TEST(Faults, AreAParagraphForAPerson)
{
    const Fault fault{
        "/etc/m.json", {12, 0}, "VexoBox", {"it is wrong", "\"A\" is 404", "mend it"}};
    EXPECT_EQ(paragraph(fault),
              "  line 12, VexoBox:\n    It is wrong.\n    \"A\" is 404.\n    Mend it.\n");
    const Fault ofFile{"/c.db", {}, "", {"it is wrong", "so", "mend it"}};
    EXPECT_EQ(paragraph(ofFile), "    It is wrong.\n    So.\n    Mend it.\n");
}

TEST(Faults, QuoteTextsShortened)
{
    EXPECT_EQ(host::check::quoted("a"), "\"a\"");
    EXPECT_EQ(host::check::quoted(std::string(200, 'x')), "\"" + std::string(120, 'x') + "...\"");
}

} // namespace
