#include "standard_descriptors.h"

#include <CLI/CLI.hpp>
#include <cli/command_line.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace cli {

namespace {

using Outcome = Reading::Outcome;

// How the reading ends. Thrown through CLI11 by a value that cannot be used, and by a question that
// is asked instead.
struct End
{
    Outcome outcome;
    std::string text;
};

std::string withoutValue(const std::string& argument)
{
    return argument.substr(0, argument.find('='));
}

std::string needsValue(const std::string& option, const std::string& fullName)
{
    return option + " needs a value; " + fullName + " --help lists the options";
}

// CLI11 would take the next argument for the value of one that ends with an equals sign.
std::vector<std::string> withEmptyValues(const std::vector<std::string>& arguments)
{
    std::vector<std::string> separate;
    for (const std::string& argument : arguments) {
        separate.push_back(argument);
        if (argument.starts_with("--") && argument.find('=') == argument.size() - 1) {
            separate.back().pop_back();
            separate.emplace_back();
        }
    }
    return separate;
}

void declareOption(CLI::App& app, const Option& option, const std::string& fullName)
{
    const CLI::callback_t take = [&option, fullName](const CLI::results_t& values) {
        const std::string& value = values.front();
        if (value.empty()) {
            throw End{Outcome::Wrong, needsValue(option.name, fullName)};
        }
        const std::string problem = option.value.read(value);
        if (!problem.empty()) {
            throw End{Outcome::Wrong, option.name + " " + value + ": " + problem};
        }
        return true;
    };
    CLI::Option* const declared = app.add_option(option.name, take);
    declared->trigger_on_parse();
    if (option.valueName.empty()) {
        declared->expected(0);
    }
}

void declareQuestion(CLI::App& app, const std::string& names,
                     const std::function<std::string()>& answer)
{
    app.add_flag_callback(names,
                          [answer] {
                              throw End{Outcome::Print, answer()};
                          })
        ->trigger_on_parse();
}

// Each option is read at once, so that what stands behind a question or a mistake does not matter.
void declare(CLI::App& app, const Command& command, const std::string& fullName,
             const std::string& version)
{
    app.allow_extras();
    app.set_help_flag();
    declareQuestion(app, "-h,--help", [&command, fullName] { return helpText(command, fullName); });
    declareQuestion(app, "--version", [version] { return version; });
    for (const Option& option : command.options) {
        declareOption(app, option, fullName);
    }
    for (const Command& one : command.commands) {
        declare(*app.add_subcommand(one.name), one, fullName + " " + one.name, version);
    }
}

std::string unknown(const std::string& kind, const std::string& argument,
                    const std::string& fullName)
{
    return "unknown " + kind + " " + withoutValue(argument) + "; " + fullName +
           " --help lists them";
}

bool looksLikeOption(const std::string& argument)
{
    return argument.starts_with("--");
}

std::string describeWords(const Command& command)
{
    std::string words;
    for (const Word& word : command.words) {
        words += (words.empty() ? "" : " and ") + word.description;
    }
    return words;
}

// Takes what CLI11 has left over: words, which may begin with one hyphen. Returns what is wrong
// with them.
std::string takeWords(const std::vector<std::string>& arguments, const Reading& reading)
{
    const Command& command = *reading.command;
    const auto option = std::find_if(arguments.begin(), arguments.end(), looksLikeOption);
    if (option != arguments.end() || (command.words.empty() && !arguments.empty())) {
        return unknown("option", option != arguments.end() ? *option : arguments.front(),
                       reading.name);
    }
    if (arguments.size() != command.words.size()) {
        return "give " + describeWords(command) + "; " + reading.name + " --help tells more";
    }
    for (size_t i = 0; i < arguments.size(); ++i) {
        command.words[i].target = arguments[i];
    }
    return "";
}

std::string missingOption(const CLI::App& app, const Command& command)
{
    const auto isMissing = [&app](const Option& option) {
        return !option.needed.empty() && app.count(option.name) == 0;
    };
    const auto missing = std::find_if(command.options.begin(), command.options.end(), isMissing);
    return missing == command.options.end() ? ""
                                            : missing->name + " is missing; " + missing->needed;
}

// What is wrong with the arguments of a program that has commands, of which this has none left.
std::string withoutCommand(const std::vector<std::string>& arguments, const Command& program)
{
    std::string problem = "give a command";
    if (!arguments.empty()) {
        problem = unknown(looksLikeOption(arguments.front()) ? "option" : "command",
                          arguments.front(), program.name);
    }
    return problem + "\n" + helpText(program, program.name);
}

// The command that was given, whether or not reading it has come to an end.
Reading chosen(const CLI::App& app, const Command& program)
{
    const std::vector<CLI::App*> given = app.get_subcommands();
    if (given.empty()) {
        return {Outcome::Run, &program, program.name};
    }
    const std::string name = given.front()->get_name();
    const auto command = std::find_if(program.commands.begin(), program.commands.end(),
                                      [&name](const Command& one) { return one.name == name; });
    return {Outcome::Run, &*command, program.name + " " + name};
}

// What is wrong although each option by itself was right.
std::string problemAsAWhole(const CLI::App& app, const Command& program)
{
    const std::vector<CLI::App*> given = app.get_subcommands();
    if (!program.commands.empty() && (given.empty() || !app.remaining().empty())) {
        return withoutCommand(app.remaining(), program);
    }
    const CLI::App& command = given.empty() ? app : *given.front();
    const Reading reading = chosen(app, program);
    const std::string problem = takeWords(command.remaining(), reading);
    return problem.empty() ? missingOption(command, *reading.command) : problem;
}

End parse(CLI::App& app, const Command& program, const std::vector<std::string>& arguments)
{
    std::vector<std::string> backwards = withEmptyValues(arguments); // as CLI11 takes them
    std::reverse(backwards.begin(), backwards.end());
    try {
        app.parse(backwards);
    } catch (const End& end) {
        return end;
    } catch (const CLI::ArgumentMismatch&) { // only the last argument can be without a value
        return {Outcome::Wrong, needsValue(arguments.back(), chosen(app, program).name)};
    }
    const std::string problem = problemAsAWhole(app, program);
    return {problem.empty() ? Outcome::Run : Outcome::Wrong, problem};
}

} // namespace

Value text(std::string& target)
{
    const auto read = [&target](const std::string& value) {
        target = value;
        return std::string();
    };
    return {read, target};
}

Value flag(bool& target)
{
    const auto read = [&target](const std::string& value) {
        target = value == "true"; // what CLI11 gives an option that has no value
        return std::string(target ? "" : "it takes no value");
    };
    return {read};
}

std::string wantedNumber(const std::string& low, const std::string& high)
{
    return "give a number from " + low + " to " + high;
}

Reading read(const Command& program, const std::vector<std::string>& arguments)
{
    CLI::App app;
    app.require_subcommand(0,
                           1); // what follows a command is its own, even where it is named like one
    declare(app, program, program.name, program.name + " " CIMGATE_VERSION);
    const End end = parse(app, program, arguments);
    Reading reading = chosen(app, program);
    reading.outcome = end.outcome;
    reading.text = end.text;
    return reading;
}

int run(const Command& program, const std::vector<std::string>& arguments)
{
    if (!reserveStandardDescriptors()) {
        return EXIT_FAILURE; // there is nowhere to say why
    }
    const Reading reading = read(program, arguments);
    if (reading.outcome == Outcome::Run) {
        return reading.command->run();
    }
    if (reading.outcome == Outcome::Print) {
        (void)std::printf("%s\n", reading.text.c_str());
        return EXIT_SUCCESS;
    }
    (void)std::fprintf(stderr, "%s: %s\n", reading.name.c_str(), reading.text.c_str());
    return kWrongUsage;
}

} // namespace cli
