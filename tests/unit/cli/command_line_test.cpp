// What is read of the arguments.
#include <cli/command_line.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

using cli::Reading;
using testing::ElementsAre;
using testing::HasSubstr;

using Arguments = std::vector<std::string>;

struct Bakery
{
    std::string flour = "wheat";
    unsigned int bakers = 2;
    std::vector<std::string> breads;
    bool isOpen = false;
    std::string street;
    std::string town;
};

cli::Value oneMore(std::vector<std::string>& target)
{
    const auto read = [&target](const std::string& value) -> std::string {
        if (value == "cake") {
            return "give something with a crust";
        }
        target.push_back(value);
        return "";
    };
    return {read};
}

cli::Command baking(Bakery& bakery)
{
    return {.name = "baker",
            .summary = "Bakes.",
            .options = {{"--flour", "KIND", "of what", cli::text(bakery.flour)},
                        {"--bakers", "N", "by how many", cli::number(bakery.bakers, 1, 64)},
                        {"--bread", "NAME", "may be repeated", oneMore(bakery.breads)},
                        {"--open", "", "sells it too", cli::flag(bakery.isOpen)}}};
}

Reading reading(Bakery& bakery, const Arguments& arguments)
{
    const cli::Command program = baking(bakery);
    return cli::read(program, arguments);
}

Bakery baked(const Arguments& arguments)
{
    Bakery bakery;
    const Reading result = reading(bakery, arguments);
    EXPECT_EQ(result.outcome, Reading::Outcome::Run) << result.text;
    EXPECT_EQ(result.name, "baker");
    EXPECT_EQ(result.text, "");
    return bakery;
}

std::string problemOf(const Arguments& arguments)
{
    Bakery bakery;
    const Reading result = reading(bakery, arguments);
    EXPECT_EQ(result.outcome, Reading::Outcome::Wrong);
    EXPECT_EQ(result.name, "baker");
    return result.text;
}

std::string printed(const Arguments& arguments)
{
    Bakery bakery;
    const Reading result = reading(bakery, arguments);
    EXPECT_EQ(result.outcome, Reading::Outcome::Print) << result.text;
    return result.text;
}

TEST(Read, AFlagStandsAlone)
{
    EXPECT_FALSE(baked({"--flour", "rye"}).isOpen);
    const Bakery bakery = baked({"--open", "--flour", "rye"});
    EXPECT_TRUE(bakery.isOpen);
    EXPECT_EQ(bakery.flour, "rye");
    EXPECT_TRUE(baked({"--flour", "rye", "--open"}).isOpen);
    EXPECT_EQ(problemOf({"--open=no"}), "--open no: it takes no value");
}

TEST(CommandLine, WhatIsNotGivenStaysAsItIs)
{
    const Bakery bakery = baked({});
    EXPECT_EQ(bakery.flour, "wheat");
    EXPECT_EQ(bakery.bakers, 2U);
}

TEST(CommandLine, ValuesAsNextArgumentOrAfterAnEqualsSign)
{
    const Bakery bakery = baked({"--flour", "rye", "--bakers=7"});
    EXPECT_EQ(bakery.flour, "rye");
    EXPECT_EQ(bakery.bakers, 7U);
}

TEST(CommandLine, ValuesMayLookLikeAnythingElse)
{
    for (const char* value : {"a=b", "=", "-", "--", "--bakers", "-h", "--help", "[a,b]", "{}",
                              "%%", "a b", "'", "\"x\"", "++", "#", "\n", "░"}) {
        EXPECT_EQ(baked({"--flour", value}).flour, value);
        EXPECT_EQ(baked({std::string("--flour=") + value}).flour, value);
    }
}

TEST(CommandLine, TheLastOfSeveralCounts)
{
    EXPECT_EQ(baked({"--bakers", "3", "--flour", "rye", "--bakers=4"}).bakers, 4U);
    EXPECT_THAT(problemOf({"--bakers", "0", "--bakers", "4"}), HasSubstr("--bakers 0:"));
}

TEST(CommandLine, AReaderSeesEachOfSeveral)
{
    EXPECT_THAT(
        baked({"--bread", "roll", "--bakers", "3", "--bread=loaf", "--bread", "roll"}).breads,
        ElementsAre("roll", "loaf", "roll"));
}

TEST(CommandLine, AReaderSaysWhatToGiveInstead)
{
    EXPECT_EQ(problemOf({"--bread", "roll", "--bread", "cake"}),
              "--bread cake: give something with a crust");
}

TEST(CommandLine, MissingValuesAreNamed)
{
    const std::string problem = "--flour needs a value; baker --help lists the options";
    for (const Arguments& arguments :
         {Arguments{"--flour"}, Arguments{"--flour="}, Arguments{"--flour", ""},
          Arguments{"--flour=", "rye"}, Arguments{"--flour=", "--bakers", "3"},
          Arguments{"--bakers", "3", "--flour"}}) {
        EXPECT_EQ(problemOf(arguments), problem);
    }
}

TEST(CommandLine, NumbersAreDecimalAndHaveARange)
{
    EXPECT_EQ(baked({"--bakers", "1"}).bakers, 1U);
    EXPECT_EQ(baked({"--bakers", "0064"}).bakers, 64U);
    for (const std::string text : {"0", "65", "two", "2x", "-2", "+2", " 2", "2 ", "0x2", "1.0",
                                   "4294967298", "99999999999999999999"}) {
        EXPECT_EQ(problemOf({"--bakers", text}),
                  "--bakers " + text + ": give a number from 1 to 64");
    }
}

TEST(CommandLine, NumbersOfEveryWidth)
{
    uint64_t bytes = 1;
    int level = 0;
    const cli::Command program = {
        .name = "wide",
        .summary = "Counts.",
        .options = {{"--bytes", "BYTES", "bytes", cli::number(bytes, 0, UINT64_MAX)},
                    {"--level", "N", "level", cli::number(level, -1, 4)}}};
    cli::read(program, {"--bytes=18446744073709551615", "--level=-1"});
    EXPECT_EQ(bytes, UINT64_MAX);
    EXPECT_EQ(level, -1);
    EXPECT_EQ(cli::read(program, {"--bytes", "18446744073709551616"}).text,
              "--bytes 18446744073709551616: give a number from 0 to 18446744073709551615");
}

TEST(CommandLine, OthersAreUnknown)
{
    for (const std::string name : {"--port", "--", "-x", "-", "file", "", "-1", "---flour"}) {
        const std::string problem = "unknown option " + name + "; baker --help lists them";
        EXPECT_EQ(problemOf({name}), problem);
        EXPECT_EQ(problemOf({"--bakers=3", name, "value"}), problem);
    }
    EXPECT_EQ(problemOf({"--port=1"}), "unknown option --port; baker --help lists them");
    EXPECT_EQ(problemOf({"--Flour", "rye"}), "unknown option --Flour; baker --help lists them");
    EXPECT_EQ(problemOf({"--flo", "rye"}), "unknown option --flo; baker --help lists them");
}

TEST(CommandLine, HelpAndVersionEndTheReading)
{
    Bakery bakery;
    const std::string help = cli::helpText(baking(bakery), "baker");
    for (const Arguments& arguments :
         {Arguments{"-h"}, Arguments{"--help"}, Arguments{"--bakers", "3", "--help"},
          Arguments{"-h", "--nonsense"}, Arguments{"--help", "--bakers", "0"},
          Arguments{"--help", "--flour"}, Arguments{"-h", "--version"}}) {
        EXPECT_EQ(printed(arguments), help);
    }
    EXPECT_EQ(printed({"--version"}), "baker " PROGRAM_VERSION);
    EXPECT_EQ(printed({"--version", "--bakers", "0", "-h"}), "baker " PROGRAM_VERSION);
    EXPECT_EQ(problemOf({"--bakers", "0", "--help"}), "--bakers 0: give a number from 1 to 64");
}

TEST(CommandLine, AnOptionThatIsNeededIsMissed)
{
    std::string flour;
    const cli::Command program = {.name = "baker",
                                  .summary = "Bakes.",
                                  .options = {{"--flour", "KIND", "of what", cli::text(flour), "",
                                               "nothing comes of nothing"}}};
    EXPECT_EQ(cli::read(program, {}).text, "--flour is missing; nothing comes of nothing");
    EXPECT_EQ(cli::read(program, {"--flour", "rye"}).outcome, Reading::Outcome::Run);
    EXPECT_EQ(flour, "rye");
}

// A program with two commands, one of which is given words.
struct Shop
{
    Bakery bakery;
    cli::Command program = {
        .name = "shop", .summary = "Does many things.", .commands = {baking(bakery), delivery()}};

    cli::Command delivery()
    {
        return {.name = "bring",
                .summary = "Brings.",
                .options = {{"--bakers", "N", "by how many", cli::number(bakery.bakers, 1, 64)}},
                .words = {{"STREET", "a street", bakery.street}, {"TOWN", "a town", bakery.town}},
                .run = [] {
                    return 7;
                }};
    }

    Reading read(const Arguments& arguments) const { return cli::read(program, arguments); }
};

TEST(CommandsOfAProgram, OneIsChosen)
{
    Shop shop;
    const Reading result = shop.read({"baker", "--flour", "rye"});
    EXPECT_EQ(result.outcome, Reading::Outcome::Run) << result.text;
    EXPECT_EQ(result.command, &shop.program.commands[0]);
    EXPECT_EQ(result.name, "shop baker");
    EXPECT_EQ(shop.bakery.flour, "rye");
    EXPECT_EQ(shop.bakery.street, "");
}

TEST(CommandsOfAProgram, WordsMayStandAnywhereAndLookLikeCommands)
{
    for (const Arguments& arguments : {Arguments{"bring", "bring", "-baker", "--bakers", "3"},
                                       Arguments{"bring", "--bakers=3", "bring", "-baker"},
                                       Arguments{"bring", "bring", "--bakers", "3", "-baker"}}) {
        Shop shop;
        const Reading result = shop.read(arguments);
        EXPECT_EQ(result.outcome, Reading::Outcome::Run) << result.text;
        EXPECT_EQ(result.command, &shop.program.commands[1]);
        EXPECT_EQ(shop.bakery.street, "bring");
        EXPECT_EQ(shop.bakery.town, "-baker");
        EXPECT_EQ(shop.bakery.bakers, 3U);
    }
}

TEST(CommandsOfAProgram, WordsMayBeEmpty)
{
    Shop shop;
    EXPECT_EQ(shop.read({"bring", "", ""}).outcome, Reading::Outcome::Run);
}

TEST(CommandsOfAProgram, MistakesAreThoseOfTheCommand)
{
    const std::pair<Arguments, std::string> cases[] = {
        {{"bring"}, "give a street and a town; shop bring --help tells more"},
        {{"bring", "a"}, "give a street and a town; shop bring --help tells more"},
        {{"bring", "a", "b", "c"}, "give a street and a town; shop bring --help tells more"},
        {{"bring", "a", "--flour=rye", "b"},
         "unknown option --flour; shop bring --help lists them"},
        {{"bring", "--bakers", "0"}, "--bakers 0: give a number from 1 to 64"},
        {{"bring", "a", "b", "--bakers"},
         "--bakers needs a value; shop bring --help lists the options"},
    };
    for (const auto& [arguments, problem] : cases) {
        Shop shop;
        const Reading result = shop.read(arguments);
        EXPECT_EQ(result.outcome, Reading::Outcome::Wrong);
        EXPECT_EQ(result.name, "shop bring");
        EXPECT_EQ(result.text, problem);
    }
}

TEST(CommandsOfAProgram, WithoutOneTheHelpFollows)
{
    Shop shop;
    const std::string help = "\n" + cli::helpText(shop.program, "shop");
    const std::pair<Arguments, std::string> cases[] = {
        {{}, "give a command"},
        {{"sell"}, "unknown command sell; shop --help lists them"},
        {{""}, "unknown command ; shop --help lists them"},
        {{"--flour", "rye"}, "unknown option --flour; shop --help lists them"},
        {{"--flour=rye", "bring", "a", "b"}, "unknown option --flour; shop --help lists them"},
    };
    for (const auto& [arguments, problem] : cases) {
        const Reading result = shop.read(arguments);
        EXPECT_EQ(result.outcome, Reading::Outcome::Wrong);
        EXPECT_EQ(result.text, problem + help);
    }
}

TEST(CommandsOfAProgram, EachHasItsHelp)
{
    const Shop shop;
    EXPECT_EQ(shop.read({"-h"}).text, cli::helpText(shop.program, "shop"));
    EXPECT_EQ(shop.read({"--help", "bring"}).text, cli::helpText(shop.program, "shop"));
    for (const Arguments& arguments : {Arguments{"bring", "--help"}, Arguments{"bring", "a", "-h"},
                                       Arguments{"bring", "a", "b", "--help", "--nonsense"}}) {
        EXPECT_EQ(shop.read(arguments).text, cli::helpText(shop.program.commands[1], "shop bring"));
    }
    EXPECT_EQ(shop.read({"bring", "--version"}).text, "shop " PROGRAM_VERSION);
}

int runCaptured(const Shop& shop, const Arguments& arguments, std::string& out, std::string& errors)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = cli::run(shop.program, arguments);
    (void)std::fflush(stdout);
    out = testing::internal::GetCapturedStdout();
    errors = testing::internal::GetCapturedStderr();
    return status;
}

TEST(RunningACommand, ReturnsItsStatus)
{
    const Shop shop;
    std::string out;
    std::string errors;
    EXPECT_EQ(runCaptured(shop, {"bring", "a", "b"}, out, errors), 7);
    EXPECT_EQ(out + errors, "");
}

TEST(RunningACommand, PrintsWhatIsAskedFor)
{
    const Shop shop;
    std::string out;
    std::string errors;
    EXPECT_EQ(runCaptured(shop, {"--version"}, out, errors), EXIT_SUCCESS);
    EXPECT_EQ(out, "shop " PROGRAM_VERSION "\n");
    EXPECT_EQ(errors, "");
}

TEST(RunningACommand, SaysWhatIsWrongInOneLine)
{
    const Shop shop;
    std::string out;
    std::string errors;
    EXPECT_EQ(runCaptured(shop, {"bring", "--bakers=x"}, out, errors), cli::kWrongUsage);
    EXPECT_EQ(out, "");
    EXPECT_EQ(errors, "shop bring: --bakers x: give a number from 1 to 64\n");
}

} // namespace
