// The placeholders of a condition: which of them are filled, and with what.
#include "MappedResourcesTest.h"

#include <ostream>

namespace {

using support::messagesAtLevel;
using support::StatementTrace;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

// A condition, and what the id makes of it.
struct FillCase
{
    const char* title;
    const char* regex;
    const char* clause;
    std::string id;
    std::string condition;
    std::vector<std::string> parts; // of the id, as they are logged
};

void PrintTo(const FillCase& fill, std::ostream* stream)
{
    *stream << fill.title;
}

class PlaceholderFill : public support::MappedResourcesTest,
                        public ::testing::WithParamInterface<FillCase>
{};

TEST_P(PlaceholderFill, GivesTheCondition)
{
    Json::Value instances;
    instances["Fan"]["KeyRegex"] = GetParam().regex;
    instances["Fan"]["QueryClause"] = GetParam().clause;
    embed(support::compact(instances));
    const StatementTrace trace;
    EXPECT_EQ(mapped(GetParam().id.c_str()).result, RM_OK);
    EXPECT_THAT(trace.Texts(), ElementsAre(readinessOf("Fan"), byCondition(GetParam().condition)));
    std::vector<std::string> parts;
    for (const std::string& message : messagesAtLevel(4)) {
        if (message.starts_with("matched part")) {
            parts.push_back(message);
        }
    }
    EXPECT_THAT(parts, ElementsAreArray(GetParam().parts));
}

std::string part(int number, const std::string& text)
{
    return "matched part for #p" + std::to_string(number) + " is " + text;
}

const std::string kLongPart(127, 'x');

INSTANTIATE_TEST_SUITE_P(
    , PlaceholderFill,
    ::testing::Values(
        FillCase{"the first of two alike",
                 "^(.*)$",
                 "Slot = '#p1' or Slot = '#p1'",
                 "2",
                 "Slot = '2' or Slot = '#p1'",
                 {part(1, "2")}},
        FillCase{"the first of two alike without an expression",
                 "",
                 "Slot = '#p1' or Slot = '#p1'",
                 "2",
                 "Slot = '2' or Slot = '#p1'",
                 {}},
        FillCase{"no second one without an expression",
                 "",
                 "Slot in ('#p2', '#p1')",
                 "2",
                 "Slot in ('#p2', '2')",
                 {}},
        FillCase{"four groups in any order",
                 "^(a)(b)(c)(d)$",
                 "Slot in ('#p4', '#p2', '#p3', '#p1')",
                 "abcd",
                 "Slot in ('d', 'b', 'c', 'a')",
                 {part(1, "a"), part(2, "b"), part(3, "c"), part(4, "d")}},
        FillCase{"no fifth group",
                 "^(a)(b)(c)(d)(e)$",
                 "Slot in ('#p5', '#p1')",
                 "abcde",
                 "Slot in ('#p5', 'a')",
                 {part(1, "a"), part(2, "b"), part(3, "c"), part(4, "d")}},
        FillCase{"none after an unmatched group",
                 "^(a)(b)?(c)$",
                 "Slot in ('#p1', '#p2', '#p3')",
                 "ac",
                 "Slot in ('a', '#p2', '#p3')",
                 {part(1, "a")}},
        FillCase{"none where the first group is unmatched",
                 "^(a)?(b)$",
                 "Slot in ('#p1', '#p2')",
                 "b",
                 "Slot in ('#p1', '#p2')",
                 {}},
        FillCase{"none without a group", "^b$", "Slot = '#p1'", "b", "Slot = '#p1'", {}},
        FillCase{
            "a group that is empty", "^(x?)2$", "Slot = '#p1'", "2", "Slot = ''", {part(1, "")}},
        FillCase{"a part of the id",
                 "([0-9]+)",
                 "Slot = '#p1'",
                 "Bay.12.3",
                 "Slot = '12'",
                 {part(1, "12")}},
        FillCase{"the letters as the id has them",
                 "^(bay)\\.",
                 "Slot = '#p1'",
                 "BaY.1",
                 "Slot = 'BaY'",
                 {part(1, "BaY")}},
        FillCase{"a long part",
                 "^(.*)$",
                 "Slot = '#p1'",
                 kLongPart,
                 "Slot = '" + kLongPart + "'",
                 {part(1, kLongPart)}},
        FillCase{"one digit only", "", "Slot = '#p12'", "2", "Slot = '22'", {}},
        FillCase{"a placeholder in the id once", "", "Slot = '#p1'", "#p1", "Slot = '#p1'", {}},
        // The part that came first is filled in turn: it stands before the placeholder meant.
        FillCase{"a placeholder in a part",
                 "^(.*)-(.*)$",
                 "Slot in ('#p1', '#p2')",
                 "#p2-7",
                 "Slot in ('7', '#p2')",
                 {part(1, "#p2"), part(2, "7")}},
        FillCase{"nothing to fill", "", "Slot = '1'", "2", "Slot = '1'", {}}));

} // namespace
