// Which queries are read, and what they select.
#include "SampleModel.h"
#include "cim_status.h"
#include "query.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using cimxml::Type;
using sample::cls;
using sample::instance;
using sample::key;
using sample::property;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class QueryTest : public testing::Test
{
protected:
    QueryTest()
    {
        cimxml::Property list;
        list.name = "List";
        list.value = cimxml::Value::null(Type::String, true);
        sample::declare(
            mNameSpace,
            {cls("T", "",
                 {key("Id", Type::String), property("U", Type::Uint8), property("S", Type::Sint64),
                  property("R", Type::Real32), property("B", Type::Boolean),
                  property("D", Type::DateTime), property("Text", Type::String), list}),
             cls("Sub", "T", {})});
        add("T", {{"Id", "a"},
                  {"U", "1"},
                  {"S", "-5"},
                  {"R", "1.5"},
                  {"B", "TRUE"},
                  {"Text", "it's \"\\x\""},
                  {"D", "20240501120000.000000+120"}});
        add("Sub", {{"Id", "b"},
                    {"U", "200"},
                    {"S", "5"},
                    {"R", "-0.5"},
                    {"B", "FALSE"},
                    {"Text", "Fan"}});
        add("T", {{"Id", "c"}});
    }

    void add(const char* className, const sample::Texts& values)
    {
        sample::create(mNameSpace, instance(className, values));
    }

    cimomd::Query read(const std::string& text)
    {
        cimomd::Query query;
        cimxml::CimError error;
        EXPECT_TRUE(cimomd::readQuery(text, mNameSpace, query, error)) << error.description;
        return query;
    }

    // The ids of what is selected.
    std::string select(const std::string& where)
    {
        const cimomd::Query query = read("SELECT * FROM T WHERE " + where);
        std::string ids;
        if (query.selects) {
            mNameSpace.forEach(*query.cls, [&](const cimomd::StoredInstance& stored) {
                ids += query.selects(stored.instance) ? sample::textOf(stored.instance, "Id") : "";
            });
        }
        return ids;
    }

    std::string problem(const std::string& text, unsigned int code = cimomd::kInvalidQuery)
    {
        cimomd::Query query;
        cimxml::CimError error;
        EXPECT_FALSE(cimomd::readQuery(text, mNameSpace, query, error)) << text;
        EXPECT_EQ(error.code, code) << text;
        return error.description;
    }

    std::string whereProblem(const std::string& where)
    {
        return problem("SELECT * FROM T WHERE " + where);
    }

    cimomd::NameSpace mNameSpace{"root/xcim"};
};

TEST_F(QueryTest, SelectsAllOrSomePropertiesOfAClass)
{
    cimomd::Query query = read("SELECT * FROM T");
    EXPECT_TRUE(query.properties.empty());
    EXPECT_EQ(query.cls, mNameSpace.classes().find("T"));
    EXPECT_TRUE(query.selects({}));
    query = read("select Id,u , Text from t where U=1");
    EXPECT_EQ(query.properties, (std::vector<std::string>{"Id", "u", "Text"}));
}

TEST_F(QueryTest, NumbersTruthValuesAndTexts)
{
    EXPECT_EQ(select("U = 1"), "a");
    EXPECT_EQ(select("U <> 1"), "b");
    EXPECT_EQ(select("U >= 0xC8"), "b");
    EXPECT_EQ(select("U < 200"), "a");
    EXPECT_EQ(select("S <= -5"), "a");
    EXPECT_EQ(select("R>-0.5"), "a");
    EXPECT_EQ(select("R < 1"), "b");
    EXPECT_EQ(select("B = true"), "a");
    EXPECT_EQ(select("Text = 'Fan'"), "b");
    EXPECT_EQ(select("Text = 'fan'"), "");
    EXPECT_EQ(select("Text = \"it's \\\"\\\\x\\\"\""), "a");
    EXPECT_EQ(select("Text > 'G'"), "a");
}

TEST_F(QueryTest, NullFitsNoComparison)
{
    EXPECT_EQ(select("U IS NULL"), "c");
    EXPECT_EQ(select("U is not null"), "ab");
    EXPECT_EQ(select("U <> 77"), "ab");
    EXPECT_EQ(select("D IS NOT NULL"), "a");
    EXPECT_EQ(select("List IS NULL"), "acb");
}

TEST_F(QueryTest, AndBindsTighterThanOr)
{
    EXPECT_EQ(select("U = 1 OR Id = 'c'"), "ac");
    EXPECT_EQ(select("U = 1 OR U = 200 AND B = TRUE"), "a");
    EXPECT_EQ(select("(U = 1 OR U = 200) AND B = FALSE"), "b");
}

TEST_F(QueryTest, WhatCannotBeComparedIsRefused)
{
    EXPECT_EQ(whereProblem("X = 1"), "T has no property X");
    EXPECT_EQ(problem("SELECT X FROM T"), "T has no property X");
    EXPECT_EQ(whereProblem("U = 'one'"), "U is of type uint8 and cannot be compared with one");
    EXPECT_EQ(whereProblem("U = 256"), "U is of type uint8 and cannot be compared with 256");
    EXPECT_EQ(whereProblem("Text = 1"), "Text is of type string and cannot be compared with 1");
    EXPECT_EQ(whereProblem("Text = TRUE"),
              "Text is of type string and cannot be compared with TRUE");
    EXPECT_EQ(whereProblem("D = '20240501120000.000000+120'"),
              "D is of type datetime and cannot be compared with 20240501120000.000000+120");
    EXPECT_EQ(whereProblem("List = 'a'"), "List is of type string[] and cannot be compared with a");
    EXPECT_EQ(problem("SELECT * FROM X", cimomd::kInvalidClass),
              "there is no class X in root/xcim");
}

TEST_F(QueryTest, WhatIsNotSupportedIsNamedBesideWhatIs)
{
    const auto names = [](const std::string& what) {
        return AllOf(StartsWith("expected " + what), HasSubstr("; supported is SELECT * | "));
    };
    EXPECT_THAT(whereProblem("Text LIKE 'F%'"), names("a comparison at offset 27 instead of LIKE"));
    EXPECT_THAT(whereProblem("NOT U = 1"),
                names("a property or \"(\" at offset 22 instead of NOT"));
    EXPECT_THAT(whereProblem("1 = U"), names("a property or \"(\" at offset 22 instead of 1"));
    EXPECT_THAT(whereProblem("U = S"), names("a literal at offset 26 instead of S"));
    EXPECT_THAT(problem("SELECT * FROM T AS t"),
                names("the end of the query at offset 16 instead of AS"));
}

TEST_F(QueryTest, ProblemsSayWhere)
{
    EXPECT_THAT(problem(""), StartsWith("expected SELECT at offset 0, where the query ends"));
    EXPECT_THAT(problem("SELECT"), StartsWith("expected a property at offset 6, where"));
    EXPECT_THAT(problem("SELECT Id, FROM T"), StartsWith("expected FROM at offset 16"));
    EXPECT_THAT(problem("SELECT * FROM"), StartsWith("expected a class at offset 13, where"));
    EXPECT_THAT(whereProblem("U"), StartsWith("expected a comparison at offset 23, where"));
    EXPECT_THAT(whereProblem("(U=1"), StartsWith("expected \")\" at offset 26, where"));
    EXPECT_THAT(whereProblem("U=1 B"), StartsWith("expected the end of the query at offset 26"));
    EXPECT_THAT(whereProblem("U IS 5"), StartsWith("expected NULL at offset 27 instead of 5"));
    EXPECT_THAT(whereProblem("Text = 'x"),
                StartsWith("a text without its closing quote at offset 29"));
    EXPECT_THAT(problem("SELECT * FROM T;"),
                StartsWith("expected the end of the query at offset 15 instead of ;"));
}

TEST_F(QueryTest, NestingIsLimited)
{
    EXPECT_EQ(whereProblem(std::string(100, '(')), "conditions are nested too deep");
    EXPECT_EQ(select(std::string(60, '(') + "U=1" + std::string(60, ')')), "a");
}

} // namespace
