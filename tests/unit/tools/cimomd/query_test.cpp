// How a query is read.
#include "query.h"

#include <gtest/gtest.h>

namespace {

using cimomd::Condition;
using cimomd::Operand;
using cimomd::Query;
using cimomd::QueryLanguage;

Query readQuery(std::string_view text, QueryLanguage language = QueryLanguage::Cql)
{
    Query query;
    std::string problem;
    EXPECT_TRUE(cimomd::readQuery(text, language, query, problem)) << text << ": " << problem;
    return query;
}

std::string queryProblem(std::string_view text)
{
    Query query;
    std::string problem;
    EXPECT_FALSE(cimomd::readQuery(text, QueryLanguage::Cql, query, problem)) << text;
    return problem;
}

std::string describe(const Operand& operand)
{
    switch (operand.kind) {
    case Operand::Kind::Text:
        return "'" + operand.text + "'";
    case Operand::Kind::Number:
        return "#" + operand.text;
    case Operand::Kind::Boolean:
        return "?" + operand.text;
    case Operand::Kind::Property:
        break;
    }
    return operand.text;
}

std::string describe(const Condition& condition)
{
    static constexpr const char* kNames[] = {"and", "or", "not", "=",    "<>",    "<",
                                             "<=",  ">",  ">=",  "like", "isnull"};
    const bool isJoin =
        condition.kind == Condition::Kind::And || condition.kind == Condition::Kind::Or;
    if (isJoin && condition.parts.size() == 1) {
        return describe(condition.parts.front());
    }
    std::string text = "(" + std::string(kNames[static_cast<size_t>(condition.kind)]);
    for (const Condition& part : condition.parts) {
        text += " " + describe(part);
    }
    if (condition.parts.empty()) {
        text += " " + describe(condition.left);
        if (condition.kind < Condition::Kind::Like) {
            text += " " + describe(condition.right);
        }
    }
    return text + ")";
}

// The condition of a query.
std::string where(const std::string& text)
{
    const Query query = readQuery("SELECT * FROM C WHERE " + text);
    return query.where.empty() ? "" : describe(query.where.front());
}

TEST(Query, SelectsAllOrSomePropertiesOfAClass)
{
    Query query = readQuery("SELECT * FROM XCIM_Fan");
    EXPECT_TRUE(query.properties.empty());
    EXPECT_EQ(query.className, "XCIM_Fan");
    EXPECT_TRUE(query.where.empty());
    query = readQuery("select Name,XCIM_FAN.Speed , f.Unit from XCIM_Fan f where f.Speed>1");
    EXPECT_EQ(query.properties, (std::vector<std::string>{"Name", "Speed", "Unit"}));
    EXPECT_EQ(describe(query.where.front()), "(> Speed #1)");
    EXPECT_EQ(readQuery("SELECT f.Name FROM XCIM_Fan AS f").properties.front(), "Name");
}

TEST(Query, Comparisons)
{
    EXPECT_EQ(where("A = 'x'"), "(= A 'x')");
    EXPECT_EQ(where("A<>\"x\""), "(<> A 'x')");
    EXPECT_EQ(where("A != 1"), "(<> A #1)");
    EXPECT_EQ(where("A < -1.5e-3"), "(< A #-1.5e-3)");
    EXPECT_EQ(where("A<=0x1F"), "(<= A #0x1F)");
    EXPECT_EQ(where("A > +7"), "(> A #+7)");
    EXPECT_EQ(where("A >= B"), "(>= A B)");
    EXPECT_EQ(where("A = true"), "(= A ?true)");
}

TEST(Query, LiteralOnTheLeftChangesSides)
{
    EXPECT_EQ(where("1 < A"), "(> A #1)");
    EXPECT_EQ(where("1 >= A"), "(<= A #1)");
    EXPECT_EQ(where("'x' = A"), "(= A 'x')");
}

TEST(Query, AndBindsTighterThanOr)
{
    EXPECT_EQ(where("A=1 OR B=2 AND NOT C=3"), "(or (= A #1) (and (= B #2) (not (= C #3))))");
    EXPECT_EQ(where("(A=1 OR B=2) and C=3"), "(and (or (= A #1) (= B #2)) (= C #3))");
    EXPECT_EQ(where("NOT NOT A=1"), "(= A #1)");
    EXPECT_EQ(where("NOT (A=1)"), "(not (= A #1))");
}

TEST(Query, NullAndLike)
{
    EXPECT_EQ(where("A IS NULL"), "(isnull A)");
    EXPECT_EQ(where("A is not null AND B=1"), "(and (not (isnull A)) (= B #1))");
    EXPECT_EQ(where("A LIKE 'x'"), "(like A)");
    EXPECT_EQ(where("A NOT LIKE 'x'"), "(not (like A))");
}

TEST(Query, PatternsAreThoseOfTheLanguage)
{
    const char* text = "SELECT * FROM C WHERE A LIKE 'F%'";
    EXPECT_FALSE(
        readQuery(text, QueryLanguage::Cql).where[0].parts[0].parts[0].pattern.matches("Fan"));
    EXPECT_TRUE(
        readQuery(text, QueryLanguage::Wql).where[0].parts[0].parts[0].pattern.matches("Fan"));
}

TEST(Query, QuotesAndBackslashesInTexts)
{
    EXPECT_EQ(where("A = 'it''s'"), "(= A 'it's')");
    EXPECT_EQ(where("A = 'it\\'s'"), "(= A 'it's')");
    EXPECT_EQ(where("A = 'C:\\\\x\\y'"), "(= A 'C:\\x\\y')");
    EXPECT_EQ(where("A = '<&>\"'"), "(= A '<&>\"')");
    EXPECT_EQ(where("A = ''"), "(= A '')");
}

TEST(Query, ProblemsSayWhere)
{
    EXPECT_EQ(queryProblem(""), "expected SELECT at offset 0, where the query ends");
    EXPECT_EQ(queryProblem("SELECT"), "expected a property at offset 6, where the query ends");
    EXPECT_EQ(queryProblem("SELECT A, FROM C"), "expected FROM at offset 15");
    EXPECT_EQ(queryProblem("SELECT * FROM"), "expected a class at offset 13, where the query ends");
    EXPECT_EQ(queryProblem("SELECT * FROM C AS"),
              "expected the alias of the class at offset 18, where the query ends");
    EXPECT_EQ(queryProblem("SELECT * FROM C WHERE A"),
              "expected a comparison at offset 23, where the query ends");
    EXPECT_EQ(queryProblem("SELECT * FROM C WHERE (A=1"),
              "expected \")\" at offset 26, where the query ends");
    EXPECT_EQ(queryProblem("SELECT * FROM C WHERE A=1 B"),
              "expected the end of the query at offset 26");
    EXPECT_EQ(queryProblem("SELECT * FROM C WHERE A IS 5"), "expected NULL at offset 27");
    EXPECT_EQ(queryProblem("SELECT * FROM C WHERE A LIKE 5"),
              "expected a pattern in quotes at offset 29");
    EXPECT_EQ(queryProblem("SELECT * FROM C WHERE A = 'x"),
              "a text without its closing quote at offset 26");
    EXPECT_EQ(queryProblem("SELECT * FROM C; "), "an unexpected character at offset 15");
    EXPECT_EQ(queryProblem("SELECT x.A FROM C"), "x is not the class that is selected from");
    EXPECT_EQ(queryProblem("SELECT * FROM C WHERE 1 = 1"),
              "expected a comparison of a property before this at offset 27, where the query ends");
}

TEST(Query, NestingIsLimited)
{
    const std::string deep(100, '(');
    EXPECT_EQ(queryProblem("SELECT * FROM C WHERE " + deep), "conditions are nested too deep");
    const std::string fine(60, '(');
    EXPECT_EQ(where(fine + "A=1" + std::string(60, ')')), "(= A #1)");
}

} // namespace
