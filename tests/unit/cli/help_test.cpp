// What --help prints.
#include <cli/command_line.h>
#include <gtest/gtest.h>

namespace {

cli::Value valueWithInitial(const std::string& initial)
{
    return {[](const std::string&) { return std::string(); }, initial};
}

TEST(Help, ListsOptionsWithTheirDefaults)
{
    const cli::Command program = {
        .name = "baker",
        .summary = "Bakes bread of every kind for everyone who comes in the morning, early or "
                   "late, and asks for some.",
        .options = {{"--flour", "KIND", "of what", valueWithInitial(""), "", "bread is of flour"},
                    {"--oven", "PATH", "where it is baked; it is a path of some length",
                     valueWithInitial("/var/lib/bakery/ovens/the-one-behind")},
                    {"--bakers", "N", "by how many", valueWithInitial("2"), "one for each oven"},
                    {"--bread", "NAME", "what", valueWithInitial("")},
                    {"--open", "", "sells it too", valueWithInitial("")},
                    {"--kind-of-breads-of-old", "NAMES", "what was", valueWithInitial("")}},
        .notes = "Exit status: 0 baked.",
    };
    EXPECT_EQ(cli::helpText(program, "baker"), R"(usage: baker --flour KIND [OPTION]...
Bakes bread of every kind for everyone who comes in the morning, early or late,
and asks for some.

  --flour KIND                of what
  --oven PATH                 where it is baked; it is a path of some length
                              (default /var/lib/bakery/ovens/the-one-behind)
  --bakers N                  by how many (default: one for each oven)
  --bread NAME                what
  --open                      sells it too
  --kind-of-breads-of-old NAMES
                              what was
  -h, --help                  this text
  --version                   the program's version

Exit status: 0 baked.)");
}

TEST(Help, NamesWords)
{
    std::string ignored;
    const cli::Command program = {
        .name = "bring",
        .summary = "Brings.",
        .words = {{"STREET", "a street", ignored}, {"TOWN", "a town", ignored}},
        .notes = "Slowly.",
    };
    EXPECT_EQ(cli::helpText(program, "shop bring"), R"(usage: shop bring [OPTION]... STREET TOWN
Brings.

  -h, --help                  this text
  --version                   the program's version

Slowly.)");
}

TEST(Help, ListsCommandsOfAProgram)
{
    const cli::Command program = {
        .name = "shop",
        .summary = "Does many things.",
        .commands = {{.name = "baker", .summary = "Bakes."},
                     {.name = "bring",
                      .summary = "Brings what was baked to where somebody lives."}},
        .notes = "shop COMMAND --help tells more of each.",
    };
    EXPECT_EQ(cli::helpText(program, "shop"), R"(usage: shop COMMAND [ARGUMENT]...
Does many things.

  baker                       Bakes.
  bring                       Brings what was baked to where somebody lives.
  -h, --help                  this text
  --version                   the program's version

shop COMMAND --help tells more of each.)");
}

TEST(Help, ShowsTheInitialValuesOfTextsAndNumbers)
{
    std::string flour = "wheat";
    unsigned int bakers = 3;
    EXPECT_EQ(cli::text(flour).initial, "wheat");
    EXPECT_EQ(cli::number(bakers, 1, 64).initial, "3");
}

} // namespace
